// Gives every geometry a palette of blend matrices that the target can hold.
#pragma once

#include "opt/iterate/kxOptVisitObject.h"
#include "platform/attrs/kxVertexBlendMatrixListAttr.h"
#include "platform/sg/kxGeometry.h"

namespace Kel::Opt
{

using namespace Kel::Sg;

/// Looks for attribute sets with a palette of more matrices than the target can hold, takes the palette away and gives each
/// geometry below one of its own, with just the matrices that its vertices follow. Geometries that follow too many are split
/// first (`kxLimitActorBlendPalettes`).
///
/// Leaves alone: locked geometries, and those that cannot be split, which get the whole palette as their own; sets below
/// which a group has several parents, because it may be drawn with other palettes elsewhere.
class kxVertexBlending : public kxOptVisitObject
{
    KX_OBJECT(kxVertexBlending, kxOptVisitObject)
    static void listFields(kxFields<kxVertexBlending>& fields);

    uint32_t _maxBlendMatrixCount = 16;

    kxVertexBlending();

    bool configure(int section) override;
    void visitor(kxObject* object) override;
    kxMetaObject* getVisitedObjectMeta() override;

private:
    void rebuildBelow(kxAttrSet* set, kxVertexBlendMatrixListAttr* palette);
    void buildPalette(kxGeometry* geometry, kxVertexBlendMatrixListAttr* palette);
};

} // namespace Kel::Opt
