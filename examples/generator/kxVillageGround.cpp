#include "kxVillageGround.h"

#include "kxMeshMaker.h"
#include "kxVillageLooks.h"

#include <algorithm>

namespace Kel::Examples
{

namespace
{

double smoothStep(double value, double low, double high)
{
    const double t = std::clamp((value - low) / (high - low), 0.0, 1.0);
    return t * t * (3 - 2 * t);
}

/// A random number of its own for each point of a lattice, 0 to 1.
double latticeValue(double x, double z)
{
    kxMakerRandom random(static_cast<uint64_t>(static_cast<int64_t>(x) * 92821 + static_cast<int64_t>(z) * 68917));
    return random.between(0, 1);
}

double noise(double x, double z)
{
    const double left = std::floor(x), back = std::floor(z);
    const double u = smoothStep(x - left, 0, 1), v = smoothStep(z - back, 0, 1);
    const double low = latticeValue(left, back) * (1 - u) + latticeValue(left + 1, back) * u;
    const double high = latticeValue(left, back + 1) * (1 - u) + latticeValue(left + 1, back + 1) * u;
    return low * (1 - v) + high * v;
}

void addLand(kxScene& scene)
{
    constexpr int kColumns = 53, kRows = 49;
    constexpr double kStep = 5.0, kLeft = -130.0, kFront = 90.0;
    kxSceneGeometry land;
    land.name = "land";
    for (int row = 0; row < kRows; ++row)
        for (int column = 0; column < kColumns; ++column)
        {
            const double x = kLeft + column * kStep, z = kFront - row * kStep;
            const double height = landHeight(x, z);
            const kxPoint slope{landHeight(x - 1, z) - landHeight(x + 1, z), 2.0,
                                landHeight(x, z - 1) - landHeight(x, z + 1)};
            const kxPoint normal = normalized(slope);
            addSmoothVertex(land, {x, height, z}, normal, x * 0.25, z * 0.25);
            // Sand by the water, grass above it, rock where it is steep.
            kxPoint color{0.28, 0.42, 0.14};
            color = color * (0.8 + 0.4 * noise(x * 0.3, z * 0.3));
            const double sand = 1 - smoothStep(height, 0.6, 2.2);
            color = color * (1 - sand) + kxPoint{0.72, 0.62, 0.42} * sand;
            const double rock = smoothStep(1 - normal.y, 0.1, 0.25);
            color = color * (1 - rock) + kxPoint{0.3, 0.28, 0.25} * rock;
            for (const double component : {color.x, color.y, color.z, 1.0})
                land.colors.push_back(static_cast<uint8_t>(std::floor(std::clamp(component, 0.0, 1.0) * 255)));
        }
    addGridIndices(land, kColumns, kRows);
    addSingle(scene, std::move(land), LAND);
}

void addSea(kxScene& scene)
{
    kxSceneGeometry sea;
    sea.name = "sea";
    for (int row = 0; row < 17; ++row)
        for (int column = 0; column < 17; ++column)
            addSmoothVertex(sea, {column * 25.0 - 200.0, 0, 220.0 - row * 25.0}, {0, 1, 0}, column, -row);
    addGridIndices(sea, 17, 17);
    addSingle(scene, std::move(sea), SEA);
}

/// A block of masonry with a top of another material. A rim of stone runs along its front.
void addTerrace(kxScene& scene, const std::string& name, int32_t surface, double front, double back, double top)
{
    kxMeshMaker maker;
    const double half = kVillageHalfWidth;
    kxGeometryBuilder& stone = maker.of(STONE);
    stone.addQuad({-half, -5, front}, {half, -5, front}, {half, top, front}, {-half, top, front});
    stone.addQuad({half, -5, front}, {half, -5, back}, {half, top, back}, {half, top, front});
    stone.addQuad({-half, -5, back}, {-half, -5, front}, {-half, top, front}, {-half, top, back});
    stone.addBox({-half, top, front - 0.5}, {-2.5, top + 0.3125, front + 0.125});
    stone.addBox({2.5, top, front - 0.5}, {half, top + 0.3125, front + 0.125});
    maker.of(surface).addQuad({-half, top, front}, {half, top, front}, {half, top, back}, {-half, top, back});
    maker.finish(scene, name);
}

void addGround(kxScene& scene)
{
    addTerrace(scene, "quay", PAVING, 0.0, kTerraceFronts[0], kQuayTop);
    for (int level = 0; level < 3; ++level)
        addTerrace(scene, std::string("terrace ").append(std::to_string(level + 1)), GRASS, kTerraceFronts[level],
                   kTerraceFronts[level + 1], kQuayTop + kTerraceRise * (level + 1));

    kxMeshMaker maker;
    for (int step = 0; step < 10; ++step)
        maker.of(STONE_COPY).addBox({-2.25, 0, -0.5 * (step + 1)}, {2.25, 0.3125 * (step + 1) - 0.125, -0.5 * step});
    maker.finish(scene, "stairs");

    maker.of(STONE).addBox({-3, -5, 0}, {3, 1.25, 48});
    maker.of(STONE).addBox({2.25, 1.25, 0}, {3, 2.25, 48});
    maker.of(PAVING).addQuad({-3, 1.28125, 48}, {2.25, 1.28125, 48}, {2.25, 1.28125, 0}, {-3, 1.28125, 0});
    maker.finish(scene, "breakwater");
}

void addRocks(kxScene& scene, kxMakerRandom& random)
{
    for (const char* name : {"rock a", "rock b", "rock c"})
    {
        kxGeometryBuilder builder;
        builder.addLump({}, {1, 0.75, 1}, 5, 7, 0.25, random);
        addSingle(scene, builder.take(name), ROCK);
    }
}

void addPier(kxScene& scene)
{
    kxMeshMaker maker;
    for (int plank = 0; plank < 5; ++plank)
        maker.of(PLANKS).addBox({-2, 1.125, 0.5 * plank}, {2, 1.25, 0.5 * plank + 0.4375});
    maker.of(PLANKS).addBox({-1.75, 0.875, 0}, {-1.5, 1.125, 2.5});
    maker.of(PLANKS).addBox({1.5, 0.875, 0}, {1.75, 1.125, 2.5});
    maker.finish(scene, "pier deck");
    maker.of(TRUNK).addLathe({{0.1875, -4}, {0.1875, 2}, {0.125, 2.0625}}, 7, true);
    maker.finish(scene, "pile");
}

} // namespace

double landHeight(double x, double z)
{
    const double aside = x < 0 ? -x : x;
    // Two capes hold the bay; inland of the shore the ground rises towards the hills.
    const double shore = aside < 60 ? 0 : std::min((aside - 60) * 1.125, 46 + noise(x * 0.05, 0) * 10);
    const double inland = shore - z + (noise(x * 0.08, z * 0.08) - 0.5) * 8;
    double open = inland > 0 ? inland * 0.25 : std::max(inland * 0.3, -5.0);
    open += smoothStep(inland, 4, 40) * (noise(x * 0.045 + 7, z * 0.045) * 14 - 4);
    open = std::min(open, 30 + noise(x * 0.03, z * 0.03) * 12);

    // Below the masonry the ground keeps out of sight; behind it the hill goes on from the last terrace.
    double built = -5;
    if (z < 0)
        built = kQuayTop - 1.25;
    for (int level = 0; level < 3; ++level)
        if (z < kTerraceFronts[level])
            built = kQuayTop + kTerraceRise * (level + 1) - 1.25;
    if (z < kTerraceFronts[3])
        built = kQuayTop + kTerraceRise * 3 - 0.25 + (kTerraceFronts[3] - z) * 0.3125 +
                smoothStep(kTerraceFronts[3] - z, 4, 40) * noise(x * 0.045 + 7, z * 0.045) * 8;
    const double outside = smoothStep(aside, kVillageHalfWidth, kVillageHalfWidth + 16);
    return built * (1 - outside) + open * outside;
}

void addVillageGround(kxScene& scene, kxMakerRandom& random)
{
    addLand(scene);
    addSea(scene);
    addGround(scene);
    addRocks(scene, random);
    addPier(scene);
}

} // namespace Kel::Examples
