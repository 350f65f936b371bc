// Palettes of blend matrices, of actors and of attribute sets.
#include "opt/scene/kxVertexBlending.h"

#include "opt/scene/kxLimitActorBlendPalettes.h"
#include "opt/verify/kxPictureComparison.h"
#include "platform/core/kxReport.h"
#include "platform/sg/kxActor.h"
#include "platform/sg/kxJoint.h"
#include "platform/sg/kxMesh.h"
#include "platform/sg/kxSwitch.h"
#include "tests/opt/testRun.h"
#include "tests/support/kxExpectOptimized.h"

#include <cstring>
#include <functional>
#include <set>

namespace Kel::Opt
{

using namespace Kel::Test;

namespace
{

template <class T>
kxSmartPointer<kxVertexArray> makeArray(const char* semantic, kxComponentType type, uint32_t components,
                                        const std::vector<T>& numbers)
{
    auto array = kxNew<kxVertexArray>();
    array->_semantic = semantic;
    array->_componentType = type;
    array->_componentCount = components;
    array->_count = static_cast<int64_t>(numbers.size() / components);
    array->_stride = array->getElementBytes();
    array->_data = kxMemoryBlock::copyOf(numbers.data(), numbers.size() * sizeof(T));
    return array;
}

// A band of quads along x. Each vertex follows the bone of its place by 0.75 and the next one by 0.25; the other two indices
// name bones far away, without weight.
kxSmartPointer<kxGeometry> makeBand(uint32_t boneCount)
{
    std::vector<float> positions, weights;
    std::vector<uint8_t> joints;
    std::vector<uint16_t> indices;
    for (uint32_t i = 0; i < boneCount; ++i)
        for (uint32_t side = 0; side < 2; ++side)
        {
            positions.insert(positions.end(), {static_cast<float>(i), static_cast<float>(side), 0});
            const auto bone = static_cast<uint8_t>(i), next = static_cast<uint8_t>(std::min(i + 1, boneCount - 1));
            joints.insert(joints.end(), {bone, next, static_cast<uint8_t>(boneCount - 1 - i), 0});
            weights.insert(weights.end(), {0.75f, 0.25f, 0, 0});
        }
    for (uint32_t i = 0; i + 1 < boneCount; ++i)
    {
        const auto at = static_cast<uint16_t>(2 * i);
        for (const int corner : {0, 2, 1, 1, 2, 3})
            indices.push_back(static_cast<uint16_t>(at + corner));
    }
    auto attr = kxNew<kxGeometryAttr>();
    attr->_arrays->append(makeArray("POSITION", kxComponentType::FLOAT32, 3, positions));
    attr->_arrays->append(makeArray("JOINTS_0", kxComponentType::UINT8, 4, joints));
    attr->_arrays->append(makeArray("WEIGHTS_0", kxComponentType::FLOAT32, 4, weights));
    attr->_indices = makeArray("INDICES", kxComponentType::UINT16, 1, indices);
    auto geometry = kxNew<kxGeometry>();
    geometry->setName("band");
    geometry->appendAttr(attr);
    return geometry;
}

kxSmartPointer<kxVertexBlendMatrixListAttr> makePalette(uint32_t boneCount)
{
    auto palette = kxNew<kxVertexBlendMatrixListAttr>();
    for (uint32_t i = 0; i < boneCount; ++i)
    {
        palette->_matrices->append(kxMatrix44f().setTranslation(kxVec3f(static_cast<float>(i), 0, 0)));
        palette->_boneIndices->append(static_cast<int32_t>(100 + i));
    }
    return palette;
}

kxSmartPointer<kxAttrSet> makeSet(uint32_t boneCount, kxGeometry* geometry)
{
    auto set = kxNew<kxAttrSet>();
    set->appendAttr(makePalette(boneCount));
    set->appendChild(geometry);
    return set;
}

kxDrawList picture(kxNode* root)
{
    kxDrawList list;
    list.collect(root);
    return list;
}

bool isSame(const kxDrawList& a, const kxDrawList& b)
{
    return kxPictureComparison().compare(a, b);
}

std::vector<kxGeometry*> geometriesOf(kxNode* root)
{
    std::vector<kxGeometry*> found;
    forEachNodeOnce(
        root,
        [](kxNode* node, void* context)
        {
            if (auto* geometry = kxCast<kxGeometry>(node))
                static_cast<std::vector<kxGeometry*>*>(context)->push_back(geometry);
        },
        &found);
    return found;
}

// Bones that a vertex follows, by what they are, with their weights: as text, with the vertex's place.
std::multiset<std::string> cornersOf(const std::vector<kxGeometry*>& geometries, kxVertexBlendMatrixListAttr* above)
{
    std::multiset<std::string> corners;
    for (const kxGeometry* geometry : geometries)
    {
        const auto* own = static_cast<const kxVertexBlendMatrixListAttr*>(
            geometry->findAttr(kxVertexBlendMatrixListAttr::staticMetaObject()));
        const kxVertexBlendMatrixListAttr* palette = own ? own : above;
        const kxGeometryAttr* data = geometry->getGeometryAttr();
        const kxVertexArray *joints = data->getArray("JOINTS_0"), *weights = data->getArray("WEIGHTS_0");
        for (int64_t i = 0; i < data->getDrawCount(); ++i)
        {
            const uint32_t vertex = data->_indices->getIndex(i);
            std::string text = kxFormat("%g %g:", data->getArray("POSITION")->getComponent(vertex, 0),
                                        data->getArray("POSITION")->getComponent(vertex, 1));
            for (uint32_t c = 0; c < 4; ++c)
                if (weights->getComponent(vertex, c) != 0)
                {
                    const auto index = static_cast<uint32_t>(joints->getComponent(vertex, c));
                    text += kxFormat(" %d*%g", palette ? palette->_boneIndices->get(index) : static_cast<int>(index),
                                     weights->getComponent(vertex, c));
                }
            corners.insert(text);
        }
    }
    return corners;
}

} // namespace

// Every part keeps to the limit, each corner follows the bones that it followed with the weights that it had, and vertices are
// duplicated along the borders of parts only.
TEST(kxVertexBlending, SplitsPalettes)
{
    for (const uint32_t limit : {4u, 7u, 16u, 40u})
    {
        SCOPED_TRACE(limit);
        constexpr uint32_t kBones = 40;
        auto set = makeSet(kBones, makeBand(kBones));
        const kxSmartPointer<kxVertexBlendMatrixListAttr> palette = makePalette(kBones);
        TestScene scene(set);
        const kxDrawList before = picture(set);
        const auto cornersBefore = cornersOf(geometriesOf(set), palette);
        runOptimization(scene, "kxVertexBlending", {{"maxBlendMatrixCount", std::to_string(limit)}});

        const std::vector<kxGeometry*> parts = geometriesOf(set);
        EXPECT_EQ(set->getAttrs()->isEmpty(), limit < kBones) << "a palette that fits stays";
        // n bones along the band carry n - 2 quads: a quad follows three, the last one two.
        EXPECT_EQ(parts.size(), limit == kBones ? 1u : (kBones - 2 + limit - 3) / (limit - 2));
        EXPECT_TRUE(cornersOf(parts, palette) == cornersBefore);
        int64_t vertexCount = 0;
        for (const kxGeometry* part : parts)
        {
            vertexCount += part->getGeometryAttr()->_arrays->get(0)->_count;
            const auto* own = static_cast<kxVertexBlendMatrixListAttr*>(
                part->findAttr(kxVertexBlendMatrixListAttr::staticMetaObject()));
            ASSERT_EQ(own != nullptr, limit < kBones);
            if (!own)
                continue;
            EXPECT_LE(own->getMatrixCount(), limit);
            EXPECT_EQ(own->_boneIndices->getCount(), own->getMatrixCount());
            const kxVertexArray* joints = part->getGeometryAttr()->getArray("JOINTS_0");
            for (int64_t i = 0; i < joints->_count; ++i)
                for (uint32_t c = 0; c < 4; ++c)
                    EXPECT_LT(joints->getComponent(i, c), own->getMatrixCount());
        }
        EXPECT_EQ(vertexCount, 2 * kBones + 2 * (static_cast<int64_t>(parts.size()) - 1));
        EXPECT_TRUE(isSame(before, picture(set)));

        // A wrong matrix would be seen.
        if (limit < kBones)
        {
            auto* own = static_cast<kxVertexBlendMatrixListAttr*>(
                parts[0]->findAttr(kxVertexBlendMatrixListAttr::staticMetaObject()));
            own->_matrices->set(1, own->_matrices->get(0));
            EXPECT_FALSE(isSame(before, picture(set)));
        }
    }
}

TEST(kxVertexBlending, LeavesAlone)
{
    constexpr uint32_t kBones = 30;
    struct Row
    {
        const char* what;
        std::function<void(kxAttrSet*)> change;
        const char* settings;
        const char* refusal;
        size_t parts;
        bool keepsPalette; // on the set
    };
    const Row rows[] = {
        {"primitives that follow three bones", [](kxAttrSet*) {}, "2",
         "a primitive follows more bones than a palette may hold", 1, false},
        {"exactly as many as the limit", [](kxAttrSet*) {}, "30", "", 1, true},
        {"a group with other parents",
         [](kxAttrSet* set)
         {
             auto group = kxNew<kxGroup>();
             set->appendChild(group);
             set->appendChild(group);
             group->appendChild(makeBand(5));
         },
         "16", "a group below has several parents", 2, true},
        {"the child of a switch",
         [](kxAttrSet* set)
         {
             auto choice = kxNew<kxSwitch>();
             set->appendChild(choice);
             choice->appendChild(makeBand(5));
             choice->appendChild(makeBand(6));
         },
         "16", "geometry is chosen by its place", 3, true},
        {"a set below with its own palette", [](kxAttrSet* set) { set->appendChild(makeSet(5, makeBand(5))); }, "16",
         "", 3, false},
        {"geometry in groups below",
         [](kxAttrSet* set)
         {
             auto group = kxNew<kxGroup>();
             set->appendChild(group);
             group->appendChild(makeBand(kBones));
         },
         "16", "", 4, false},
    };
    for (const Row& row : rows)
    {
        SCOPED_TRACE(row.what);
        auto set = makeSet(kBones, makeBand(kBones));
        row.change(set);
        TestScene scene(set);
        const kxDrawList before = picture(set);
        const RunResult result = runOptimization(scene, "kxVertexBlending", {{"maxBlendMatrixCount", row.settings}});
        EXPECT_TRUE(isSame(before, picture(set)));
        EXPECT_EQ(geometriesOf(set).size(), row.parts);
        EXPECT_EQ(set->getAttrs()->isEmpty(), !row.keepsPalette);
        EXPECT_EQ(findLinkFaults(set), "");
        if (row.refusal[0])
        {
            EXPECT_EQ(result.refusals.count(row.refusal), 1u);
        }
    }
}

// The parts of an actor's mesh stand in its place with the same skin, below every parent.
TEST(kxLimitActorBlendPalettes, SplitsMeshesOfActors)
{
    constexpr uint32_t kBones = 40;
    auto root = kxNew<kxGroup>();
    auto mesh = kxNew<kxMesh>();
    auto first = kxNew<kxGeometry>(), last = kxNew<kxGeometry>();
    mesh->appendChild(first);
    mesh->appendChild(makeBand(kBones));
    mesh->appendChild(last);
    auto skin = kxNew<kxSkin>();
    for (uint32_t i = 0; i < kBones; ++i)
    {
        auto joint = kxNew<kxJoint>();
        joint->setName("bone" + std::to_string(i));
        root->appendChild(joint);
        skin->_joints->append(joint);
    }
    for (int i = 0; i < 2; ++i)
    {
        auto actor = kxNew<kxActor>();
        actor->_skin = skin;
        actor->appendChild(mesh);
        root->appendChild(actor);
    }
    TestScene scene(root);
    const kxDrawList before = picture(root);
    const auto cornersBefore = cornersOf({kxCast<kxGeometry>(mesh->getChild(1))}, nullptr);
    const RunResult result = runOptimization(scene, "kxLimitActorBlendPalettes", {});
    EXPECT_EQ(result.counters.at("geometries split"), 1);
    EXPECT_EQ(result.counters.at("parts made"), 3);
    ASSERT_EQ(mesh->getChildCount(), 5u);
    EXPECT_EQ(mesh->getChild(0u), first.get());
    EXPECT_EQ(mesh->getChild(4u), last.get());
    std::vector<kxGeometry*> parts;
    for (uint32_t i = 1; i < 4; ++i)
    {
        parts.push_back(kxCast<kxGeometry>(mesh->getChild(i)));
        EXPECT_EQ(parts.back()->getName().str(), "band");
        EXPECT_LE(kxLimitActorBlendPalettes::findBones(parts.back()).size(), 16u);
    }
    EXPECT_TRUE(cornersOf(parts, nullptr) == cornersBefore);
    EXPECT_TRUE(isSame(before, picture(root)));
    EXPECT_EQ(findLinkFaults(root), "");
    const std::string after = sceneBytes(scene);
    runOptimization(scene, "kxLimitActorBlendPalettes", {});
    EXPECT_TRUE(sceneBytes(scene) == after) << "a second run changes the scene";
}

// Parts of what a switch shows are shown together, and the other children keep their places.
TEST(kxLimitActorBlendPalettes, KeepsThePlacesOfSwitches)
{
    auto actor = kxNew<kxActor>();
    auto choice = kxNew<kxSwitch>();
    actor->appendChild(choice);
    choice->appendChild(makeBand(40));
    const auto other = makeBand(5);
    choice->appendChild(other);
    TestScene scene(actor);
    const kxDrawList before = picture(actor);
    const RunResult result = runOptimization(scene, "kxLimitActorBlendPalettes", {});
    EXPECT_EQ(result.counters.at("parts made"), 3);
    EXPECT_EQ(choice->getChild(1u), other.get());
    EXPECT_TRUE(isSame(before, picture(actor)));
    EXPECT_EQ(findLinkFaults(actor), "");
}

} // namespace Kel::Opt
