// Displacements of a mesh's vertices.
#pragma once

#include "platform/attrs/kxAttrsNames.h"
#include "platform/attrs/kxVertexArray.h"

namespace Kel::Attrs
{

/// Displacements of vertex attributes towards another shape, mixed in by a weight.
class kxMorphTarget : public kxObject
{
    KX_OBJECT(kxMorphTarget, kxObject)
    static void listFields(kxFields<kxMorphTarget>& fields);

    kxStringRef _name;
    kxSmartPointer<kxVertexArrayList> _arrays = kxNew<kxVertexArrayList>();
};

KX_OBJECT_LIST(kxMorphTargetList, kxMorphTarget)

} // namespace Kel::Attrs
