// What clips show: where things are over time, and which differences are found.
#include "opt/verify/kxMotionComparison.h"

#include "opt/verify/kxPictureComparison.h"
#include "opt/verify/kxVerifyObserver.h"
#include "platform/sg/kxActor.h"
#include "platform/sg/kxGeometry.h"
#include "platform/sg/kxTransformSequence1_5.h"
#include "tests/opt/testRun.h"

#include <gmock/gmock.h>

#include <cmath>
#include <numbers>

namespace Kel::Opt
{

namespace
{

constexpr int64_t kSecond = kxTransformSequence::kTicksPerSecond;

template <class T>
kxSmartPointer<kxVertexArray> makeArray(const char* semantic, kxComponentType type, uint32_t components,
                                        const std::vector<T>& values, bool matrix = false)
{
    auto array = kxNew<kxVertexArray>();
    array->_semantic = kxStringRef(semantic);
    array->_componentType = type;
    array->_componentCount = components;
    array->_matrix = matrix;
    array->_stride = static_cast<int64_t>(components * sizeof(T));
    array->_count = static_cast<int64_t>(values.size() / components);
    array->_data = kxMemoryBlock::copyOf(values.data(), values.size() * sizeof(T));
    return array;
}

// A rigid box under "lid", a face with a morph target under "head", a skinned strip that follows "hip" and "knee", and a paint
// whose colour changes. All move in the clip "walk" from 0 to 2 seconds.
struct MovingScene
{
    kxSmartPointer<kxFileInfo> file = kxNew<kxFileInfo>();
    kxSmartPointer<kxSceneInfo> info = kxNew<kxSceneInfo>();
    kxSmartPointer<kxAnimationDatabase> database = kxNew<kxAnimationDatabase>();
    kxSmartPointer<kxAnimation> clip = kxNew<kxAnimation>();
    kxSmartPointer<kxGeometry> box, strip;
    kxSmartPointer<kxGeometryAttr> face;
    kxSmartPointer<kxTransformSequence1_5> lid, knee;
    kxSmartPointer<kxValueSequence> weights, colour, swelling;

