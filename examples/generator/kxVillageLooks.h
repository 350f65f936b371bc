// The materials and pictures of the village, with the copies that a scene collects while people work on it.
#ifndef KX_VILLAGE_LOOKS_H
#define KX_VILLAGE_LOOKS_H

#include "kxSceneMaker.h"

namespace Kel::Examples
{

enum kxVillageMaterial : int32_t
{
    ROOF_RED,
    ROOF_RED_COPY, // equal but for its name and its copy of the picture
    ROOF_BROWN,
    ROOF_SLATE,
    TRIM,
    TRIM_COPY,
    GLASS,
    GLASS_COPY,
    DOOR_GREEN,
    DOOR_BLUE,
    STONE,
    STONE_COPY,
    PAVING,
    PLANKS,
    PLANKS_COPY,
    SEA,
    LAND,
    GRASS,
    ROCK,
    TRUNK,
    LEAVES_DARK,
    LEAVES_LIGHT,
    LEAVES_LIGHT_COPY,
    LEAVES_AUTUMN,
    HULL_RED,
    HULL_BLUE,
    HULL_GREEN,
    HULL_WHITE,
    MAST_WOOD,
    SAILCLOTH,
    SAILCLOTH_RED,
    IRON,
    IRON_COPY,
    LAMP_GLOW,
    BEACON_GLOW,
    AWNING_RED,
    AWNING_GREEN,
    AWNING_BLUE,
    SIGN,
    NET,
    FLAG,
    FEATHERS,
    ORANGES,
    APPLES,
    FISH,
    WATER,
    STRIPE_RED,
    WHITEWASH,
    FIRST_WALL,
    WALL_COUNT = 7
};

void addVillageLooks(kxScene& scene);

} // namespace Kel::Examples

#endif
