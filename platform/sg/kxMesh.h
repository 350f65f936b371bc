// Geometries that belong together under one name.
#pragma once

#include "platform/sg/kxGroup.h"
#include "platform/sg/kxSgNames.h"

namespace Kel::Sg
{

/// The geometries of one mesh, in order; shared by every place that draws the mesh.
class kxMesh : public kxGroup
{
    KX_OBJECT(kxMesh, kxGroup)
    static void listFields(kxFields<kxMesh>& fields);

    kxSmartPointer<kxFloatList> _weights = kxNew<kxFloatList>();
    kxSmartPointer<kxStringRefList> _targetNames = kxNew<kxStringRefList>();

    /// The order of the geometries is part of the mesh.
    int isChildOrderSignificant() const override { return 1; }
};

} // namespace Kel::Sg