    explicit MovingScene(
        const char* text =
            "Group(Transform \"lid\"(Geometry \"box\"{tri}), Transform \"head\"(Mesh(Geometry \"face\"{tri})),"
            " Joint \"hip\"(Joint \"knee\"), Transform \"strip\"(Actor \"actor\"(Geometry \"skin\"{tri})), Geometry "
            "\"still\"{tri})")
    {
        const NamedScene scene(text);
        box = kxCast<kxGeometry>(scene["box"]);
        strip = kxCast<kxGeometry>(scene["skin"]);
        auto positions = [&](const char* name, const std::vector<float>& values)
        {
            const auto data = kxNew<kxGeometryAttr>();
            kxAttrList* attrs = kxCast<kxGeometry>(scene[name])->_attrs;
            attrs->clear();
            attrs->append(data);
            data->_arrays->append(makeArray("POSITION", kxComponentType::FLOAT32, 3, values));
            return data.get();
        };
        positions("box", {1, 0, 0, 0, 2, 0});
        auto target = kxNew<kxMorphTarget>();
        target->_arrays->append(makeArray<float>("POSITION", kxComponentType::FLOAT32, 3, {0, 0, 0, 0, 0, 4}));
        face = positions("face", {0, 0, 0, 1, 0, 0});
        face->_morphTargets->append(target);
        auto* skinned = positions("skin", {0, 0, 0, 0, 5, 0});
        skinned->_arrays->append(makeArray<uint8_t>("JOINTS_0", kxComponentType::UINT8, 4, {0, 0, 0, 0, 0, 1, 0, 0}));
        skinned->_arrays->append(
            makeArray<float>("WEIGHTS_0", kxComponentType::FLOAT32, 4, {1, 0, 0, 0, 0.25f, 0.75f, 0, 0}));
        // Its own place does not count.
        kxCast<kxTransform>(scene["strip"])->setParts({100, 0, 0}, kxQuatf(), {1, 1, 1});
        kxCast<kxTransform>(scene["hip"])->setParts({0, 1, 0}, kxQuatf(), {1, 1, 1});
        auto skin = kxNew<kxSkin>();
        auto skeleton = kxNew<kxSkeleton>();
        for (const char* joint : {"hip", "knee", "lid", "head"})
        {
            skeleton->_bones->append(scene[joint]);
            if (skin->_joints->getCount() < 2)
                skin->_joints->append(scene[joint]);
        }
        skin->_inverseBindMatrices = makeArray<float>(
            "", kxComponentType::FLOAT32, 16,
            {1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, 0, -1, 0, 1, 1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, 0, -1, 0, 1}, true);
        kxCast<kxActor>(scene["actor"])->_skin = skin;
        database->_skeletonList->append(skeleton);
        database->_skinList->append(skin);

        lid = kxNew<kxTransformSequence1_5>();
        lid->_keyFlags = kxTransformSequence::HAS_QUATERNIONS;
        lid->_quaternions = kxNew<kxQuatfList>();
        lid->_quaternions->append(kxQuatf());
        lid->_quaternions->append(
            kxQuatf(static_cast<float>(std::sqrt(0.5)), 0, 0, static_cast<float>(std::sqrt(0.5))));
        knee = kxNew<kxTransformSequence1_5>();
        knee->_keyFlags = kxTransformSequence::HAS_TRANSLATIONS;
        knee->_translations = kxNew<kxVec3fList>();
        knee->_translations->append(kxVec3f(0, 0, 0));
        knee->_translations->append(kxVec3f(8, 0, 0));
        weights = kxNew<kxValueSequence>();
        weights->_values = makeArray<float>("", kxComponentType::FLOAT32, 1, {0, 1});
        colour = kxNew<kxValueSequence>();
        colour->_values = makeArray<float>("", kxComponentType::FLOAT32, 3, {0, 0, 0, 1, 0.5f, 0});
        clip->_name = "walk";
        addTrack("lid", lid, nullptr, "");
        addTrack("knee", knee, nullptr, "");
        addTrack("head", weights, scene["head"], "weights");
        addTrack("", colour, nullptr, "/baseColorFactor");
        clip->_propertyTrackList->append(clip->_trackList->getLast());
        clip->_trackList->removeLast();
        database->_animationList->append(clip);
        info->setName("scene");
        info->setSceneGraph(scene.m_root);
        file->addInfo(info);
        file->addInfo(database);
    }

