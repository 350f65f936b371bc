// The meshes of the village.
#ifndef KX_VILLAGE_MESHES_H
#define KX_VILLAGE_MESHES_H

#include "kxMakerMath.h"
#include "kxSceneMaker.h"

namespace Kel::Examples
{

enum kxVillageMesh : int32_t
{
    LAND_MESH,
    SEA_MESH,
    QUAY_MESH,
    TERRACE_1_MESH,
    TERRACE_2_MESH,
    TERRACE_3_MESH,
    STAIRS_MESH,
    BREAKWATER_MESH,
    ROCK_A_MESH,
    ROCK_B_MESH,
    ROCK_C_MESH,
    PIER_DECK_MESH,
    PILE_MESH,
    COTTAGE_MESH,
    TOWNHOUSE_MESH,
    CORNER_HOUSE_MESH, // its wing stands on one side only
    WAREHOUSE_MESH,
    CHIMNEY_MESH,
    FLOWER_BOX_MESH,
    CHURCH_MESH,
    LIGHTHOUSE_MESH,
    BEACON_MESH,
    STALL_MESH,
    AWNING_MESH,
    CRATE_MESH,
    BARREL_MESH,
    BASKET_MESH,
    GOODS_MESH,
    LAMP_POST_MESH,
    LAMP_GLASS_MESH,
    BENCH_MESH,
    BOLLARD_MESH,
    FOUNTAIN_MESH,
    SIGN_BRACKET_MESH,
    SIGN_BOARD_MESH,
    NET_MESH,
    BROAD_TREE_MESH,
    CONIFER_MESH,
    BUSH_MESH,
    HULL_MESH,
    ROWBOAT_MESH,
    MAST_MESH,
    SAIL_MESH,
    CABIN_MESH,
    FLAGPOLE_MESH,
    FLAG_MESH,
    GULL_MESH
};

constexpr int kFlagJointCount = 5;
constexpr double kFlagJointDistance = 0.75;

/// Adds the geometries and meshes in the order of `kxVillageMesh`. Primitives without a material take the node's.
void addVillageMeshes(kxScene& scene, uint64_t seed);

} // namespace Kel::Examples

#endif
