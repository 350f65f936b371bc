#include "opt/scene/kxSpatialPartition.h"

#include "opt/verify/kxPictureComparison.h"
#include "platform/core/kxReport.h"
#include "platform/sg/kxTransform.h"
#include "tests/opt/testRun.h"
#include "tests/support/kxExpectOptimized.h"
#include "tests/support/kxRandomScene.h"

#include <algorithm>
#include <set>

namespace Kel::Opt
{

using namespace Kel::Test;

namespace
{

// --- scenes

// Small cubes of extent 0.2 at the given places, each under its own transform.
std::string cubesAt(const std::vector<kxVec3f>& places)
{
    std::string text = "Group(";
    for (const kxVec3f& place : places)
        text += kxFormat("%sTransform<%g %g %g scale 0.1>(Geometry{cube})", text.size() > 6 ? ", " : "", place.x,
                         place.y, place.z);
    return text + ")";
}

// Two cubes near each corner of a box, those of a corner one after the other, corners from the last to the first.
std::string cornersOf(const kxVec3f& size)
{
    std::vector<kxVec3f> places;
    std::set<std::tuple<float, float, float>> corners;
    for (int corner = 7; corner >= 0; --corner)
    {
        const kxVec3f at(corner & 4 ? size.x : 0, corner & 2 ? size.y : 0, corner & 1 ? size.z : 0);
        if (!corners.insert({at.x, at.y, at.z}).second)
            continue;
        places.push_back(at);
        places.push_back(at);
    }
    return cubesAt(places);
}

std::string namesOfChildren(const kxNode* root)
{
    std::string names;
    const auto* group = kxCast<kxGroup>(root);
    for (uint32_t i = 0; group && i < group->getChildCount(); ++i)
        names.append(names.empty() ? "" : " ").append(group->getChild(i)->getName().view());
    return names;
}

uint32_t depthOf(const kxNode* node)
{
    const auto* group = kxCast<kxGroup>(node);
    uint32_t depth = 0;
    for (uint32_t i = 0; group && i < group->getChildCount(); ++i)
        depth = std::max(depth, depthOf(group->getChild(i)));
    return depth + 1;
}

struct ShapeCase
{
    const char* what;
    kxVec3f size;
    const char* cells;
};
const ShapeCase kShapes[] = {
    {"a cube",
     {4, 4, 4},
     "SpatialPartition000 SpatialPartition001 SpatialPartition010 SpatialPartition011 SpatialPartition100 "
     "SpatialPartition101 SpatialPartition110 SpatialPartition111"},
    {"a box whose largest side is nearly 3 times the smallest",
     {5.7f, 1.8f, 1.8f},
     "SpatialPartition000 SpatialPartition001 SpatialPartition010 SpatialPartition011 SpatialPartition100 "
     "SpatialPartition101 SpatialPartition110 SpatialPartition111"},
    {"a plate across y", {8, 0, 8}, "SpatialPartition000 SpatialPartition001 SpatialPartition100 SpatialPartition101"},
    {"a plate across z", {8, 8, 0}, "SpatialPartition000 SpatialPartition010 SpatialPartition100 SpatialPartition110"},
    {"a plate across x", {0, 8, 6}, "SpatialPartition000 SpatialPartition001 SpatialPartition010 SpatialPartition011"},
    {"a rod along z", {0, 0, 8}, "SpatialPartition000 SpatialPartition001"},
    {"a rod along y", {0, 8, 0}, "SpatialPartition000 SpatialPartition010"},
    {"a rod along x", {8, 0, 0}, "SpatialPartition000 SpatialPartition100"},
};

// --- cutting

kxSmartPointer<kxVertexArray> makeArray(const char* semantic, kxComponentType type, uint32_t components,
                                        const std::vector<float>& numbers, bool normalized = false)
{
    auto array = kxNew<kxVertexArray>();
    array->_semantic = semantic;
    array->_componentType = type;
    array->_componentCount = components;
    array->_normalized = normalized;
    array->_count = static_cast<int64_t>(numbers.size() / components);
    array->_stride = array->getElementBytes();
    array->_data = kxMemoryBlock::create(numbers.size() * componentBytes(type));
    uint8_t* at = array->_data->getWritableData();
    for (const float number : numbers)
    {
        if (type == kxComponentType::FLOAT32)
            std::memcpy(at, &number, 4);
        else if (type == kxComponentType::UINT16)
        {
            const auto value = static_cast<uint16_t>(number);
            std::memcpy(at, &value, 2);
        }
        else
            *at = static_cast<uint8_t>(number);
        at += componentBytes(type);
    }
    return array;
}

// A bent sheet of n x n squares with every kind of attribute, as triangles, a strip, a fan or as lines.
kxSmartPointer<kxGeometryAttr> makeSheet(uint32_t n, kxPrimitiveMode mode, TestRandom* random = nullptr)
{
    std::vector<float> positions, normals, tangents, coordinates, colors, numbers, indices;
    for (uint32_t y = 0; y <= n; ++y)
        for (uint32_t x = 0; x <= n; ++x)
        {
            const float u = static_cast<float>(x) / static_cast<float>(n),
                        v = static_cast<float>(y) / static_cast<float>(n);
            const float noise = random ? static_cast<float>(random->below(100)) / 2000 : 0;
            positions.insert(positions.end(), {u * 4 + noise, std::sin(u * 3) + v * v + noise, v * 4 - noise});
            kxVec3f normal(-3 * std::cos(u * 3) / 4, 1, -v / 2);
            normal.normalize();
            normals.insert(normals.end(), {normal.x, normal.y, normal.z});
            tangents.insert(tangents.end(), {1, 0, 0, u < 0.5f ? 1.0f : -1.0f});
            coordinates.insert(coordinates.end(), {u, v});
            colors.insert(colors.end(), {u * 255, v * 255, 0, 255});
            numbers.push_back(u < 0.5f ? 3 : 7);
        }
    auto at = [&](uint32_t x, uint32_t y) { return static_cast<float>(y * (n + 1) + x); };
    for (uint32_t y = 0; y < n; ++y)
        for (uint32_t x = 0; x < n; ++x)
            if (mode == kxPrimitiveMode::TRIANGLES)
                indices.insert(indices.end(),
                               {at(x, y), at(x, y + 1), at(x + 1, y), at(x + 1, y), at(x, y + 1), at(x + 1, y + 1)});
            else if (mode == kxPrimitiveMode::LINES)
                indices.insert(indices.end(), {at(x, y), at(x + 1, y + 1)});
    // Rows of a strip are joined by triangles without extent.
    for (uint32_t y = 0; y < n && mode == kxPrimitiveMode::TRIANGLE_STRIP; ++y)
    {
        if (y > 0)
            indices.insert(indices.end(), {indices.back(), at(0, y)});
        for (uint32_t x = 0; x <= n; ++x)
            indices.insert(indices.end(), {at(x, y), at(x, y + 1)});
    }
    // To and fro, so that no line is long.
    if (mode == kxPrimitiveMode::LINE_STRIP || mode == kxPrimitiveMode::LINE_LOOP)
        for (uint32_t y = 0; y <= n; ++y)
            for (uint32_t x = 0; x <= n; ++x)
                indices.push_back(at(y % 2 ? n - x : x, y));
    if (mode == kxPrimitiveMode::TRIANGLE_FAN)
    {
        indices = {at(n / 2, n / 2)};
        for (uint32_t i = 0; i <= 4 * n; ++i)
            indices.push_back(i < n       ? at(i, 0)
                              : i < 2 * n ? at(n, i - n)
                              : i < 3 * n ? at(3 * n - i, n)
                              : i < 4 * n ? at(0, 4 * n - i)
                                          : at(0, 0));
    }
    auto attr = kxNew<kxGeometryAttr>();
    attr->_primitiveMode = mode;
    attr->_arrays->append(makeArray("POSITION", kxComponentType::FLOAT32, 3, positions));
    attr->_arrays->append(makeArray("NORMAL", kxComponentType::FLOAT32, 3, normals));
    attr->_arrays->append(makeArray("TANGENT", kxComponentType::FLOAT32, 4, tangents));
    attr->_arrays->append(makeArray("TEXCOORD_0", kxComponentType::FLOAT32, 2, coordinates));
    attr->_arrays->append(makeArray("COLOR_0", kxComponentType::UINT8, 4, colors, true));
    attr->_arrays->append(makeArray("_ID", kxComponentType::UINT8, 1, numbers));
    if (mode != kxPrimitiveMode::POINTS)
        attr->_indices = makeArray("INDICES", kxComponentType::UINT16, 1, indices);
    return attr;
}

kxSmartPointer<kxGeometry> makeGeometry(kxGeometryAttr* attr)
{
    auto geometry = kxNew<kxGeometry>();
    geometry->appendAttr(attr);
    return geometry;
}

kxDrawList picture(kxNode* root)
{
    kxDrawList list;
    list.collect(root);
    return list;
}

std::string compare(const kxDrawList& before, const kxDrawList& after)
{
    kxPictureComparison comparison;
    if (comparison.compare(before, after))
        return {};
    std::string text;
    for (const std::string& line : comparison.describe(before, after, 5))
        text += line + "\n";
    return text;
}

void forEachGeometry(kxNode* root, const std::function<void(kxGeometry*)>& callback)
{
    forEachNodeOnce(
        root,
        [](kxNode* node, void* context)
        {
            if (auto* geometry = kxCast<kxGeometry>(node))
                (*static_cast<const std::function<void(kxGeometry*)>*>(context))(geometry);
        },
        const_cast<void*>(static_cast<const void*>(&callback)));
}

kxVec3f vectorAt(const kxVertexArray* array, uint32_t index)
{
    kxVec3f vector;
    for (uint32_t c = 0; c < 3; ++c)
        vector[static_cast<int>(c)] = static_cast<float>(array->getComponent(index, c));
    return vector;
}

} // namespace

TEST(kxSpatialPartition, CutsBoxesByTheirProportions)
{
    for (const ShapeCase& c : kShapes)
    {
        SCOPED_TRACE(c.what);
        TestScene scene = parseScene(cornersOf(c.size));
        const kxDrawList before = picture(scene.root());
        runOptimization(scene, "kxSpatialPartition", {});
        EXPECT_EQ(namesOfChildren(scene.root()), c.cells);
        EXPECT_EQ(compare(before, picture(scene.root())), "");
        EXPECT_EQ(findLinkFaults(scene.root()), "");
    }
}

const OptimizationCase kChildCases[] = {
    {"a cell of one child is no cell",
     "Group(Transform \"far\"<9 0 0>(Geometry{cube}), Transform \"near\"<0 0 0>(Geometry{cube}))",
     "Group(Transform \"near\"<0 0 0>(Geometry{cube}), Transform \"far\"<9 0 0>(Geometry{cube}))"},
    {"a child across the middle stays, in front of the cells",
     "Group(Geometry \"a\"{cube}, Transform<10 0 0>(Geometry{cube}), Transform<5 0 0>(Geometry \"middle\"{cube}), "
     "Geometry \"b\"{cube})",
     "Group(Transform<5 0 0>(Geometry \"middle\"{cube}), Group \"SpatialPartition000\"(Geometry \"a\"{cube}, "
     "Geometry \"b\"{cube}), Transform<10 0 0>(Geometry{cube}))"},
    {"what draws nothing stays",
     "Group(Geometry{cube}, Camera, null, Geometry{cube}, Transform<9 0 0>(Geometry{cube}), LightSet{Light red})",
     "Group(Camera, null, LightSet{Light red}, Group \"SpatialPartition000\"(Geometry{cube}, Geometry{cube}), "
     "Transform<9 0 0>(Geometry{cube}))"},
    {"flat things have a place too",
     "Group(Geometry \"a\"{quad}, Geometry \"b\"{quad}, Transform<9 9 0>(Geometry{quad}))",
     "Group(Group \"SpatialPartition000\"(Geometry \"a\"{quad}, Geometry \"b\"{quad}), Transform<9 9 "
     "0>(Geometry{quad}))"},
    {"places that mean something", "Switch<0>(Geometry{cube}, Transform<9 0 0>(Geometry{cube}), Geometry{tri})",
     kUnchanged},
    {"locked groups", "Group!(Geometry{cube}, Geometry{cube}, Transform<9 0 0>(Geometry{cube}))", kUnchanged},
    {"without extent", "Group(Transform<scale 0.0000001>(Geometry{cube}), Transform<scale 0.0000001>(Geometry{cube}))",
     kUnchanged},
    {"all in one place", "Group(Geometry{cube}, Geometry{cube}, Geometry{cube})", kUnchanged},
    {"below transforms, in their space",
     "Transform<0 50 0>(Geometry \"a\"{cube}, Geometry \"b\"{cube}, Transform<9 0 0>(Geometry{cube}))",
     "Transform<0 50 0>(Group \"SpatialPartition000\"(Geometry \"a\"{cube}, Geometry \"b\"{cube}), Transform<9 0 "
     "0>(Geometry{cube}))"},
    {"a shared group is sorted once",
     "Group(Group#s(Geometry{cube}, Geometry{cube}, Transform<9 0 0>(Geometry{cube})), Transform<0 0 90>(Group#s))",
     "Group(Group#1(Group \"SpatialPartition000\"(Geometry{cube}, Geometry{cube}), Transform<9 0 0>(Geometry{cube})), "
     "Transform<0 0 90>(Group#1))"},
    {"what is drawn many times",
     "Group(InstanceArray[arrays=(VertexArray[semantic=\"TRANSLATION\" componentCount=3])](Geometry{cube}, "
     "Geometry{cube}, Transform<9 0 0>(Geometry{cube})))",
     kUnchanged},
};

TEST(kxSpatialPartition, MovesChildrenIntoCells)
{
    for (const OptimizationCase& c : kChildCases)
        expectOptimized("kxSpatialPartition", {}, c);
}

// Half a box within each cell is not enough, by default, for either.
TEST(kxSpatialPartition, LoosenessDecides)
{
    const char* const kBefore =
        "Group(Geometry{cube}, Transform<10 0 0>(Geometry{cube}), Transform<5 0 0>(Geometry{cube}))";
    const char* const kLoose = "Group(Group \"SpatialPartition000\"(Geometry{cube}, Transform<5 0 0>(Geometry{cube})), "
                               "Transform<10 0 0>(Geometry{cube}))";
    const char* const kTight =
        "Group(Transform<5 0 0>(Geometry{cube}), Geometry{cube}, Transform<10 0 0>(Geometry{cube}))";
    expectOptimized("kxSpatialPartition", {}, {"default", kBefore, kTight});
    expectOptimized("kxSpatialPartition", {{"loose", "0.5"}}, {"half", kBefore, kLoose});
    // One cell would take both, again and again.
    const RunResult result = expectOptimized("kxSpatialPartition", {{"loose", "0.9"}},
                                             {"without end", "Group(Geometry{cube}, Geometry{cube})", kUnchanged});
    EXPECT_EQ(result.refusals.at("one cell would take all children"), 1);
}

TEST(kxSpatialPartition, DepthLimitsLevels)
{
    // Four clusters of four along x, each with two pairs.
    std::vector<kxVec3f> places;
    for (int i = 0; i < 16; ++i)
        places.emplace_back(static_cast<float>(i * i), 0.0f, 0.0f);
    const std::string text = cubesAt(places);
    uint32_t depths[4];
    for (int depth = 0; depth < 4; ++depth)
    {
        TestScene scene = parseScene(text);
        runOptimization(scene, "kxSpatialPartition", {{"depth", std::to_string(depth == 3 ? -1 : depth + 1)}});
        depths[depth] = depthOf(scene.root());
    }
    EXPECT_EQ(depths[0], 4u); // one level of cells above the transforms
    EXPECT_EQ(depths[1], 5u);
    EXPECT_EQ(depths[2], 6u);
    EXPECT_GT(depths[3], 6u);
}

// Every child of a cell lies mostly within what its name says of its parent's box, nothing is lost, and another run finds
// the same tree; for random places.
TEST(kxSpatialPartition, SortsRandomPlaces)
{
    for (uint32_t seed = 1; seed <= 20; ++seed)
    {
        TestRandom random(seed);
        std::vector<kxVec3f> places;
        for (int i = 0; i < 300; ++i)
            places.emplace_back(static_cast<float>(random.below(1000)), static_cast<float>(random.below(1000)),
                                static_cast<float>(random.below(seed % 2 ? 1000 : 30)));
        TestScene scene = parseScene(cubesAt(places));
        const kxDrawList before = picture(scene.root());
        runOptimization(scene, "kxSpatialPartition", {});
        EXPECT_EQ(compare(before, picture(scene.root())), "") << seed;
        EXPECT_EQ(findLinkFaults(scene.root()), "") << seed;
        const auto boxes = kxNew<kxBoundingBoxesMaker>();
        int cells = 0;
        forEachNodeOnce(
            scene.root(),
            [](kxNode* node, void* context)
            {
                if (node->getName().view().substr(0, 16) == "SpatialPartition")
                {
                    ++*static_cast<int*>(context);
                    EXPECT_GE(kxCast<kxGroup>(node)->getChildCount(), 2u);
                }
            },
            &cells);
        EXPECT_GT(cells, 40) << seed;
        // Half a cube may stick out of each cell on the way down: 1 of 1000.
        auto* root = kxCast<kxGroup>(scene.root());
        for (uint32_t i = 0; i < root->getChildCount(); ++i)
            if (root->getChild(i)->getName().view().substr(0, 16) == "SpatialPartition")
            {
                const kxAABox all = boxes->getBox(root), box = boxes->getBox(root->getChild(i));
                for (int axis = 0; axis < (seed % 2 ? 3 : 2); ++axis)
                {
                    const char index = root->getChild(i)->getName().c_str()[16 + axis];
                    const float size = (all.max[axis] - all.min[axis]) / 2;
                    EXPECT_GE(box.min[axis], all.min[axis] + size * static_cast<float>(index - '0') - 1);
                    EXPECT_LE(box.max[axis], all.min[axis] + size * static_cast<float>(index - '0' + 1) + 1);
                }
            }
    }
}

// --- geometry

TEST(kxSpatialPartition, CutsOnlyLargeGeometry)
{
    struct Row
    {
        const char* what;
        uint32_t squares;
        Settings settings;
        bool cut;
    };
    const Row rows[] = {{"98 triangles, but nobody asked", 7, {}, false},
                        {"32 triangles", 4, {{"splitGeometry", "true"}}, false},
                        {"50 triangles", 5, {{"splitGeometry", "true"}}, true},
                        {"as many as the limit", 7, {{"splitGeometry", "true"}, {"minTriangles", "98"}}, false},
                        {"one more than the limit", 7, {{"splitGeometry", "true"}, {"minTriangles", "97"}}, true}};
    for (const Row& row : rows)
        for (const bool below : {false, true})
        {
            SCOPED_TRACE(row.what);
            const auto geometry = makeGeometry(makeSheet(row.squares, kxPrimitiveMode::TRIANGLES));
            kxSmartPointer<kxGroup> group = kxNew<kxGroup>();
            if (below)
                group->appendChild(geometry);
            TestScene scene(below ? static_cast<kxNode*>(group) : geometry);
            const kxDrawList before = picture(scene.root());
            runOptimization(scene, "kxSpatialPartition", row.settings);
            int pieces = 0;
            forEachGeometry(scene.root(), [&](kxGeometry*) { ++pieces; });
            EXPECT_EQ(pieces > 1, row.cut);
            EXPECT_EQ(compare(before, picture(scene.root())), "");
            EXPECT_EQ(scene.root()->getName().str(), row.cut && !below ? "SpatialPartition" : "");
        }
}

// Whatever forms the triangles, and whatever attributes they have: the pieces cover what was covered, lie in their cells, meet
// at walls without a gap, and their vertices are as the format wants them.
TEST(kxSpatialPartition, PiecesAreTheOldGeometry)
{
    const kxPrimitiveMode modes[] = {kxPrimitiveMode::TRIANGLES,    kxPrimitiveMode::TRIANGLE_STRIP,
                                     kxPrimitiveMode::TRIANGLE_FAN, kxPrimitiveMode::LINES,
                                     kxPrimitiveMode::LINE_STRIP,   kxPrimitiveMode::LINE_LOOP,
                                     kxPrimitiveMode::POINTS};
    for (uint32_t seed = 1; seed <= 4; ++seed)
        for (const kxPrimitiveMode mode : modes)
        {
            SCOPED_TRACE(kxFormat("mode %d, seed %u", static_cast<int>(mode), seed));
            TestRandom random(seed);
            const auto geometry = makeGeometry(makeSheet(13, mode, &random));
            kxSurface whole;
            ASSERT_TRUE(whole.measure(*geometry->getGeometryAttr(), nullptr, 0));
            kxAABox all = kxNew<kxBoundingBoxesMaker>()->getBox(geometry.get());
            kxGeometryCutter cutter;
            ASSERT_EQ(kxGeometryCutter::findObstacle(geometry), nullptr);
            ASSERT_TRUE(cutter.open(geometry));
            kxSurface pieces;
            const kxVec3f half = (all.max - all.min) / 2;
            for (int cell = 0; cell < 8; ++cell)
            {
                kxAABox box;
                for (int axis = 0; axis < 3; ++axis)
                {
                    const int index = cell >> (2 - axis) & 1;
                    box.min[axis] = index ? all.min[axis] + half[axis] : all.min[axis];
                    box.max[axis] = index ? all.max[axis] : all.min[axis] + half[axis];
                }
                const auto piece = cutter.take(box, kxMemoryPool::getDefault());
                if (!piece)
                    continue;
                const kxGeometryAttr* data = piece->getGeometryAttr();
                kxSurface surface;
                ASSERT_TRUE(surface.measure(*data, nullptr, 0));
                pieces.add(surface);
                EXPECT_EQ(data->_indices->_componentType, kxComponentType::UINT16);
                for (uint32_t i = 0; i < data->_arrays->get(0)->_count; ++i)
                {
                    const kxVec3f at = vectorAt(data->_arrays->get(0), i);
                    for (int axis = 0; axis < 3; ++axis)
                        EXPECT_TRUE(at[axis] >= box.min[axis] && at[axis] <= box.max[axis]) << at[axis];
                    EXPECT_NEAR(vectorAt(data->_arrays->get(1), i).length(), 1, 1e-5);
                    EXPECT_NEAR(vectorAt(data->_arrays->get(2), i).length(), 1, 1e-5);
                    EXPECT_EQ(std::abs(data->_arrays->get(2)->getComponent(i, 3)), 1);
                    const double id = data->_arrays->get(5)->getComponent(i, 0);
                    EXPECT_TRUE(id == 3 || id == 7) << "numbers are not interpolated";
                }
            }
            EXPECT_TRUE(cutter.isEmpty());
            EXPECT_NEAR(pieces.getArea(), whole.getArea(), whole.getArea() * 1e-5);
            kxSurface form; // modes become points, lines and triangles, which is what is compared
            form.add(whole);
            EXPECT_TRUE(form.isAlike(pieces));
        }
}

// What lies within a wall belongs to the first cell that has the wall, and to no other: triangles, lines and points alike.
TEST(kxSpatialPartition, WallsBelongToOneSide)
{
    const std::vector<float> flat = {0, 0, 0, 0, 1, 0, 0, 0, 1, 0, 1, 1}; // all at x = 0
    for (const kxPrimitiveMode mode :
         {kxPrimitiveMode::TRIANGLE_STRIP, kxPrimitiveMode::LINES, kxPrimitiveMode::POINTS})
    {
        auto attr = kxNew<kxGeometryAttr>();
        attr->_primitiveMode = mode;
        attr->_arrays->append(makeArray("POSITION", kxComponentType::FLOAT32, 3, flat));
        kxSurface whole, taken;
        ASSERT_TRUE(whole.measure(*attr, nullptr, 0));
        const auto geometry = makeGeometry(attr);
        kxGeometryCutter cutter;
        ASSERT_TRUE(cutter.open(geometry));
        const kxAABox below(kxVec3f(-1, 0, 0), kxVec3f(0, 1, 1)), above(kxVec3f(0, 0, 0), kxVec3f(1, 1, 1));
        const auto first = cutter.take(below, kxMemoryPool::getDefault());
        ASSERT_TRUE(first);
        ASSERT_TRUE(taken.measure(*first->getGeometryAttr(), nullptr, 0));
        EXPECT_DOUBLE_EQ(taken.getArea(), whole.getArea());
        EXPECT_FALSE(cutter.take(above, kxMemoryPool::getDefault()));
        // Nothing was cut, so nothing was written anew.
        EXPECT_EQ(first->getGeometryAttr(), attr.get());
    }
}

// Quantized positions cannot name every wall; pieces that a wall has cut get floating-point ones, others keep theirs.
TEST(kxSpatialPartition, QuantizedPositionsBecomeExact)
{
    std::vector<float> numbers;
    for (const int corner : {0, 1, 2, 2, 1, 3})
        numbers.insert(numbers.end(), {corner & 1 ? 60000.0f : 0, corner & 2 ? 30001.0f : 0, 7});
    numbers.insert(numbers.end(), {1, 1, 7, 2, 1, 7, 1, 2, 7});
    auto attr = kxNew<kxGeometryAttr>();
    attr->_arrays->append(makeArray("POSITION", kxComponentType::UINT16, 3, numbers, true));
    kxSurface whole, pieces;
    ASSERT_TRUE(whole.measure(*attr, nullptr, 0));
    const auto geometry = makeGeometry(attr);
    kxGeometryCutter cutter;
    ASSERT_TRUE(cutter.open(geometry));
    const float wall = 1 / 3.0f;
    for (const kxAABox& box :
         {kxAABox(kxVec3f(0, 0, 0), kxVec3f(wall, 1, 1)), kxAABox(kxVec3f(wall, 0, 0), kxVec3f(1, 1, 1))})
    {
        const auto piece = cutter.take(box, kxMemoryPool::getDefault());
        ASSERT_TRUE(piece);
        const kxVertexArray* array = piece->getGeometryAttr()->_arrays->get(0);
        EXPECT_EQ(array->_componentType, kxComponentType::FLOAT32);
        for (uint32_t i = 0; i < array->_count; ++i)
            EXPECT_TRUE(vectorAt(array, i).x >= box.min.x && vectorAt(array, i).x <= box.max.x);
        kxSurface surface;
        ASSERT_TRUE(surface.measure(*piece->getGeometryAttr(), nullptr, 0));
        pieces.add(surface);
    }
    EXPECT_TRUE(whole.isAlike(pieces));
}

// Along a wall every vertex of one side has one at the very same place on the other, also where the source had a seam.
TEST(kxSpatialPartition, SeamsAreTight)
{
    const auto attr = makeSheet(9, kxPrimitiveMode::TRIANGLES);
    // Every triangle has vertices of its own.
    kxPrimitives primitives;
    ASSERT_TRUE(primitives.read(*attr));
    std::vector<float> positions;
    for (const uint32_t vertex : primitives.vertices)
        for (int axis = 0; axis < 3; ++axis)
            positions.push_back(vectorAt(attr->_arrays->get(0), vertex)[axis]);
    auto loose = kxNew<kxGeometryAttr>();
    loose->_arrays->append(makeArray("POSITION", kxComponentType::FLOAT32, 3, positions));

    TestScene scene(makeGeometry(loose));
    runOptimization(scene, "kxSpatialPartition", {{"splitGeometry", "true"}, {"depth", "1"}});
    std::map<std::tuple<float, float, float>, std::set<const kxGeometry*>> users;
    kxAABox all = kxNew<kxBoundingBoxesMaker>()->getBox(scene.root());
    const kxVec3f middle = all.min + (all.max - all.min) / 2;
    int pieces = 0;
    forEachGeometry(scene.root(),
                    [&](kxGeometry* geometry)
                    {
                        ++pieces;
                        const kxVertexArray* array = geometry->getGeometryAttr()->_arrays->get(0);
                        for (uint32_t i = 0; i < array->_count; ++i)
                        {
                            const kxVec3f at = vectorAt(array, i);
                            if (at.x == middle.x || at.z == middle.z)
                                users[{at.x, at.y, at.z}].insert(geometry);
                        }
                    });
    EXPECT_GE(pieces, 4);
    EXPECT_GE(users.size(), 20u);
    for (const auto& [place, geometries] : users)
        EXPECT_GE(geometries.size(), 2u) << std::get<0>(place) << " " << std::get<1>(place) << " "
                                         << std::get<2>(place);
}

// What cannot be cut stays whole and is named; what is shared is cut for all who draw it.
TEST(kxSpatialPartition, LeavesUncuttableGeometryWhole)
{
    struct Row
    {
        const char* reason;
        std::function<void(kxGeometry*)> change;
    };
    const Row rows[] = {
        {"geometry with children is not cut", [](kxGeometry* g) { g->appendChild(kxNew<kxGroup>()); }},
        {"geometry with morph targets is not cut",
         [](kxGeometry* g) { g->getGeometryAttr()->_morphTargets->append(kxNew<kxMorphTarget>()); }},
        {"geometry without usable positions is not cut",
         [](kxGeometry* g) { g->getGeometryAttr()->_arrays->get(1)->_count -= 1; }},
        {"", [](kxGeometry* g) { g->getGeometryAttr()->_arrays->get(4)->_semantic = "JOINTS_0"; }},
    };
    for (const Row& row : rows)
        for (const bool below : {false, true})
        {
            SCOPED_TRACE(row.reason);
            const auto geometry = makeGeometry(makeSheet(8, kxPrimitiveMode::TRIANGLES));
            row.change(geometry);
            auto group = kxNew<kxGroup>();
            group->appendChild(geometry);
            TestScene scene(below ? static_cast<kxNode*>(group) : geometry);
            const RunResult result = runOptimization(scene, "kxSpatialPartition", {{"splitGeometry", "true"}});
            EXPECT_EQ(below ? group->getChild(0u) : scene.root(), geometry.get());
            EXPECT_EQ(geometry->getTriangleCount(), 128);
            if (row.reason[0])
            {
                EXPECT_EQ(result.refusals.at(row.reason), 1);
            }
        }

    const auto shared = makeGeometry(makeSheet(8, kxPrimitiveMode::TRIANGLES));
    auto root = kxNew<kxGroup>();
    for (int i = 0; i < 2; ++i)
    {
        auto transform = kxNew<kxTransform>();
        transform->setMatrix(kxMatrix44f().setTranslation(kxVec3f(static_cast<float>(20 * i), 0, 0)));
        transform->appendChild(shared);
        root->appendChild(transform);
    }
    TestScene scene(root);
    const kxDrawList before = picture(root);
    runOptimization(scene, "kxSpatialPartition", {{"splitGeometry", "true"}});
    EXPECT_EQ(compare(before, picture(root)), "");
    const auto* first = kxCast<kxGroup>(root->getChild(0u));
    EXPECT_EQ(first->getChild(0u), kxCast<kxGroup>(root->getChild(1u))->getChild(0u));
    EXPECT_EQ(first->getChild(0u)->getName().str(), "SpatialPartition");
}

// Triangles as large as the whole cannot be cut into less: they may grow by a few times, not without end.
TEST(kxSpatialPartition, LargeTrianglesDoNotMultiply)
{
    std::vector<float> positions;
    TestRandom random(7);
    for (int i = 0; i < 600; ++i)
        for (int c = 0; c < 3; ++c)
            positions.push_back(static_cast<float>(random.below(1000)));
    auto attr = kxNew<kxGeometryAttr>();
    attr->_arrays->append(makeArray("POSITION", kxComponentType::FLOAT32, 3, positions));
    TestScene scene(makeGeometry(attr));
    const kxDrawList before = picture(scene.root());
    const RunResult result = runOptimization(scene, "kxSpatialPartition", {{"splitGeometry", "true"}});
    int64_t triangles = 0;
    forEachGeometry(scene.root(), [&](kxGeometry* geometry) { triangles += geometry->getTriangleCount(); });
    EXPECT_GT(result.refusals.at("geometry would grow by more cuts"), 0);
    EXPECT_LT(triangles, 200 * 50);
    EXPECT_EQ(compare(before, picture(scene.root())), "");
}

// Scenes of every kind: the picture stays, links agree, and it comes to an end.
TEST(kxSpatialPartition, KeepsThePictureOfRandomScenes)
{
    for (const char* split : {"false", "true"})
        forRandomScenes(150, {},
                        [&](TestScene& scene) -> std::string
                        {
                            const kxDrawList before = picture(scene.root());
                            runOptimization(scene, "kxSpatialPartition",
                                            {{"splitGeometry", split}, {"minTriangles", "0"}, {"loose", "0.7"}});
                            const std::string difference = compare(before, picture(scene.root()));
                            return difference.empty() ? findLinkFaults(scene.root()) : difference;
                        });
}

} // namespace Kel::Opt
