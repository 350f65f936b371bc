// Small pictures of few colours for the example scenes.
#ifndef KX_TEXTURE_MAKER_H
#define KX_TEXTURE_MAKER_H

#include "kxSceneMaker.h"

namespace Kel::Examples
{

kxSceneImage paintTiles(std::string name, uint32_t size);
kxSceneImage paintPlanks(std::string name, uint32_t size);
kxSceneImage paintMasonry(std::string name, uint32_t size);
kxSceneImage paintPlaster(std::string name, uint32_t size);

/// Paving with an alpha channel that is opaque everywhere.
kxSceneImage paintPaving(std::string name, uint32_t size);

kxSceneImage paintStripes(std::string name, uint32_t size);

/// The sign of an inn: a fish on a blue ground, in four colours.
kxSceneImage paintSign(std::string name, uint32_t size);

/// Meshes of a net: opaque cords, transparent holes.
kxSceneImage paintNet(std::string name, uint32_t size);

kxSceneImage paintFlag(std::string name, uint32_t width, uint32_t height);

/// The linear value of a colour component given as sRGB from 0 to 255, close to the standard curve.
float linearComponent(int component);

} // namespace Kel::Examples

#endif
