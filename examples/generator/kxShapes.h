#ifndef KX_SHAPES_H
#define KX_SHAPES_H

#include "kxSceneMaker.h"

namespace Kel::Examples
{

kxScene makeVillage(const kxSceneOptions& options);
kxScene makeCity(const kxSceneOptions& options);
kxScene makeChain(const kxSceneOptions& options);
kxScene makeStar(const kxSceneOptions& options);

} // namespace Kel::Examples

#endif
