#include "kxVillageMeshes.h"

#include "kxMeshMaker.h"
#include "kxVillageGround.h"
#include "kxVillageLooks.h"

#include <algorithm>
#include <utility>

namespace Kel::Examples
{

namespace
{

constexpr int32_t kNodeMaterial = -1;

/// Windows and doors stand in the plane z = 0 of the current frame, looking along z.
void addWindow(kxMeshMaker& maker, double x, double y, double width, double height)
{
    const double half = width / 2;
    maker.of(TRIM).addBox({x - half - 0.125, y - 0.125, 0}, {x + half + 0.125, y + height + 0.125, 0.0625});
    maker.of(GLASS).addBox({x - half, y, 0}, {x - 0.03125, y + height, 0.09375});
    maker.of(GLASS).addBox({x + 0.03125, y, 0}, {x + half, y + height, 0.09375});
}

void addDoor(kxMeshMaker& maker, double x, double width, double height, int32_t material)
{
    const double half = width / 2;
    maker.of(TRIM).addBox({x - half - 0.125, 0, 0}, {x + half + 0.125, height + 0.125, 0.0625});
    maker.of(material).addBox({x - half, 0.125, 0}, {x + half, height, 0.125});
    maker.of(STONE).addBox({x - half - 0.25, 0, 0}, {x + half + 0.25, 0.125, 0.75});
}

/// Walls with their gables and a roof of two slabs, the ridge along x.
void addGabledBody(kxMeshMaker& maker, int32_t walls, int32_t roof, double width, double depth, double eaves,
                   double rise)
{
    const double half = depth / 2;
    const double overhang = 0.5;
    const double pitch = rise / half;
    maker.of(walls).addExtrusion({{-half, 0}, {half, 0}, {half, eaves}, {0, eaves + rise}, {-half, eaves}}, -width / 2,
                                 width / 2);
    const double low = eaves - overhang * pitch;
    const double ridge = eaves + rise;
    const double start = -width / 2 - 0.375, end = width / 2 + 0.375;
    maker.of(roof).addExtrusion({{0, ridge}, {half + overhang, low}, {half + overhang, low + 0.25}, {0, ridge + 0.25}},
                                start, end);
    maker.of(roof).addExtrusion(
        {{0, ridge}, {0, ridge + 0.25}, {-half - overhang, low + 0.25}, {-half - overhang, low}}, start, end);
}

void addHouses(kxScene& scene)
{
    kxMeshMaker maker;
    addGabledBody(maker, kNodeMaterial, ROOF_RED, 7, 6, 3.25, 2.5);
    maker.setFrame({0, 0, 3});
    addDoor(maker, 0, 1.125, 2.125, DOOR_GREEN);
    addWindow(maker, -2.125, 1, 1.125, 1.25);
    addWindow(maker, 2.125, 1, 1.125, 1.25);
    maker.setFrame({3.5, 0, 0}, 1);
    addWindow(maker, 0, 1, 1.125, 1.25);
    addWindow(maker, 0, 3.5, 0.75, 0.875);
    maker.setFrame({-3.5, 0, 0}, 3);
    addWindow(maker, 0, 1, 1.125, 1.25);
    addWindow(maker, 0, 3.5, 0.75, 0.875);
    maker.finish(scene, "cottage");

    // The townhouse turns its gable to the street.
    maker.setFrame({}, 1);
    addGabledBody(maker, kNodeMaterial, ROOF_BROWN, 7, 6.5, 6.25, 3);
    maker.setFrame({0, 0, 3.5});
    addDoor(maker, -1.75, 1.25, 2.25, DOOR_BLUE);
    addWindow(maker, 1.25, 0.875, 2, 1.375);
    for (const double x : {-1.75, 0.0, 1.75})
        addWindow(maker, x, 3.75, 1, 1.5);
    addWindow(maker, 0, 6.625, 1, 1.125);
    maker.setFrame({3.25, 0, 0}, 1);
    addWindow(maker, -1.5, 3.75, 1, 1.5);
    addWindow(maker, 1.5, 3.75, 1, 1.5);
    maker.finish(scene, "townhouse");

    addGabledBody(maker, kNodeMaterial, ROOF_RED_COPY, 7, 5.5, 5.5, 2.5);
    maker.setFrame({2.25, 0, 2.25}, 1);
    addGabledBody(maker, kNodeMaterial, ROOF_RED_COPY, 4.5, 3.5, 3, 1.75);
    maker.setFrame({2.25, 0, 4.5});
    addWindow(maker, 0, 0.875, 1.5, 1.375);
    maker.setFrame({0, 0, 2.75});
    addDoor(maker, -1.25, 1.125, 2.125, DOOR_BLUE);
    addWindow(maker, -2.625, 0.875, 0.875, 1.25);
    for (const double x : {-2.375, 0.0, 2.375})
        addWindow(maker, x, 3.5, 0.875, 1.25);
    maker.finish(scene, "corner house");

    addGabledBody(maker, STONE, ROOF_SLATE, 9, 6.5, 4.5, 3);
    maker.setFrame({0, 0, 3.25});
    addDoor(maker, 0, 2.5, 3, DOOR_GREEN);
    addWindow(maker, -3, 1.75, 1, 1);
    addWindow(maker, 3, 1.75, 1, 1);
    maker.finish(scene, "warehouse");

    maker.of(STONE_COPY).addBox({-0.375, 0, -0.375}, {0.375, 1.75, 0.375});
    maker.of(STONE_COPY).addBox({-0.5, 1.75, -0.5}, {0.5, 1.9375, 0.5});
    maker.of(ROOF_RED).addLathe({{0.1875, 1.9375}, {0.15625, 2.375}}, 6, true);
    maker.finish(scene, "chimney");

    kxMakerRandom random(5);
    maker.of(TRUNK).addBox({-0.625, 0, 0}, {0.625, 0.25, 0.3125});
    for (const double x : {-0.4375, 0.0, 0.4375})
        maker.of(x == 0 ? STRIPE_RED : LEAVES_LIGHT_COPY)
            .addLump({x, 0.3125, 0.15625}, {0.25, 0.1875, 0.1875}, 3, 5, 0.25, random);
    maker.finish(scene, "flower box");
}

void addChurch(kxScene& scene)
{
    kxMeshMaker maker;
    addGabledBody(maker, WHITEWASH, ROOF_SLATE, 14, 7, 5.5, 4);
    maker.of(WHITEWASH).addBox({-11, 0, -2.25}, {-6.5, 13, 2.25});
    maker.of(STONE).addBox({-11.25, 8.75, -2.5}, {-6.25, 9.125, 2.5});
    maker.of(STONE).addBox({-11.25, 13, -2.5}, {-6.25, 13.375, 2.5});
    maker.setFrame({-8.75, 13.375, 0});
    maker.of(ROOF_SLATE).addLathe({{3.375, 0}, {1.25, 4}, {0, 9}}, 4, true, 0.125);
    maker.of(IRON).addBox({-0.0625, 8.75, -0.0625}, {0.0625, 10.5, 0.0625});
    maker.of(IRON).addBox({-0.0625, 9.75, -0.5}, {0.0625, 9.875, 0.5});
    maker.setFrame({0, 0, 3.5});
    for (const double x : {-3.75, -0.75, 2.25, 5.25})
        addWindow(maker, x, 1.5, 1, 3);
    maker.setFrame({-8.75, 0, 2.25});
    addDoor(maker, 0, 1.75, 3, DOOR_BLUE);
    addWindow(maker, 0, 10, 1.25, 2);
    maker.setFrame({-11, 0, 0}, 3);
    addWindow(maker, 0, 10, 1.25, 2);
    maker.finish(scene, "church");
}

void addLighthouse(kxScene& scene)
{
    kxMeshMaker maker;
    maker.of(STONE).addLathe({{3.25, 0}, {2.875, 1.5}}, 12, true);
    double radius = 2.25;
    for (int band = 0; band < 5; ++band)
    {
        const double low = 1.5 + 2.75 * band;
        const double next = radius - 0.1875;
        maker.of(band % 2 == 0 ? WHITEWASH : STRIPE_RED).addLathe({{radius, low}, {next, low + 2.75}}, 12);
        radius = next;
    }
    maker.setFrame({0, 15.25, 0});
    maker.of(IRON).addLathe({{1.5, -0.375}, {2.125, 0}, {2.125, 0.1875}}, 12, true);
    for (int post = 0; post < 12; ++post)
    {
        const double x = 2 * sineOfTurns(post / 12.0), z = 2 * cosineOfTurns(post / 12.0);
        maker.of(IRON).addBox({x - 0.03125, 0.1875, z - 0.03125}, {x + 0.03125, 1.125, z + 0.03125});
    }
    maker.of(IRON).addLathe({{2.0625, 1.0625}, {2.0625, 1.125}, {1.9375, 1.125}, {1.9375, 1.0625}}, 12);
    for (int post = 0; post < 6; ++post)
    {
        const double x = 1.125 * sineOfTurns(post / 6.0), z = 1.125 * cosineOfTurns(post / 6.0);
        maker.of(IRON).addBox({x - 0.0625, 0, z - 0.0625}, {x + 0.0625, 2.25, z + 0.0625});
    }
    maker.of(STRIPE_RED).addLathe({{1.5, 2.25}, {1.375, 2.5}, {0.1875, 3.5}, {0.1875, 3.75}, {0, 4.25}}, 12, true);
    maker.setFrame({0, 1.5, 2.1875});
    addDoor(maker, 0, 1, 2, DOOR_GREEN);
    maker.finish(scene, "lighthouse");

    maker.of(BEACON_GLOW).addLathe({{0.375, 0}, {0.75, 0.5}, {0.75, 1.25}, {0.375, 1.75}}, 8, true);
    maker.finish(scene, "beacon");
}

void addMarket(kxScene& scene)
{
    kxMeshMaker maker;
    for (const double x : {-1.5, 1.5})
        for (const double z : {-0.875, 0.875})
            maker.of(TRUNK).addBox({x - 0.0625, 0, z - 0.0625}, {x + 0.0625, z > 0 ? 2.25 : 2.5625, z + 0.0625});
    maker.of(PLANKS_COPY).addBox({-1.5, 0.75, 0.25}, {1.5, 0.875, 1.125});
    maker.of(PLANKS_COPY).addBox({-1.4375, 0.125, 0.9375}, {1.4375, 0.75, 1});
    maker.finish(scene, "stall");

    maker.of(kNodeMaterial)
        .addExtrusion({{-1.125, 2.625}, {1.375, 2.125}, {1.375, 2.1875}, {-1.125, 2.6875}}, -1.75, 1.75);
    maker.of(kNodeMaterial)
        .addQuad({-1.75, 1.875, 1.375}, {1.75, 1.875, 1.375}, {1.75, 2.1875, 1.375}, {-1.75, 2.1875, 1.375});
    maker.finish(scene, "awning");

    maker.of(PLANKS_COPY).addBox({-0.4375, 0, -0.4375}, {0.4375, 0.8125, 0.4375});
    for (const double x : {-0.4375, 0.4375})
        for (const double z : {-0.4375, 0.4375})
            maker.of(TRUNK).addBox({x - 0.0625, 0, z - 0.0625}, {x + 0.0625, 0.8125, z + 0.0625});
    maker.finish(scene, "crate");

    maker.of(PLANKS).addLathe({{0.3125, 0}, {0.40625, 0.3125}, {0.40625, 0.6875}, {0.3125, 1}}, 10, true);
    maker.of(IRON).addLathe({{0.390625, 0.1875}, {0.421875, 0.28125}}, 10);
    maker.of(IRON).addLathe({{0.421875, 0.71875}, {0.390625, 0.8125}}, 10);
    maker.finish(scene, "barrel");

    maker.of(TRUNK).addLathe({{0.25, 0}, {0.34375, 0.25}, {0.28125, 0.25}}, 8, true);
    maker.finish(scene, "basket");
    maker.of(kNodeMaterial).addLathe({{0.28125, 0.25}, {0.21875, 0.375}, {0, 0.4375}}, 8);
    maker.finish(scene, "goods");

    maker.of(IRON).addLathe({{0.1875, 0}, {0.125, 0.375}, {0.0625, 0.5}, {0.0625, 3.25}, {0.1875, 3.3125}}, 8, true);
    maker.of(IRON).addLathe({{0.3125, 3.8125}, {0, 4.0625}}, 6, true);
    maker.finish(scene, "lamp post");
    maker.of(LAMP_GLOW).addLathe({{0.15625, 3.3125}, {0.25, 3.8125}}, 6, true);
    maker.finish(scene, "lamp glass");

    for (const double z : {-0.1875, 0.0625})
        maker.of(PLANKS).addBox({-0.875, 0.4375, z}, {0.875, 0.5, z + 0.1875});
    maker.of(PLANKS).addBox({-0.875, 0.625, -0.25}, {0.875, 0.9375, -0.1875});
    for (const double x : {-0.75, 0.6875})
    {
        maker.of(IRON_COPY).addBox({x, 0, -0.25}, {x + 0.0625, 0.9375, -0.1875});
        maker.of(IRON_COPY).addBox({x, 0, 0.1875}, {x + 0.0625, 0.4375, 0.25});
    }
    maker.finish(scene, "bench");

    maker.of(IRON_COPY).addLathe({{0.25, 0}, {0.15625, 0.125}, {0.15625, 0.5}, {0.28125, 0.5625}, {0.21875, 0.75}}, 8,
                                 true);
    maker.finish(scene, "bollard");

    maker.of(STONE).addLathe({{2.25, 0}, {2.25, 0.625}, {1.875, 0.625}, {1.875, 0.375}}, 8);
    maker.of(STONE).addLathe({{0.5, 0.25}, {0.3125, 0.625}, {0.25, 1.625}, {1, 1.9375}, {0.875, 1.9375}, {0, 1.75}}, 8);
    maker.of(WATER).addLathe({{1.9375, 0.5}, {0, 0.5}}, 8);
    maker.of(WATER).addLathe({{0.9375, 1.875}, {0, 1.875}}, 8);
    maker.finish(scene, "fountain");

    maker.of(IRON).addBox({-0.03125, 0, 0}, {0.03125, 0.0625, 1.125});
    maker.of(IRON).addBox({-0.03125, -0.5, 0}, {0.03125, 0, 0.0625});
    maker.finish(scene, "sign bracket");
    maker.of(SIGN).addQuad({0.03125, -0.9375, 1}, {0.03125, -0.9375, 0.125}, {0.03125, -0.0625, 0.125},
                           {0.03125, -0.0625, 1}, true);
    maker.of(SIGN).addQuad({-0.03125, -0.9375, 0.125}, {-0.03125, -0.9375, 1}, {-0.03125, -0.0625, 1},
                           {-0.03125, -0.0625, 0.125}, true);
    maker.finish(scene, "sign board");

    maker.of(NET).addQuad({-2, 0.25, 0}, {2, 0.25, 0}, {2, 2, 0}, {-2, 2, 0});
    for (const double x : {-2.0, 2.0})
        maker.of(TRUNK).addBox({x - 0.0625, 0, -0.0625}, {x + 0.0625, 2.125, 0.0625});
    maker.of(TRUNK).addBox({-2.125, 2, -0.0625}, {2.125, 2.125, 0.0625});
    maker.finish(scene, "net rack");
}

void addPlants(kxScene& scene, kxMakerRandom& random)
{
    kxMeshMaker maker;
    maker.of(TRUNK).addLathe({{0.3125, -0.5}, {0.1875, 1}, {0.1875, 2.5}}, 6);
    maker.of(kNodeMaterial).addLump({0, 3.5, 0}, {1.75, 1.625, 1.75}, 5, 8, 0.15, random);
    maker.of(kNodeMaterial).addLump({0.75, 4.5, 0.25}, {1.125, 1, 1.125}, 4, 7, 0.15, random);
    maker.finish(scene, "broad tree");
    maker.of(TRUNK).addLathe({{0.25, -0.5}, {0.1875, 1.25}}, 6);
    maker.of(kNodeMaterial).addLathe({{1.625, 1}, {0.75, 3}, {1.25, 2.75}, {0.5, 4.75}, {0.875, 4.5}, {0, 7}}, 8, true);
    maker.finish(scene, "conifer");
    maker.of(kNodeMaterial).addLump({0, 0.375, 0}, {0.75, 0.5625, 0.75}, 4, 7, 0.2, random);
    maker.finish(scene, "bush");
}

/// A hull along x with its bow at +x, the water line at y = 0.
void addHull(kxMeshMaker& maker, int32_t skin, double length, double width, double height)
{
    static constexpr int kStations = 7;
    static constexpr double kWidths[kStations] = {0.75, 0.9375, 1, 0.9375, 0.8125, 0.5, 0.03125};
    static constexpr double kDepths[kStations] = {0.5, 0.6875, 0.75, 0.75, 0.6875, 0.5, 0.125};
    static constexpr double kSides[kStations] = {1, 0.875, 0.8125, 0.875, 1, 1.25, 1.5625};
    const auto at = [&](int station, int ring, double side)
    {
        const double half = kWidths[station] * width / 2 * side;
        const double x = (static_cast<double>(station) / (kStations - 1) - 0.5) * length;
        switch (ring)
        {
        case 0: return kxPoint{x * 0.9375, -kDepths[station] * height, 0};
        case 1: return kxPoint{x * 0.96875, -kDepths[station] * height * 0.375, half * 0.8125};
        case 2: return kxPoint{x, kSides[station] * height, half};
        default: return kxPoint{x * 0.9375, kSides[station] * height - 0.3125, half * 0.9375};
        }
    };
    for (int station = 0; station + 1 < kStations; ++station)
    {
        for (int ring = 0; ring < 3; ++ring)
        {
            maker.of(ring < 2 ? skin : TRUNK)
                .addQuad(at(station, ring, 1), at(station + 1, ring, 1), at(station + 1, ring + 1, 1),
                         at(station, ring + 1, 1));
            maker.of(ring < 2 ? skin : TRUNK)
                .addQuad(at(station + 1, ring, -1), at(station, ring, -1), at(station, ring + 1, -1),
                         at(station + 1, ring + 1, -1));
        }
        maker.of(PLANKS).addQuad(at(station, 3, 1), at(station + 1, 3, 1), at(station + 1, 3, -1), at(station, 3, -1));
    }
    maker.of(skin).addQuad(at(0, 1, -1), at(0, 1, 1), at(0, 2, 1), at(0, 2, -1));
    maker.of(skin).addTriangle(at(0, 0, 1), at(0, 1, 1), at(0, 1, -1));
}

void addBoats(kxScene& scene)
{
    kxMeshMaker maker;
    addHull(maker, kNodeMaterial, 9, 3, 1.125);
    maker.finish(scene, "hull");
    addHull(maker, kNodeMaterial, 4, 1.625, 0.5);
    maker.of(PLANKS_COPY).addBox({-0.75, 0.25, -0.75}, {-0.4375, 0.3125, 0.75});
    maker.of(PLANKS_COPY).addBox({0.5, 0.25, -0.6875}, {0.8125, 0.3125, 0.6875});
    maker.finish(scene, "rowing boat");

    maker.of(MAST_WOOD).addLathe({{0.125, 0}, {0.0625, 9}}, 7, true);
    maker.of(MAST_WOOD).addBox({-4, 1.4375, -0.0625}, {0, 1.5625, 0.0625});
    maker.finish(scene, "mast");

    // A triangle of cloth that the wind fills: a grid whose rows get shorter towards the top.
    kxSceneGeometry sail;
    sail.name = "sail";
    constexpr int kSteps = 6;
    for (int row = 0; row <= kSteps; ++row)
        for (int column = 0; column <= kSteps; ++column)
        {
            const double up = static_cast<double>(row) / kSteps, along = static_cast<double>(column) / kSteps;
            const double belly = sineOfTurns(along * 0.5) * (1 - up) * 0.75;
            const double slope = 0.75 * (1 - up) * cosineOfTurns(along * 0.5);
            addSmoothVertex(sail, {-3.875 * (1 - along) * (1 - up), 1.625 + 7 * up, belly},
                            normalized({-slope, 0.25, 1}), along, 1 - up);
        }
    addGridIndices(sail, kSteps + 1, kSteps + 1);
    sail.indices.resize(sail.indices.size() - kSteps * 6); // the last row ends in one point: one triangle per cell
    for (uint32_t column = 0; column < kSteps; ++column)
    {
        const uint32_t corner = (kSteps - 1) * (kSteps + 1) + column;
        sail.indices.insert(sail.indices.end(), {corner, corner + 1, corner + kSteps + 1});
    }
    addSingle(scene, std::move(sail), kNodeMaterial);

    maker.of(WHITEWASH).addBox({-1, 0.25, -0.875}, {1, 2.25, 0.875});
    maker.of(MAST_WOOD).addBox({-1.25, 2.25, -1.0625}, {1.25, 2.375, 1.0625});
    maker.setFrame({1, 0, 0}, 1);
    maker.of(GLASS_COPY).addBox({-0.6875, 1.25, 0}, {0.6875, 2, 0.0625});
    maker.setFrame({0, 0, 0.875});
    maker.of(GLASS_COPY).addBox({-0.625, 1.25, 0}, {0.625, 2, 0.0625});
    maker.setFrame({0, 0, -0.875}, 2);
    maker.of(GLASS_COPY).addBox({-0.625, 1.25, 0}, {0.625, 2, 0.0625});
    maker.finish(scene, "cabin");
}

/// The cloth hangs from joint to joint; every vertex follows the two joints beside it.
void addFlag(kxScene& scene)
{
    kxMeshMaker maker;
    maker.of(STONE).addLathe({{0.75, 0}, {0.625, 0.5}}, 8, true);
    maker.of(TRIM_COPY).addLathe({{0.125, 0.5}, {0.0625, 10}}, 8);
    maker.of(ORANGES).addLathe({{0.0625, 10}, {0.15625, 10.125}, {0, 10.3125}}, 8);
    maker.finish(scene, "flagpole");

    kxSceneGeometry flag;
    flag.name = "flag";
    constexpr int kColumns = 2 * (kFlagJointCount - 1) + 1, kRows = 4;
    for (int row = 0; row < kRows; ++row)
        for (int column = 0; column < kColumns; ++column)
        {
            const double up = static_cast<double>(row) / (kRows - 1);
            addSmoothVertex(flag, {column * kFlagJointDistance / 2, up * 1.75, 0}, {0, 0, 1},
                            static_cast<double>(column) / (kColumns - 1), 1 - up);
            const auto joint = static_cast<uint8_t>(column / 2);
            const bool isBetween = column % 2 == 1;
            flag.joints.insert(flag.joints.end(), {joint, static_cast<uint8_t>(isBetween ? joint + 1 : 0), 0, 0});
            flag.weights.insert(flag.weights.end(), {isBetween ? 0.5f : 1.0f, isBetween ? 0.5f : 0.0f, 0, 0});
        }
    addGridIndices(flag, kColumns, kRows);
    addSingle(scene, std::move(flag), FLAG);
}

/// A gull along x; its morph target lifts the wings.
void addGull(kxScene& scene)
{
    kxGeometryBuilder builder;
    const kxPoint beak{0.5, 0, 0}, tail{-0.5, 0.0625, 0}, back{0, 0.125, 0}, belly{0, -0.125, 0};
    for (const double side : {1.0, -1.0})
    {
        const kxPoint flank{0, 0, 0.125 * side}, tip{-0.1875, -0.0625, 1.125 * side};
        const kxPoint front{0.1875, 0.03125, 0.0625 * side}, rear{-0.1875, 0.03125, 0.0625 * side};
        const kxPoint faces[5][3] = {
            {flank, beak, back}, {tail, flank, back}, {belly, beak, flank}, {belly, flank, tail}, {rear, tip, front}};
        for (const auto& face : faces)
            side > 0 ? builder.addTriangle(face[0], face[1], face[2]) : builder.addTriangle(face[0], face[2], face[1]);
    }
    kxSceneGeometry gull = builder.take("gull");
    for (size_t vertex = 0; vertex < gull.vertexCount(); ++vertex)
    {
        const float side = gull.positions[vertex * 3 + 2];
        const bool isTip = side > 1 || side < -1;
        gull.morphPositions.insert(gull.morphPositions.end(), {0, isTip ? 0.625f : 0.0f, 0});
    }
    addSingle(scene, std::move(gull), FEATHERS);
}

} // namespace

void addVillageMeshes(kxScene& scene, uint64_t seed)
{
    kxMakerRandom random(seed + 1000);
    addVillageGround(scene, random);
    addHouses(scene);
    addChurch(scene);
    addLighthouse(scene);
    addMarket(scene);
    addPlants(scene, random);
    addBoats(scene);
    addFlag(scene);
    addGull(scene);
}

} // namespace Kel::Examples
