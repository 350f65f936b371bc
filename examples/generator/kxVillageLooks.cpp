#include "kxVillageLooks.h"

#include "kxTextureMaker.h"

namespace Kel::Examples
{

namespace
{

enum kxVillageTexture : int32_t
{
    TILES_TEXTURE,
    TILES_COPY_TEXTURE,
    PLANKS_TEXTURE,
    PLANKS_COPY_TEXTURE,
    MASONRY_TEXTURE,
    PAVING_TEXTURE,
    STRIPES_TEXTURE,
    SIGN_TEXTURE,
    NET_TEXTURE,
    FLAG_TEXTURE,
    PLASTER_TEXTURE
};

struct kxLook
{
    int32_t id;
    const char* name;
    int color[3]; // sRGB
    float roughness;
    int32_t texture;
};

constexpr int32_t kPlain = -1;

constexpr kxLook kLooks[] = {
    {ROOF_RED, "roof red", {206, 92, 62}, 0.75f, TILES_TEXTURE},
    {ROOF_RED_COPY, "roof red.001", {206, 92, 62}, 0.75f, TILES_COPY_TEXTURE},
    {ROOF_BROWN, "roof brown", {164, 96, 66}, 0.75f, TILES_TEXTURE},
    {ROOF_SLATE, "roof slate", {110, 124, 138}, 0.625f, TILES_TEXTURE},
    {TRIM, "trim", {246, 242, 232}, 0.75f, kPlain},
    {TRIM_COPY, "trim.001", {246, 242, 232}, 0.75f, kPlain},
    {GLASS, "glass", {40, 62, 84}, 0.125f, kPlain},
    {GLASS_COPY, "glass.001", {40, 62, 84}, 0.125f, kPlain},
    {DOOR_GREEN, "door green", {60, 104, 80}, 0.75f, kPlain},
    {DOOR_BLUE, "door blue", {58, 90, 132}, 0.75f, kPlain},
    {STONE, "stone", {202, 192, 174}, 0.875f, MASONRY_TEXTURE},
    {STONE_COPY, "stone.001", {202, 192, 174}, 0.875f, MASONRY_TEXTURE},
    {PAVING, "paving", {226, 214, 192}, 0.875f, PAVING_TEXTURE},
    {PLANKS, "planks", {226, 206, 176}, 0.875f, PLANKS_TEXTURE},
    {PLANKS_COPY, "planks.001", {226, 206, 176}, 0.875f, PLANKS_COPY_TEXTURE},
    {SEA, "sea", {44, 116, 140}, 0.25f, kPlain},
    {LAND, "land", {255, 255, 255}, 1.0f, kPlain},
    {GRASS, "grass", {138, 160, 92}, 1.0f, kPlain},
    {ROCK, "rock", {138, 132, 124}, 0.875f, kPlain},
    {TRUNK, "trunk", {112, 82, 58}, 0.875f, kPlain},
    {LEAVES_DARK, "leaves dark", {50, 98, 66}, 0.875f, kPlain},
    {LEAVES_LIGHT, "leaves light", {112, 152, 70}, 0.875f, kPlain},
    {LEAVES_LIGHT_COPY, "leaves light.001", {112, 152, 70}, 0.875f, kPlain},
    {LEAVES_AUTUMN, "leaves autumn", {204, 140, 60}, 0.875f, kPlain},
    {HULL_RED, "hull red", {176, 58, 48}, 0.5f, kPlain},
    {HULL_BLUE, "hull blue", {44, 84, 136}, 0.5f, kPlain},
    {HULL_GREEN, "hull green", {52, 120, 100}, 0.5f, kPlain},
    {HULL_WHITE, "hull white", {240, 238, 230}, 0.5f, kPlain},
    {MAST_WOOD, "mast", {158, 116, 74}, 0.75f, kPlain},
    {SAILCLOTH, "sailcloth", {244, 236, 216}, 0.875f, kPlain},
    {SAILCLOTH_RED, "sailcloth red", {186, 82, 62}, 0.875f, kPlain},
    {IRON, "iron", {62, 66, 70}, 0.5f, kPlain},
    {IRON_COPY, "iron.001", {62, 66, 70}, 0.5f, kPlain},
    {LAMP_GLOW, "lamp glow", {255, 226, 160}, 0.5f, kPlain},
    {BEACON_GLOW, "beacon glow", {255, 240, 200}, 0.25f, kPlain},
    {AWNING_RED, "awning red", {214, 84, 70}, 0.875f, STRIPES_TEXTURE},
    {AWNING_GREEN, "awning green", {100, 160, 96}, 0.875f, STRIPES_TEXTURE},
    {AWNING_BLUE, "awning blue", {84, 132, 190}, 0.875f, STRIPES_TEXTURE},
    {SIGN, "sign", {255, 255, 255}, 0.625f, SIGN_TEXTURE},
    {NET, "net", {255, 255, 255}, 0.875f, NET_TEXTURE},
    {FLAG, "flag", {255, 255, 255}, 0.875f, FLAG_TEXTURE},
    {FEATHERS, "feathers", {250, 250, 246}, 0.875f, kPlain},
    {ORANGES, "oranges", {240, 150, 50}, 0.625f, kPlain},
    {APPLES, "apples", {180, 200, 70}, 0.625f, kPlain},
    {FISH, "fish", {170, 190, 204}, 0.375f, kPlain},
    {WATER, "water", {90, 160, 180}, 0.125f, kPlain},
    {STRIPE_RED, "stripe red", {196, 56, 46}, 0.625f, kPlain},
    {WHITEWASH, "whitewash", {246, 244, 238}, 0.75f, kPlain},
};

constexpr int kWallColors[WALL_COUNT][3] = {{246, 238, 218}, {236, 204, 140}, {226, 158, 122}, {206, 222, 222},
                                            {240, 196, 186}, {198, 208, 168}, {252, 250, 246}};
constexpr const char* kWallNames[WALL_COUNT] = {"cream", "ochre", "brick", "sky", "rose", "sage", "white"};

kxSceneMaterial materialOf(const std::string& name, const int* color, float roughness, int32_t texture)
{
    kxSceneMaterial material;
    material.name = name;
    for (size_t channel = 0; channel < 3; ++channel)
        material.color[channel] = linearComponent(color[channel]);
    material.roughness = roughness;
    material.texture = texture;
    return material;
}

void setGlow(kxSceneMaterial& material, float strength)
{
    material.emissive = {material.color[0], material.color[1], material.color[2]};
    material.emissiveStrength = strength;
}

} // namespace

void addVillageLooks(kxScene& scene)
{
    // The sign is half a metre wide and has by far the largest picture; tiles and planks are there twice.
    scene.images = {paintTiles("tiles", 64),        paintTiles("tiles.001", 64), paintPlanks("planks", 128),
                    paintPlanks("planks.001", 128), paintMasonry("masonry", 64), paintPaving("paving", 128),
                    paintStripes("stripes", 64),    paintSign("inn sign", 512),  paintNet("net", 64),
                    paintFlag("flag", 256, 128),    paintPlaster("plaster", 64)};
    for (size_t image = 0; image < scene.images.size(); ++image)
        scene.textures.push_back({scene.images[image].name, static_cast<int32_t>(image), 0});
    scene.textures[TILES_COPY_TEXTURE].sampler = 1;
    scene.textures[SIGN_TEXTURE].sampler = 2;
    scene.textures[FLAG_TEXTURE].sampler = 2;

    for (const kxLook& look : kLooks)
        scene.materials.push_back(materialOf(look.name, look.color, look.roughness, look.texture));
    for (int32_t wall = 0; wall < WALL_COUNT; ++wall)
    {
        scene.materials.push_back(
            materialOf(std::string("wall ") + kWallNames[wall], kWallColors[wall], 0.875f, PLASTER_TEXTURE));
    }

    scene.materials[SEA].clearcoat = 1.0f;
    scene.materials[WATER].clearcoat = 1.0f;
    scene.materials[IRON].metallic = scene.materials[IRON_COPY].metallic = 0.75f;
    scene.materials[NET].masked = true;
    setGlow(scene.materials[LAMP_GLOW], 1.0f);
    setGlow(scene.materials[BEACON_GLOW], 8.0f);
    for (const int32_t thin :
         {NET, FLAG, SAILCLOTH, SAILCLOTH_RED, FEATHERS, HULL_RED, HULL_BLUE, HULL_GREEN, HULL_WHITE})
        scene.materials[static_cast<size_t>(thin)].doubleSided = true;
}

} // namespace Kel::Examples
