// The generator of test scenes: exact counts, equal bytes, sound files.
#include "kxMakerMath.h"
#include "kxPlacements.h"
#include "kxPngMaker.h"
#include "kxSceneMaker.h"

#include <gtest/gtest.h>
#include <zlib.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <set>

using namespace Kel::Examples;

namespace
{

std::string readFile(const std::filesystem::path& path)
{
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

/// A folder of its own for each test, gone afterwards.
class kxSceneMakerFiles : public testing::Test
{
protected:
    kxSceneMakerFiles()
        : m_folder(std::filesystem::path(testing::TempDir()) /
                   (std::string("kxSceneMaker.") + testing::UnitTest::GetInstance()->current_test_info()->name()))
    {
        std::filesystem::remove_all(m_folder);
        std::filesystem::create_directories(m_folder);
    }
    ~kxSceneMakerFiles() override { std::filesystem::remove_all(m_folder); }

    std::string made(const kxSceneOptions& options, const char* name)
    {
        std::string error;
        EXPECT_TRUE(writeScene(makeScene(options), (m_folder / name).string(), error)) << error;
        return readFile(m_folder / name);
    }

    std::filesystem::path m_folder;
};

uint32_t wordAt(const std::string& bytes, size_t offset)
{
    uint32_t word = 0;
    for (size_t byte = 0; byte < 4; ++byte)
        word |= static_cast<uint32_t>(static_cast<uint8_t>(bytes.at(offset + byte))) << (8 * byte);
    return word;
}

size_t depthOf(const kxScenePlan& plan)
{
    std::vector<size_t> depths(plan.size(), 1);
    for (size_t node = 0; node < plan.size(); ++node)
        if (plan.parent[node] >= 0)
            depths[node] = depths[static_cast<size_t>(plan.parent[node])] + 1;
    return *std::max_element(depths.begin(), depths.end());
}

struct kxShapeCase
{
    const char* name;
    kxSceneShape shape;
    uint32_t nodeCount;
    size_t leastDepth, greatestDepth;
};

const kxShapeCase kShapeCases[] = {
    {"smallest city", kxSceneShape::CITY, 1, 1, 1},   {"city cut within a house", kxSceneShape::CITY, 17, 5, 9},
    {"city", kxSceneShape::CITY, 5000, 6, 9},         {"city of districts", kxSceneShape::CITY, 20000, 6, 9},
    {"smallest chain", kxSceneShape::CHAIN, 1, 1, 1}, {"chain", kxSceneShape::CHAIN, 3000, 3000, 3000},
    {"smallest star", kxSceneShape::STAR, 1, 1, 1},   {"star", kxSceneShape::STAR, 3000, 2, 2},
    {"village", kxSceneShape::VILLAGE, 0, 6, 10},
};

} // namespace

TEST(kxSceneMaker, PlansAreWholeAndOfTheSizeAskedFor)
{
    for (const kxShapeCase& c : kShapeCases)
    {
        SCOPED_TRACE(c.name);
        const kxScene scene = makeScene({c.shape, c.nodeCount});
        const kxScenePlan& plan = scene.plan;
        if (c.shape == kxSceneShape::VILLAGE)
            EXPECT_TRUE(plan.size() >= 300 && plan.size() <= 600) << plan.size();
        else
            EXPECT_EQ(plan.size(), c.nodeCount);
        const size_t depth = depthOf(plan);
        EXPECT_TRUE(depth >= c.leastDepth && depth <= c.greatestDepth) << depth;

        std::set<std::string_view> names;
        for (size_t node = 0; node < plan.size(); ++node)
        {
            ASSERT_LT(plan.parent[node], static_cast<int32_t>(node));
            ASSERT_EQ(plan.parent[node] < 0, node == 0 || plan.name(node) == "Flag cloth");
            ASSERT_LT(plan.mesh[node], static_cast<int32_t>(scene.meshes.size()));
            ASSERT_LT(plan.material[node], static_cast<int32_t>(scene.materials.size()));
            ASSERT_TRUE(names.insert(plan.name(node)).second) << plan.name(node);
        }
        for (const kxSceneGeometry& geometry : scene.geometries)
        {
            ASSERT_EQ(geometry.normals.size(), geometry.positions.size());
            ASSERT_LT(*std::max_element(geometry.indices.begin(), geometry.indices.end()), geometry.vertexCount());
        }
    }
}

TEST(kxSceneMaker, CitiesMixTransformsAndRepeatMaterials)
{
    const kxScene city = makeScene({kxSceneShape::CITY, 5000, 60});
    size_t kinds[4] = {};
    std::set<int32_t> usedMaterials;
    for (size_t node = 0; node < city.plan.size(); ++node)
    {
        ++kinds[static_cast<size_t>(city.plan.placement(node).kind)];
        if (city.plan.mesh[node] >= 0)
            usedMaterials.insert(city.plan.material[node]);
    }
    for (const size_t count : kinds)
        EXPECT_GT(count, 100u);
    EXPECT_EQ(city.materials.size(), 60u);
    EXPECT_GT(usedMaterials.size(), 40u);
    std::set<std::array<float, 4>> colors;
    for (const kxSceneMaterial& material : city.materials)
        colors.insert(material.color);
    EXPECT_EQ(colors.size(), 18u);
}

TEST(kxSceneMaker, ChainsReachTheirExtentInAStraightLine)
{
    const kxScene chain = makeScene({kxSceneShape::CHAIN, 4000, 0, 3, 500.0});
    double x = 0, y = 0, z = 0, facing = 1, aside = 0; // the x axis of the node reached
    for (size_t node = 0; node < chain.plan.size(); ++node)
    {
        const std::array<double, 16> m = chain.plan.localMatrix(node);
        x += m[12] * facing;
        z += m[12] * aside;
        y += m[13];
        const double turned = facing * m[0] - aside * m[2];
        aside = aside * m[0] + facing * m[2];
        facing = turned;
    }
    EXPECT_NEAR(x, 500.0, 1.0);
    EXPECT_NEAR(y, 0.0, 0.01);
    EXPECT_NEAR(z, 0.0, 0.01);
}

TEST(kxSceneMaker, TheVillageHoldsWhatOptimizationsLookFor)
{
    const kxScene village = makeScene({});
    const kxScenePlan& plan = village.plan;
    std::vector<bool> hasChild(plan.size());
    for (const int32_t parent : plan.parent)
        if (parent >= 0)
            hasChild[static_cast<size_t>(parent)] = true;
    std::set<int32_t> attached;
    for (const kxSceneAttachment& attachment : village.attachments)
        attached.insert(attachment.node);
    size_t mirrored = 0, empty = 0, spelledIdentities = 0;
    const std::array<double, 16> identity{1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1};
    for (size_t node = 0; node < plan.size(); ++node)
    {
        const kxPlacement where = plan.placement(node);
        mirrored += where.kind == kxTransformKind::TRS && where.values[7] < 0;
        empty += !hasChild[node] && plan.mesh[node] < 0 && attached.count(static_cast<int32_t>(node)) == 0 &&
                 plan.name(node).substr(0, 10) != "Flag joint";
        spelledIdentities += where.kind != kxTransformKind::NONE && plan.localMatrix(node) == identity;
    }
    EXPECT_EQ(mirrored, 1u);
    EXPECT_GE(empty, 3u);
    EXPECT_GE(spelledIdentities, 20u);

    size_t equalImages = 0, largestImage = 0;
    for (size_t image = 1; image < village.images.size(); ++image)
    {
        equalImages += makePng(village.images[image]) == makePng(village.images[image - 1]);
        largestImage = std::max<size_t>(largestImage, village.images[image].width);
    }
    EXPECT_EQ(equalImages, 2u);
    EXPECT_EQ(largestImage, 512u);
    EXPECT_EQ(village.skins.size(), 1u);
    EXPECT_EQ(village.animations.size(), 4u);
    EXPECT_EQ(village.cameras.size(), 2u);
}

TEST(kxSceneMaker, PlacementsAndMatricesSayTheSame)
{
    const kxPlacement where =
        placed({1, -2, 3.5}, rotationAbout({0, 0, 1}, 0.1) * rotationAbout({1, 0, 0}, 0.2), {2, 0.5, -1});
    kxScenePlan plan;
    plan.addNode(-1, "values", where);
    plan.addNode(-1, "matrix", asMatrix(where));
    const std::array<double, 16> values = plan.localMatrix(0), matrix = plan.localMatrix(1);
    for (size_t index = 0; index < 16; ++index)
        EXPECT_NEAR(values[index], matrix[index], 2e-6) << index;
    EXPECT_NEAR(sineOfTurns(0.3), 0.9510565163, 1e-9);

    const kxPoint directions[] = {{0, 0, -1}, {0, 0, 1}, {1, 0.5, 0}, {-1, -2, 0.25}, {-62, -36, -112}};
    for (const kxPoint& direction : directions)
    {
        plan.addNode(-1, "view", placed({}, rotationTowards(direction)));
        const std::array<double, 16> view = plan.localMatrix(plan.size() - 1);
        const kxPoint unit = normalized(direction);
        EXPECT_NEAR(-view[8], unit.x, 1e-5);
        EXPECT_NEAR(-view[9], unit.y, 1e-5);
        EXPECT_NEAR(-view[10], unit.z, 1e-5);
        EXPECT_NEAR(view[1], 0, 1e-5) << "no roll";
    }
}

TEST(kxSceneMaker, PngPixelsComeBackFromAnotherInflate)
{
    // Periods beyond the window, runs beyond the longest match and noise: every code of lengths and distances.
    kxMakerRandom random(7);
    for (const uint32_t period : {1u, 2u, 5u, 33u, 700u, 9001u, 32768u, 32769u, 50000u, 1000000u})
    {
        kxSceneImage image{"image", 251, 199, period % 2 == 0 ? 4u : 3u, {}};
        std::vector<uint8_t> pattern(period);
        std::generate(pattern.begin(), pattern.end(), [&] { return static_cast<uint8_t>(random.below(256)); });
        image.pixels.resize(size_t(251) * 199 * image.channelCount);
        for (size_t index = 0; index < image.pixels.size(); ++index)
            image.pixels[index] = random.below(900) == 0 ? uint8_t(index) : pattern[index % period];

        const std::vector<uint8_t> png = makePng(image);
        const size_t dataBytes = png.size() - 33 - 12 - 12; // signature and header; the chunk's own; the end
        const size_t rowBytes = size_t(251) * image.channelCount;
        std::vector<uint8_t> rows((rowBytes + 1) * 199);
        uLongf rowsBytes = static_cast<uLongf>(rows.size());
        ASSERT_EQ(uncompress(rows.data(), &rowsBytes, &png[33 + 8], static_cast<uLong>(dataBytes)), Z_OK) << period;
        ASSERT_EQ(rowsBytes, rows.size());
        for (size_t row = 0; row < 199; ++row)
            ASSERT_TRUE(std::equal(&image.pixels[row * rowBytes], &image.pixels[row * rowBytes] + rowBytes,
                                   &rows[row * (rowBytes + 1) + 1]))
                << period;
    }
}

TEST_F(kxSceneMakerFiles, EqualOptionsGiveEqualBytes)
{
    for (const kxSceneShape shape :
         {kxSceneShape::VILLAGE, kxSceneShape::CITY, kxSceneShape::CHAIN, kxSceneShape::STAR})
    {
        SCOPED_TRACE(static_cast<int>(shape));
        const std::string first = made({shape, 2000}, "first.glb");
        EXPECT_EQ(first, made({shape, 2000}, "second.glb"));
        EXPECT_NE(first, made({shape, 2000, 0, 2}, "second.glb"));
        EXPECT_NE(first, made({shape, 2000, 0, 1, 77.0}, "second.glb"));
        // The lengths in front were put in last.
        EXPECT_EQ(wordAt(first, 8), first.size());
        const uint32_t jsonBytes = wordAt(first, 12);
        EXPECT_EQ(wordAt(first, 20 + jsonBytes) + jsonBytes + 28, first.size());
    }
}

TEST_F(kxSceneMakerFiles, TheTextFormHasItsBufferBesideIt)
{
    const std::string binary = made({kxSceneShape::CITY, 200}, "city.glb");
    const std::string text = made({kxSceneShape::CITY, 200}, "a city.gltf");
    EXPECT_NE(text.find("\"uri\":\"a%20city.bin\""), std::string::npos);
    const std::string buffer = readFile(m_folder / "a city.bin");
    EXPECT_NE(text.find("\"byteLength\":" + std::to_string(buffer.size())), std::string::npos);
    EXPECT_EQ(binary.substr(binary.size() - wordAt(binary, 20 + wordAt(binary, 12))),
              buffer + std::string(-buffer.size() % 4, '\0'));
}

TEST_F(kxSceneMakerFiles, AFailureLeavesWhatWasThere)
{
    std::string error;
    const kxScene scene = makeScene({kxSceneShape::STAR, 3});
    EXPECT_FALSE(writeScene(scene, (m_folder / "star.obj").string(), error));
    EXPECT_NE(error.find("neither"), std::string::npos);
    EXPECT_FALSE(writeScene(scene, (m_folder / "missing" / "star.glb").string(), error));
    EXPECT_NE(error.find("cannot be written"), std::string::npos);
    std::filesystem::create_directories(m_folder / "taken.glb" / "inside");
    EXPECT_FALSE(writeScene(scene, (m_folder / "taken.glb").string(), error));
    EXPECT_TRUE(std::filesystem::exists(m_folder / "taken.glb" / "inside"));
    EXPECT_FALSE(std::filesystem::exists(m_folder / "taken.glb.part"));
}
