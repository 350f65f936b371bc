// Boxes around what is drawn: vertices, particles, instances, what turns.
#pragma once

#include "platform/attrs/kxGeometryAttr.h"
#include "platform/attrs/kxParticleAttr.h"
#include "platform/sg/kxInstanceArray.h"

namespace Kel::Sg
{

/// Box of the vertices that are drawn, with every weight of morph targets from 0 to 1. Numbers that are none do not count.
kxAABox boxOfVertices(const kxGeometryAttr& attr);
/// Box of particles for their lifetime.
kxAABox boxOfParticles(const kxParticleAttr& particles);
/// Box of all instances of what lies in a box.
kxAABox boxOfInstances(const kxInstanceArray& instances, const kxAABox& box);
/// Box of what turns about a point: it stays within the ball through the corner that is farthest from it.
kxAABox boxOfTurns(const kxVec3f& center, const kxAABox& box);

} // namespace Kel::Sg
