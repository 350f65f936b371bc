#include "opt/scene/kxSceneClasses.h"

#include "opt/scene/kxCollapseHierarchy.h"
#include "opt/scene/kxCompileGraph.h"
#include "opt/scene/kxCreateBoundingBoxes.h"
#include "opt/scene/kxFlattenHierarchy.h"
#include "opt/scene/kxInternalizeShader.h"
#include "opt/scene/kxLimitActorBlendPalettes.h"
#include "opt/scene/kxPromoteAttrs.h"
#include "opt/scene/kxRemoveAttrs.h"
#include "opt/scene/kxShareAttrs.h"
#include "opt/scene/kxSpatialPartition.h"
#include "opt/scene/kxVertexBlending.h"
#include "opt/verify/kxVerifyMemory.h"
#include "opt/verify/kxVerifyPicture.h"

namespace Kel::Opt
{

void registerSceneClasses()
{
    kxRegisterClass<kxCollapseHierarchy>("kxCollapseHierarchy", "removes or replaces every object of one type");
    kxRegisterClass<kxFlattenHierarchy>("kxFlattenHierarchy",
                                        "removes plain groups and attribute sets where the picture stays the same");
    kxRegisterClass<kxShareAttrs>("kxShareAttrs", "makes equal attributes of one type shared");
    kxRegisterClass<kxPromoteAttrs>("kxPromoteAttrs", "sets attributes once above all that share them");
    kxRegisterClass<kxRemoveAttrs>("kxRemoveAttrs", "removes all attributes of one type");
    kxRegisterClass<kxSpatialPartition>("kxSpatialPartition", "makes the graph follow space, for culling");
    kxRegisterClass<kxCreateBoundingBoxes>("kxCreateBoundingBoxes", "gives nodes boxes around what they draw");
    kxRegisterClass<kxCompileGraph>("kxCompileGraph", "has scenes recorded as a whole");
    kxRegisterClass<kxVertexBlending>("kxVertexBlending", "splits palettes of blend matrices that are too large");
    kxRegisterClass<kxLimitActorBlendPalettes>("kxLimitActorBlendPalettes",
                                               "splits skinned geometry so that each part follows few bones");
    kxRegisterClass<kxInternalizeShader>("kxInternalizeShader", "takes the sources of shaders into the scene");
    kxRegisterClass<kxVerifyMemory>("kxVerifyMemory", "pictures that a run remembers");
    kxRegisterClass<kxVerifyPicture>("kxVerifyPicture",
                                     "remembers the picture, later fails where another one is shown");
}

} // namespace Kel::Opt
