// The one list of the attrs library's classes.
#include "platform/attrs/libKXAttrs.h"

#include "platform/attrs/kxAttr.h"
#include "platform/attrs/kxMaterialAttr.h"
#include "platform/attrs/kxTextureAttr.h"
#include "platform/attrs/kxTextureBindAttr.h"
#include "platform/attrs/kxLightAttr.h"
#include "platform/attrs/kxLightStateAttr.h"
#include "platform/attrs/kxVertexArray.h"
#include "platform/attrs/kxMorphTarget.h"
#include "platform/attrs/kxGeometryAttr.h"
#include "platform/attrs/kxGeometrySetAttr.h"
#include "platform/attrs/kxParticleAttr.h"
#include "platform/attrs/kxVertexBlendMatrixListAttr.h"
#include "platform/attrs/kxStateAttr.h"
#include "platform/gfx/libKXGfx.h"

namespace Kel
{

using namespace Kel::Attrs;

void libKXAttrs_arkRegister()
{
    libKXGfx_arkRegister();
    kxRegisterClass<kxAttr>("kxAttr", "a piece of render state");
    kxRegisterClass<kxAttrList>("kxAttrList", "list of kxAttr objects");
    kxRegisterClass<kxNonRefCountedAttrList>("kxNonRefCountedAttrList",
                                             "list of kxAttr objects that holds no references");
    kxRegisterClass<kxMaterialAttr>("kxMaterialAttr", "surface of what is drawn");
    kxRegisterClass<kxTextureAttr>("kxTextureAttr", "a texture: images and how they are sampled");
    kxRegisterClass<kxTextureAttrList>("kxTextureAttrList", "list of kxTextureAttr objects");
    kxRegisterClass<kxTextureBindAttr>("kxTextureBindAttr", "puts a texture to a use");
    kxRegisterClass<kxTextureBindAttrList>("kxTextureBindAttrList", "list of kxTextureBindAttr objects");
    kxRegisterClass<kxLightAttr>("kxLightAttr", "a light source");
    kxRegisterClass<kxLightAttrList>("kxLightAttrList", "list of kxLightAttr objects");
    kxRegisterClass<kxLightStateAttr>("kxLightStateAttr", "turns lights on or off for what is drawn below");
    kxRegisterClass<kxLightStateAttrList>("kxLightStateAttrList", "list of kxLightStateAttr objects");
    kxRegisterClass<kxVertexArray>("kxVertexArray", "one attribute of a mesh's vertices, or its indices");
    kxRegisterClass<kxVertexArrayList>("kxVertexArrayList", "list of kxVertexArray objects");
    kxRegisterClass<kxMorphTarget>("kxMorphTarget", "displacements of a mesh's vertices");
    kxRegisterClass<kxMorphTargetList>("kxMorphTargetList", "list of kxMorphTarget objects");
    kxRegisterClass<kxGeometryAttr>("kxGeometryAttr", "vertex data of a geometry");
    kxRegisterClass<kxGeometryAttrList>("kxGeometryAttrList", "list of kxGeometryAttr objects");
    kxRegisterClass<kxGeometrySetAttr>("kxGeometrySetAttr", "several vertex data as one attribute");
    kxRegisterClass<kxParticleAttr>("kxParticleAttr", "particles given off");
    kxRegisterClass<kxVertexBlendMatrixListAttr>("kxVertexBlendMatrixListAttr", "palette of blend matrices");
    kxRegisterClass<kxStateAttr>("kxStateAttr", "a switch of the renderer");
}

} // namespace Kel
