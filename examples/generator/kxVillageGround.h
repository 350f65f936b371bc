// What the village stands on.
#ifndef KX_VILLAGE_GROUND_H
#define KX_VILLAGE_GROUND_H

#include "kxMakerMath.h"
#include "kxSceneMaker.h"

namespace Kel::Examples
{

constexpr double kQuayTop = 1.5;
constexpr double kTerraceRise = 3.0;
constexpr double kTerraceFronts[4] = {-26.0, -40.0, -54.0, -70.0}; // the last one is where the hill begins
constexpr double kVillageHalfWidth = 56.0;

/// Height of the land above the sea outside the quay and the terraces.
double landHeight(double x, double z);

/// Adds the meshes from the land to the pier in the order of `kxVillageMesh`.
void addVillageGround(kxScene& scene, kxMakerRandom& random);

} // namespace Kel::Examples

#endif
