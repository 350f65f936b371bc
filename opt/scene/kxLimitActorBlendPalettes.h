// Splits skinned geometry so that each part follows few bones.
#pragma once

#include "opt/iterate/kxOptVisitObject.h"
#include "platform/attrs/kxVertexBlendMatrixListAttr.h"
#include "platform/sg/kxGeometry.h"

namespace Kel::Opt
{

using namespace Kel::Sg;

/// Splits the geometries below actors so that no part follows more bones than a palette of the target may hold. The parts stand
/// in the geometry's place, with the same skin, indices of bones and weights; a vertex is duplicated only when primitives of
/// several parts use it. A bone with weight 0 does not count.
///
/// Leaves alone: locked geometries, and those of which a single primitive follows more bones than the limit.
///
/// Cost: for each primitive one look at each palette of its geometry.
class kxLimitActorBlendPalettes : public kxOptVisitObject
{
    KX_OBJECT(kxLimitActorBlendPalettes, kxOptVisitObject)
    static void listFields(kxFields<kxLimitActorBlendPalettes>& fields);

    static constexpr uint32_t kMaxBlendMatrixCount = 16;

    uint32_t _maxBlendMatrixCount = kMaxBlendMatrixCount;

    kxLimitActorBlendPalettes();

    bool configure(int section) override;
    void visitor(kxObject* object) override;
    kxMetaObject* getVisitedObjectMeta() override;

    using Geometries = std::vector<kxSmartPointer<kxGeometry>>;

    /// Copies of a geometry that together draw what it draws, each following at most `limit` bones; one when it does itself.
    /// Empty when there are none, because a primitive follows more or the vertex data are broken.
    static Geometries splitGeometry(const kxGeometry* geometry, uint32_t limit);

    /// Takes a geometry out of a group and appends such copies in its place, which share nothing that a palette changes with
    /// other geometries. False, with nothing changed, when there are none.
    static bool seperateGeometry(kxGeometry* geometry, kxGroup* parent, uint32_t limit = kMaxBlendMatrixCount);

    /// True when a child's place in the group says when it is drawn, so that other children must keep theirs.
    static bool isPlaceChosen(const kxGroup* group);

    /// Indices of the bones that the vertices of a geometry follow with some weight, rising.
    static std::vector<uint32_t> findBones(const kxGeometry* geometry);

private:
    static void replace(kxGeometry* geometry, const Geometries& pieces);
};

} // namespace Kel::Opt
