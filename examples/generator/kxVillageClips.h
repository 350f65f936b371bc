// How things in the village move.
#ifndef KX_VILLAGE_CLIPS_H
#define KX_VILLAGE_CLIPS_H

#include "kxPlacements.h"
#include "kxSceneMaker.h"

#include <vector>

namespace Kel::Examples
{

/// Rotation about y.
kxRotation headingOf(double turns);

/// One round in eight seconds, with a key every quarter of a second; every fourth key would do.
kxSceneChannel turnRound(int32_t node);

/// Straight courses with turns between them, a key every quarter of a second: most keys lie on the line between their
/// neighbours, and the scale never changes at all.
std::vector<kxSceneChannel> sailRound(int32_t boat);

/// A gull's circle about a pivot, the beat of its wings (weights of its morph target), and how it rises and falls.
std::vector<kxSceneChannel> flyRound(int32_t pivot, int32_t bird, int gull);

/// The swing of one of the joints of a flag, wider and later the further it is from the pole.
kxSceneChannel waveJoint(int32_t node, int joint);

} // namespace Kel::Examples

#endif