    void addTrack(const char* name, kxTransformSequence* source, kxNode* target, const char* property)
    {
        source->_times = kxNew<kxLongList>();
        source->_times->append(0);
        source->_times->append(2 * kSecond);
        const auto track = kxNew<kxAnimationTrack>();
        track->_name = kxStringRef(name);
        track->setSource(source);
        track->_target = target;
        track->_property = kxStringRef(property);
        clip->_trackList->append(track);
    }
    kxMotionList collect(const kxMotionList* like = nullptr) const
    {
        kxMotionList list;
        list.collect(file->_infoList, like);
        return list;
    }
    // Two triangles on each of the skin's joints, with a morph target, and a sheet of 50 on the lid.
    void addSurfaces()
    {
        std::vector<float> positions, weights;
        std::vector<uint8_t> joints;
        for (int corner = 0; corner < 12; ++corner)
        {
            const auto x = static_cast<float>(corner / 3), y = static_cast<float>(corner % 3 == 1),
                       z = static_cast<float>(corner % 3 == 2);
            positions.insert(positions.end(), {x, y, z});
            joints.insert(joints.end(), {static_cast<uint8_t>(corner / 6), 0, 0, 0});
            weights.insert(weights.end(), {1, 0, 0, 0});
        }
        const auto data = kxNew<kxGeometryAttr>();
        data->_arrays->append(makeArray("POSITION", kxComponentType::FLOAT32, 3, positions));
        data->_arrays->append(makeArray("JOINTS_0", kxComponentType::UINT8, 4, joints));
        data->_arrays->append(makeArray("WEIGHTS_0", kxComponentType::FLOAT32, 4, weights));
        auto target = kxNew<kxMorphTarget>();
        for (float& position : positions)
            position = 1;
        target->_arrays->append(makeArray("POSITION", kxComponentType::FLOAT32, 3, positions));
        data->_morphTargets->append(target);
        swelling = kxNew<kxValueSequence>();
        swelling->_values = makeArray<float>("", kxComponentType::FLOAT32, 1, {0, 1});
        kxGroup* actor = strip->getParent(0);
        addTrack("strip", swelling, actor->getParent(0), "weights");
        const auto replace = [](kxGeometry* geometry, kxGeometryAttr* attr)
        {
            geometry->_attrs->clear();
            geometry->appendAttr(attr);
        };
        replace(strip, data);
        const auto sheet = kxNew<kxGeometryAttr>();
        std::vector<float> squares;
        for (int i = 0; i < 25; ++i)
            for (const int corner : {0, 1, 2, 2, 1, 3})
                squares.insert(squares.end(),
                               {static_cast<float>(i % 5 + corner % 2), static_cast<float>(i / 5 + corner / 2), 0});
        sheet->_arrays->append(makeArray("POSITION", kxComponentType::FLOAT32, 3, squares));
        replace(box, sheet);
    }
    std::vector<std::string> differenceFrom(const kxMotionList& before) const
    {
        return compareMotion(before, collect(&before), 1e-3, 20);
    }
};

// The numbers of a thing at a time.
std::vector<float> numbersOf(const kxMotionList& list, const char* path, size_t time)
{
    const kxMotionList::Clip& clip = list.getClips()[0];
    for (const auto* things : {&list.getPoints(), &clip.values})
        for (const kxMotionList::Thing& thing : *things)
            if (thing.path == path)
            {
                const float* first = clip.numbers.data() + time * clip.getWidth() + thing.first;
                return {first, first + thing.count};
            }
    return {};
}

} // namespace

TEST(kxMotionList, KnowsWhereThingsAre)
{
    const MovingScene scene;
    const kxMotionList list = scene.collect();
    ASSERT_EQ(list.getClips().size(), 1u);
    const kxMotionList::Clip& clip = list.getClips()[0];
    ASSERT_EQ(clip.times.size(), 3u); // both keys, and between them
    EXPECT_EQ(clip.times[0], 0);
    EXPECT_EQ(clip.times[2], 2 * kSecond);
    const double f = double(clip.times[1]) / double(2 * kSecond), angle = f * std::numbers::pi / 2;
    ASSERT_GT(f, 0);
    ASSERT_LT(f, 1);
    const auto near = [](const std::vector<double>& numbers)
    {
        std::vector<testing::Matcher<float>> matchers;
        for (const double number : numbers)
            matchers.push_back(testing::FloatNear(static_cast<float>(number), 1e-5f));
        return testing::ElementsAreArray(matchers);
    };
    EXPECT_THAT(numbersOf(list, "/kxGroup/lid/box", 1),
                near({std::cos(angle), std::sin(angle), 0, -2 * std::sin(angle), 2 * std::cos(angle), 0}));
    EXPECT_THAT(numbersOf(list, "/kxGroup/lid/box", 2), near({0, 1, 0, -2, 0, 0}));
    EXPECT_THAT(numbersOf(list, "/kxGroup/head/kxMesh/face", 1), near({0, 0, 0, 1, 0, 4 * f}));
    EXPECT_THAT(numbersOf(list, "/kxGroup/strip/actor/skin", 1), near({0, 0, 0, 8 * f * 0.75, 5, 0}));
    EXPECT_THAT(numbersOf(list, " /baseColorFactor", 1), near({f, f / 2, 0}));
    EXPECT_THAT(numbersOf(list, "/kxGroup/still", 0), testing::IsEmpty()) << "what no clip moves is in the draw list";
}

TEST(kxMotionList, FindsWhatChanged)
{
    using testing::ElementsAre;
    using testing::HasSubstr;
    const MovingScene scene;
    const kxMotionList before = scene.collect();
    EXPECT_THAT(scene.differenceFrom(before), ElementsAre());

    // Only what lies between the keys differs.
    MovingScene bent;
    bent.knee->_keyFlags |= kxTransformSequence::STEP;
    EXPECT_THAT(bent.differenceFrom(before),
                ElementsAre(HasSubstr("clip \"walk\" at "), HasSubstr("/kxGroup/strip/actor/skin is off by")));
    MovingScene faded;
    faded.colour->_values = makeArray<float>("", kxComponentType::FLOAT32, 3, {0, 0, 0, 1, 0.51f, 0});
    EXPECT_THAT(faded.differenceFrom(before), ElementsAre("clip \"walk\" at 2 s:  /baseColorFactor is off by 0.01"));
    MovingScene smiling;
    smiling.clip->_trackList->removeLast();
    EXPECT_THAT(smiling.differenceFrom(before), testing::Contains(HasSubstr("/kxGroup/head/kxMesh/face")));
    MovingScene still;
    still.clip->_trackList->removeAt(0);
    EXPECT_THAT(still.differenceFrom(before),
                testing::Contains("clip \"walk\": /kxGroup/lid/box is only in the first"));
    MovingScene silent;
    silent.database->_animationList->clear();
    EXPECT_THAT(silent.differenceFrom(before), ElementsAre("clip \"walk\" is only in the first"));
    EXPECT_THAT(compareMotion(silent.collect(), before, 1e-3, 20), ElementsAre("clip \"walk\" is only in the second"));
    EXPECT_EQ(compareMotion(before, still.collect(&before), 1e-3, 1).size(), 2u) << "one, and how many more";

    // Clips without a key are nothing that could be missing, whether they have tracks or not.
    MovingScene wordy;
    for (const bool hasTrack : {false, true})
    {
        const auto empty = kxNew<kxAnimation>();
        empty->_name = "walk";
        if (hasTrack)
            empty->_trackList->append(kxNew<kxAnimationTrack>());
        wordy.database->_animationList->insert(0, empty);
    }
    EXPECT_THAT(wordy.differenceFrom(before), ElementsAre());
    EXPECT_THAT(compareMotion(wordy.collect(), scene.collect(), 1e-3, 20), ElementsAre());
    wordy.database->_animationList->removeLast();
    EXPECT_THAT(wordy.differenceFrom(before), ElementsAre("clip \"walk\" is only in the first"));

    // Within the tolerance, and another graph that shows the same.
    MovingScene near;
    near.knee->_translations->set(1, kxVec3f(8.001f, 0, 0));
    EXPECT_THAT(near.differenceFrom(before), ElementsAre());
    const MovingScene other(
        "Group(Geometry \"still\"{tri}, Group(Transform \"strip\"(Actor \"actor\"(Geometry \"skin\"{tri}))), "
        "Group(Joint \"hip\"(Joint \"knee\")),"
        " Transform \"head\"(Mesh(Geometry \"face\"{tri})), Group(Transform \"lid\"(Geometry \"box\"{tri})))");
    EXPECT_THAT(other.differenceFrom(before), ElementsAre());
}

// Tools give names to nodes that have none; who moves what has not changed then.
TEST(kxMotionList, NamesThatWereMissingChangeNothing)
{
    // With tracks that hold on to their nodes, which are "lid", "hip", "knee" and "head".
    const auto bind = [](MovingScene& scene)
    {
        const kxNodeList& joints = *scene.database->_skinList->get(0)->_joints;
        std::vector<kxNode*> nodes = {scene.box->getParent(0), joints.get(0), joints.get(1)};
        for (kxAnimationTrack* track : *scene.clip->_trackList)
        {
            for (kxNode* node : nodes)
                if (node->getName() == track->getName())
                    track->_target = node;
            auto* target = kxCast<kxNode>(track->_target.get());
            target->_flags |= kxNode::IS_ANIMATED;
            if (std::find(nodes.begin(), nodes.end(), target) == nodes.end())
                nodes.push_back(target);
        }
        return nodes;
    };
    const auto differences = [](const MovingScene& a, const MovingScene& b)
    {
        const kxMotionList before = a.collect();
        std::vector<std::string> lines = b.differenceFrom(before);
        kxDrawList first, second;
        first.collect(a.info);
        second.collect(b.info);
        kxPictureComparison comparison;
        comparison.compare(first, second);
        for (std::string& line : comparison.describe(first, second, 20))
            lines.push_back(std::move(line));
        return lines;
    };
    MovingScene named, unnamed, renamed;
    const std::vector<kxNode*> nodes = bind(named);
    ASSERT_EQ(nodes.size(), 4u);
    for (kxNode* node : bind(unnamed))
        node->setName("");
    EXPECT_THAT(differences(unnamed, named), testing::IsEmpty());
    EXPECT_THAT(differences(named, unnamed), testing::IsEmpty());
    for (kxNode* node : bind(renamed))
        node->setName(kxFormat("other %s", node->getName().c_str()));
    EXPECT_THAT(differences(named, renamed), testing::Contains(testing::HasSubstr("is moved by nodes of other names")));
    // What a node without a name moves, and how, still counts.
    unnamed.knee->_translations->set(1, kxVec3f(0, 8, 0));
    EXPECT_THAT(differences(unnamed, named), testing::Contains(testing::HasSubstr("actor/skin is off by")));
    kxCast<kxTransform>(nodes[0])->setParts({0, 0, 1}, kxQuatf(), {1, 1, 1});
    EXPECT_THAT(differences(unnamed, named), testing::Contains(testing::HasSubstr("kxTransform/box is off by")));
}

// Of very many things only some are looked at; the same ones with names and without.
TEST(kxMotionList, NamesThatWereMissingChangeNothingAmongVeryMany)
{
    const auto makeCrowd = [](MovingScene& scene, bool isNamed)
    {
        auto* root = kxCast<kxGroup>(scene.info->getSceneGraph());
        for (int i = 0; i < 15000; ++i)
        {
            auto transform = kxNew<kxTransform>();
            if (isNamed)
                transform->setName(kxFormat("n%d", i));
            transform->setParts(kxVec3f(static_cast<float>(i), 0, 0), kxQuatf(), {1, 1, 1});
            transform->appendChild(scene.box);
            root->appendChild(transform);
            scene.addTrack("", scene.lid, transform, "");
        }
    };
    MovingScene named, unnamed;
    makeCrowd(named, true);
    makeCrowd(unnamed, false);
    EXPECT_THAT(named.differenceFrom(unnamed.collect()), testing::IsEmpty());
    EXPECT_THAT(unnamed.differenceFrom(named.collect()), testing::IsEmpty());
}

TEST(kxMotionList, BrokenKeysAndEmptyScenesDoNoHarm)
{
    MovingScene scene;
    scene.lid->_quaternions->clear();
    scene.knee->_times->set(0, 3 * kSecond);
    EXPECT_EQ(scene.collect().getClips().size(), 1u);
    scene.face->_morphTargets->set(0, nullptr);
    EXPECT_EQ(scene.collect().getClips().size(), 1u);
    scene.weights->_values = nullptr;
    scene.colour->_values->_count = 1000;
    scene.database->_skinList->get(0)->_inverseBindMatrices->_count = 1000;
    EXPECT_EQ(scene.collect().getClips().size(), 1u);
    const kxSmartPointer<kxNode> root = scene.info->getSceneGraph(); // the skeleton's bones live in it
    scene.info->setSceneGraph(nullptr);
    EXPECT_EQ(scene.collect().getClips().size(), 1u);
    kxMotionList list;
    list.collect(static_cast<const kxInfoList*>(nullptr));
    EXPECT_TRUE(list.getClips().empty());
}

// Pieces of moving geometry show the same as the whole, as long as they are moved the same.
TEST(kxVerifyObserver, LetsMovingGeometryBeCut)
{
    MovingScene scene;
    scene.addSurfaces();
    const kxMotionList before = scene.collect();
    const auto cut = [&](MovingScene& scene)
    {
        TestRun run;
        run.getService()->_file = scene.file;
        auto driver = run.createDriver("[OPTIMIZE]\noptimizationCount = 2\nhierarchyCheck = false\n"
                                       "[OPTIMIZATION1]\nname = kxLimitActorBlendPalettes\nmaxBlendMatrixCount = 1\n"
                                       "[OPTIMIZATION2]\nname = kxSpatialPartition\nsplitGeometry = true\n");
        kxVerifyObserver observer(kxVerifyObserver::EACH_STEP);
        driver->addObserver(&observer);
        EXPECT_TRUE(driver->apply(static_cast<kxInfo*>(nullptr)));
        for (const auto& change : observer.getChanges())
            ADD_FAILURE() << change.step << ": " << testing::PrintToString(change.lines);
    };
    cut(scene);
    EXPECT_THAT(compareMotion(before, scene.collect(&before), 1e-3, 20, false),
                testing::AllOf(testing::Contains("clip \"walk\": /kxGroup/lid/box is only in the first"),
                               testing::Contains("clip \"walk\": /kxGroup/strip/actor/skin is only in the first")))
        << "both are in pieces";
    EXPECT_THAT(compareMotion(before, scene.collect(&before), 1e-3, 20, true), testing::ElementsAre());

    // The same pieces, moved otherwise.
    const auto compareMoved = [&](const std::function<void(MovingScene&)>& change)
    {
        MovingScene moved;
        moved.addSurfaces();
        cut(moved);
        change(moved);
        return compareMotion(before, moved.collect(&before), 1e-3, 20, true);
    };
    const auto skinDiffers = testing::Contains(testing::HasSubstr("/actor/skin is only in the first"));
    const auto boxDiffers = testing::Contains(testing::HasSubstr("/lid/box is only in the first"));
    EXPECT_THAT(compareMoved([](MovingScene& moved) { moved.knee->_translations->set(1, kxVec3f(8, 1, 0)); }),
                testing::AllOf(skinDiffers, testing::Not(boxDiffers)));
    EXPECT_THAT(compareMoved([](MovingScene& moved) { moved.lid->_keyFlags |= kxTransformSequence::STEP; }),
                testing::AllOf(boxDiffers, testing::Not(skinDiffers)));
    EXPECT_THAT(compareMoved(
                    [](MovingScene& moved) {
                        moved.swelling->_values = makeArray<float>("", kxComponentType::FLOAT32, 1, {0, 0.9f});
                    }),
                testing::AllOf(skinDiffers, testing::Not(boxDiffers)));
}

TEST(kxVerifyObserver, SeesWhatAStepDoesToClips)
{
    TestRun run;
    MovingScene scene;
    run.getService()->_file = scene.file;
    scene.knee->_times->append(4 * kSecond);
    scene.knee->_translations->append(kxVec3f(8, 4, 0));
    auto driver = run.createDriver("[OPTIMIZE]\noptimizationCount = 3\nhierarchyCheck = false\n"
                                   "[OPTIMIZATION1]\nname = kxVerifyPicture\n"
                                   "[OPTIMIZATION2]\nname = kxReduceKeyframes\ntranslationTolerance = 9\n"
                                   "[OPTIMIZATION3]\nname = kxVerifyPicture\n");
    kxVerifyObserver observer(kxVerifyObserver::EACH_STEP);
    driver->addObserver(&observer);
    EXPECT_TRUE(driver->apply(static_cast<kxInfo*>(nullptr)));
    ASSERT_EQ(observer.getChanges().size(), 1u);
    EXPECT_EQ(observer.getChanges()[0].step, 2);
    EXPECT_THAT(observer.getChanges()[0].lines,
                testing::Contains(testing::HasSubstr("/kxGroup/strip/actor/skin is off by")));
    EXPECT_THAT(run.takeText(), testing::HasSubstr("\t\tpicture of \"scene\" changed:\n\t\tclip \"walk\" at "));
}

} // namespace Kel::Opt
