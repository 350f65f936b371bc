#include "opt/scene/kxSpatialPartition.h"

#include "opt/verify/kxPictureComparison.h"
#include "platform/core/kxReport.h"
#include "platform/sg/kxInstanceArray.h"
#include "platform/sg/kxMesh.h"
#include "platform/sg/kxTransform.h"
#include "tests/opt/scene/sheetGeometry.h"
#include "tests/opt/testRun.h"
#include "tests/support/kxExpectOptimized.h"
#include "tests/support/kxRandomScene.h"

#include <algorithm>
#include <limits>
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

// A host's own way to cut boxes, and a group partitioned by itself, with all its cells filled.
TEST(kxSpatialPartition, HostsDecideHowManyCells)
{
    class Slices : public kxSpatialPartition
    {
    public:
        short getSubSpaceNum(short axis, kxPartitionType type, short sortedAxes[3]) override
        {
            EXPECT_EQ(type, kxBiTree);
            return axis == sortedAxes[2] ? 4 : 0;
        }
        using kxSpatialPartition::partition;
    };
    std::vector<kxVec3f> places;
    for (int i = 0; i < 16; ++i)
        places.emplace_back(0.0f, static_cast<float>(i), 0.0f);
    const TestScene scene = parseScene(cubesAt(places));
    TestRun run;
    const auto slices = run.create<Slices>();
    kxSmartPointer<kxGroup> group = kxCast<kxGroup>(scene.root());
    EXPECT_TRUE(slices->partition(group));
    EXPECT_EQ(namesOfChildren(group),
              "SpatialPartition000 SpatialPartition010 SpatialPartition020 SpatialPartition030");
    for (uint32_t i = 0; i < 4; ++i)
        EXPECT_EQ(kxCast<kxGroup>(group->getChild(i))->getChildCount(), 4u);
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
    auto setPosition = [](kxGeometry* g, float value)
    { std::memcpy(g->getGeometryAttr()->_arrays->get(0)->_data->getWritableData(), &value, sizeof value); };
    const Row rows[] = {
        {"geometry with broken vertex data is not cut",
         [&](kxGeometry* g) { setPosition(g, std::numeric_limits<float>::quiet_NaN()); }},
        {"geometry with broken vertex data is not cut", [&](kxGeometry* g) { setPosition(g, 1e38f); }},
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

// An instance array in a file repeats a mesh, not the groups of its pieces: what one draws, in whatever scene, stays whole for
// all who draw it.
TEST(kxSpatialPartition, LeavesInstancedGeometryWhole)
{
    const auto mesh = kxNew<kxMesh>();
    mesh->appendChild(makeGeometry(makeSheet(8, kxPrimitiveMode::TRIANGLES)));
    const auto array = kxNew<kxInstanceArray>();
    const auto root = kxNew<kxGroup>(), other = kxNew<kxGroup>();
    for (kxGroup* parent : {root.get(), static_cast<kxGroup*>(array.get())})
        parent->appendChild(mesh);
    other->appendChild(array);
    for (const auto& top : {root, other})
    {
        TestScene scene(top);
        const RunResult result = runOptimization(scene, "kxSpatialPartition", {{"splitGeometry", "true"}});
        EXPECT_TRUE(kxCast<kxGeometry>(mesh->getChild(0u)));
        EXPECT_EQ(result.refusals.at("drawn many times by an instance array"), 1);
    }
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
    TestRun run;
    const auto partition = run.create<kxSpatialPartition>();
    partition->setSplitGeometry(true);
    int64_t counts[2] = {};
    for (int64_t& count : counts) // again for another scene of the file that has the same root
    {
        kxSmartPointer<kxNode> root = scene.root();
        ASSERT_TRUE(partition->apply(root));
        scene.info->setSceneGraph(root);
        forEachGeometry(root, [&](kxGeometry* geometry) { count += geometry->getTriangleCount(); });
    }
    EXPECT_LT(counts[0], 200 * 50);
    EXPECT_EQ(counts[1], counts[0]);
    ASSERT_FALSE(partition->getRefusals().empty());
    EXPECT_EQ(partition->getRefusals()[0].reason, "geometry would grow by more cuts");
    EXPECT_EQ(compare(before, picture(scene.root())), "");
}

// What lies in one cell need not be cut, and a cell that would take everything is not made, however loose the cells are.
TEST(kxSpatialPartition, LargeGeometryInOneCellComesToAnEnd)
{
    // Many triangles from x 0 to 0.9; beside it one from 0 to 2, which a loose first cell takes as well.
    std::vector<float> positions;
    for (int i = 0; i < 60; ++i)
    {
        const float x = 0.9f * static_cast<float>(i) / 60;
        positions.insert(positions.end(), {x, 0, 0, x + 0.01f, 0, 0, x, 0.4f, 0.3f});
    }
    const std::vector<float> wide = {0, 0, 0, 2, 0, 0, 0, 0.4f, 0.3f};
    for (const bool hasStray : {false, true})
        for (const char* loose : {"0.5", "0.9"})
        {
            SCOPED_TRACE(kxFormat("loose %s%s", loose, hasStray ? ", with a vertex that nothing draws" : ""));
            auto large = kxNew<kxGeometryAttr>(), small = kxNew<kxGeometryAttr>();
            std::vector<float> all = positions;
            if (hasStray)
                all.insert(all.end(), {2, 0, 0});
            large->_arrays->append(makeArray("POSITION", kxComponentType::FLOAT32, 3, all));
            small->_arrays->append(makeArray("POSITION", kxComponentType::FLOAT32, 3, wide));
            auto group = kxNew<kxGroup>();
            group->appendChild(makeGeometry(large));
            group->appendChild(makeGeometry(small));
            TestScene scene(group);
            const kxDrawList before = picture(scene.root());
            const RunResult result =
                runOptimization(scene, "kxSpatialPartition", {{"splitGeometry", "true"}, {"loose", loose}});
            EXPECT_EQ(result.refusals.at("one cell would take all children"), 1);
            EXPECT_EQ(kxCast<kxGroup>(scene.root())->getChildCount(), 2u) << "no cell between";
            EXPECT_LT(depthOf(scene.root()), 8u);
            EXPECT_EQ(compare(before, picture(scene.root())), "");
            EXPECT_EQ(findLinkFaults(scene.root()), "");
        }
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
