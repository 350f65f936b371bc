// Animations come back to the bit: keys, times, interpolation, what they drive, and what is shared.
#include "tests/gltf/kxGltfTestTools.h"

#include "platform/sg/kxAnimationDatabase.h"
#include "platform/sg/kxDataPumpInfo.h"
#include "platform/sg/kxGroup.h"
#include "platform/sg/kxTransformSequence1_5.h"
#include "platform/sg/kxValueSequence.h"

#include <bit>
#include <gmock/gmock.h>

namespace Kel::Gltf
{

namespace
{

// Builds the buffer of a file and its accessors, one for each list of values.
class Accessors
{
public:
    template <class T>
    void add(int componentType, const char* type, size_t components, const std::vector<T>& values,
             const std::string& more = "")
    {
        const std::vector<uint8_t> bytes = bytesOf(values);
        m_views += kxFormat("%s{\"buffer\":0,\"byteOffset\":%zu,\"byteLength\":%zu}", m_count ? "," : "",
                            m_bytes.size(), bytes.size());
        m_accessors +=
            kxFormat("%s{\"bufferView\":%d,\"componentType\":%d,\"count\":%zu,\"type\":\"%s\"%s}", m_count ? "," : "",
                     m_count, componentType, values.size() / components, type, more.c_str());
        m_bytes.insert(m_bytes.end(), bytes.begin(), bytes.end());
        m_bytes.resize((m_bytes.size() + 3) / 4 * 4);
        ++m_count;
    }
    void times(const std::vector<float>& values, const std::string& more = "") { add(5126, "SCALAR", 1, values, more); }
    void vectors(const std::vector<float>& values) { add(5126, "VEC3", 3, values); }
    void rotations(const std::vector<float>& values) { add(5126, "VEC4", 4, values); }

    std::string text() const
    {
        return kxFormat(R"("accessors":[%s],"bufferViews":[%s],"buffers":[{"byteLength":%zu,"uri":"%s"}])",
                        m_accessors.c_str(), m_views.c_str(), m_bytes.size(), dataUri(m_bytes).c_str());
    }

private:
    int m_count = 0;
    std::string m_views, m_accessors;
    std::vector<uint8_t> m_bytes;
};

float bits(uint32_t number)
{
    return std::bit_cast<float>(number);
}

// Two joints, a plain node and a mesh with a morph target, a material and a light.
const char* const kThings =
    R"({"asset":{"version":"2.0"},"scenes":[{"nodes":[0,2,3]}],"nodes":[{"name":"hip","children":[1]},{"name":"knee"},{"name":"door"},{"name":"face","mesh":0}],)"
    R"("skins":[{"name":"body","joints":[0,1],"skeleton":2},{"joints":[1,0]}],"materials":[{"name":"paint"}],)"
    R"("meshes":[{"primitives":[{"attributes":{"POSITION":1},"material":0,"targets":[{"POSITION":1}]}]}])";

class GltfAnimation : public GltfTest
{
protected:
    static kxAnimationDatabase* databaseOf(const kxDirectory& directory)
    {
        for (uint32_t i = 0; i < directory.getEntryCount(); ++i)
            if (auto* database = kxCast<kxAnimationDatabase>(directory.getEntry(i)->getObject()))
                return database;
        return nullptr;
    }
    template <class T>
    static T* sourceOf(const kxDirectory& directory, uint32_t track, uint32_t clip = 0)
    {
        return kxCast<T>(databaseOf(directory)->_animationList->get(clip)->_trackList->get(track)->getSource());
    }

    /// Bytes of the values that a sampler of the opened file names, or of any accessor.
    std::string bytesAt(const std::string& place) const
    {
        const std::string accessor = kxFormat("accessors/%s/", at(place).c_str());
        const std::string view = kxFormat("bufferViews/%s/", at(accessor + "bufferView").c_str());
        const auto number = [&](const std::string& where) { return at(where).empty() ? 0 : std::stoul(at(where)); };
        const std::string type = at(accessor + "type");
        const size_t components = type == "\"VEC3\"" ? 3 : type == "\"VEC4\"" ? 4 : 1;
        const size_t size = at(accessor + "componentType") == "5126"   ? 4
                            : at(accessor + "componentType") == "5122" ? 2
                                                                       : 1;
        return get("out.bin").substr(number(view + "byteOffset") + number(accessor + "byteOffset"),
                                     number(accessor + "count") * components * size);
    }
    template <class T>
    static std::string text(const std::vector<T>& values)
    {
        const std::vector<uint8_t> bytes = bytesOf(values);
        return {bytes.begin(), bytes.end()};
    }
    /// Through the native format and back.
    kxSmartPointer<kxDirectory> throughNative(kxDirectory& directory)
    {
        EXPECT_TRUE(save(directory, "between.kxb")) << m_errors;
        return load("between.kxb");
    }
};

TEST_F(GltfAnimation, KeysComeBackToTheBit)
{
    // Denormal and negative zeros, neighbours of the tick, and what no tick holds.
    const std::vector<float> times = {-0.0f,
                                      bits(1),
                                      1e-12f,
                                      7.1e-7f,
                                      std::nextafter(7.62939453e-06f, 1.0f),
                                      0.0166667f,
                                      1.0f / 3,
                                      1.1f,
                                      std::nextafter(1.1f, 2.0f),
                                      3601.7f,
                                      1.5e7f};
    const auto keys = times.size();
    std::vector<float> vectors, rotations, tangents;
    for (size_t i = 0; i < keys * 3; ++i)
        vectors.push_back(static_cast<float>(i) * 0.1f - 1e-20f);
    vectors[0] = -0.0f;
    for (size_t i = 0; i < keys; ++i)
        for (const float x : {0.1f, -0.2f, 0.3f, 0.9f})
            rotations.push_back(x * (i % 2 ? -1.0f : 1.0f)); // neither of unit length nor of one sign
    for (size_t i = 0; i < keys * 12; ++i)
        tangents.push_back(static_cast<float>(i) * 0.01f);
    std::vector<int16_t> fractions = {-32768, 32767, -32767, 1, 0, 0, 0, 32767};
    fractions.resize(keys * 4, 12345);
    std::vector<float> weights(keys, 0.25f);

    Accessors accessors;
    accessors.times(times, R"(,"name":"when","min":[0],"max":[15000000],"extras":{"t":1})");
    accessors.vectors(vectors);
    accessors.rotations(rotations);
    accessors.rotations(tangents);
    accessors.add<int16_t>(5122, "VEC4", 4, fractions, R"(,"normalized":true)");
    accessors.add<float>(5126, "SCALAR", 1, weights);
    const std::string source =
        std::string(kThings) +
        R"(,"animations":[{"name":"walk","extras":5,"samplers":[{"input":0,"output":5},{"input":0,"output":3,"interpolation":"CUBICSPLINE"},)"
        R"({"input":0,"output":1,"interpolation":"STEP","extras":7},{"input":0,"output":2,"interpolation":"LINEAR"},{"input":0,"output":4},)"
        R"({"input":0,"output":1}],"channels":[{"sampler":3,"target":{"node":1,"path":"rotation"}},)"
        R"({"sampler":2,"target":{"node":0,"path":"translation","extras":8},"extras":6},)"
        R"({"sampler":0,"target":{"path":"pointer","extensions":{"KHR_animation_pointer":{"pointer":"/materials/0/alphaCutoff"}}}},)"
        R"({"sampler":4,"target":{"node":0,"path":"rotation"}},{"sampler":1,"target":{"node":2,"path":"rotation"}},)"
        R"({"sampler":0,"target":{"node":3,"path":"weights"}},)"
        R"({"sampler":5,"target":{"path":"pointer","extensions":{"KHR_animation_pointer":{"pointer":"/nodes/2/scale"}}}},)"
        R"({"sampler":5,"target":{"node":1,"path":"translation"}}]}],"extensionsUsed":["KHR_animation_pointer"],)" +
        accessors.text() + "}";
    kxJsonDocument wanted;
    std::string fault;
    ASSERT_TRUE(wanted.parseCopy(source, fault)) << fault;

    auto directory = loadText(source);
    ASSERT_TRUE(directory) << m_errors;
    for (const char* way : {"straight", "through the native format"})
    {
        SCOPED_TRACE(way);
        EXPECT_EQ(m_warnings, "");
        ASSERT_TRUE(save(*directory, "out.gltf")) << m_errors;
        open("out.gltf");
        const kxJsonValue& clip = (*findMember(wanted.getRoot(), "animations"))[0];
        // A sampler that drives a translation and a scale is one for each afterwards.
        EXPECT_EQ(at("animations/0/channels"),
                  replaced(printValue(*findMember(clip, "channels")), R"("sampler":5,"target":{"path")",
                           R"("sampler":6,"target":{"path")"));
        EXPECT_EQ(at("animations/0/extras") + at("animations/0/name"), "5\"walk\"");
        EXPECT_EQ(at("animations/0/samplers/2/extras") + at("animations/0/samplers/3/interpolation"), "7\"LINEAR\"");
        const std::string sampler = "animations/0/samplers/";
        EXPECT_EQ(bytesAt(sampler + "0/input"), text(times));
        EXPECT_EQ(bytesAt(sampler + "0/output"), text(weights));
        EXPECT_EQ(bytesAt(sampler + "1/output"), text(tangents));
        EXPECT_EQ(bytesAt(sampler + "2/output"), text(vectors));
        EXPECT_EQ(bytesAt(sampler + "3/output"), text(rotations));
        EXPECT_EQ(bytesAt(sampler + "4/output"), text(fractions));
        // One list of times, and what its accessor says of it.
        for (const char* number : {"1", "2", "3", "4", "5"})
            EXPECT_EQ(at(sampler + number + "/input"), at(sampler + "0/input"));
        EXPECT_EQ(at(sampler + "2/output"), at(sampler + "5/output"));
        const std::string accessor = kxFormat("accessors/%s", at(sampler + "0/input").c_str());
        EXPECT_EQ(at(accessor + "/name") + at(accessor + "/extras"), R"("when"{"t":1})");
        directory = throughNative(*directory);
        ASSERT_TRUE(directory);
    }
}

TEST_F(GltfAnimation, ClipsBecomeTracksSkeletonsAndLocks)
{
    Accessors accessors;
    accessors.times({0, 0.5f, 1});
    accessors.vectors({0, 0, 0, 1, 0, 0, 2, 0, 0});
    accessors.rotations({0, 0, 0, 1, 0, 0, 1, 0, 0, 1, 0, 0});
    const std::string channel = R"({"sampler":0,"target":{"node":)";
    const std::string source =
        std::string(kThings) +
        R"(,"animations":[{"name":"a","samplers":[{"input":0,"output":1},{"input":0,"output":2,"interpolation":"STEP"}],"channels":[)" +
        channel + R"(2,"path":"translation"}},{"sampler":1,"target":{"node":0,"path":"rotation"}},)" + channel +
        R"(2,"path":"scale"}}]},{"name":"b","samplers":[{"input":0,"output":1}],"channels":[)" + channel +
        R"(2,"path":"scale"}}]},{"name":"c","samplers":[{"input":0,"output":1}],"channels":[)" + channel +
        R"(3,"path":"scale"}},{"sampler":0,"target":{"path":"pointer","extensions":{"KHR_animation_pointer":{"pointer":"/materials/0/emissiveFactor"}}}}]}],)" +
        accessors.text() + "}";
    const auto directory = loadText(source);
    ASSERT_TRUE(directory) << m_errors;
    const kxAnimationDatabase* database = databaseOf(*directory);
    std::vector<std::string> skeletons;
    for (const kxSkeleton* skeleton : *database->_skeletonList)
    {
        std::string text = skeleton->_name.str() + ":";
        for (const kxNode* bone : *skeleton->_bones)
            text.append(" ").append(bone->getName().view());
        skeletons.push_back(text);
    }
    // One for each skin; one for the plain nodes of a clip, the same for clips that move the same.
    EXPECT_THAT(skeletons, ::testing::ElementsAre("body: hip knee", ": knee hip", "a: door", "c: face"));

    kxAnimation* a = database->_animationList->get(0);
    ASSERT_EQ(a->getTrackCount(), 3u);
    const auto* translation = sourceOf<kxTransformSequence1_5>(*directory, 0);
    EXPECT_EQ(translation->getKeyFlags(), kxTransformSequence::HAS_TRANSLATIONS);
    EXPECT_EQ(translation->getKeyCount(), 3u);
    EXPECT_EQ(translation->_times->get(1), kxTransformSequence::kTicksPerSecond / 2);
    EXPECT_EQ(sourceOf<kxTransformSequence1_5>(*directory, 1)->getKeyFlags(),
              kxTransformSequence::HAS_QUATERNIONS | kxTransformSequence::STEP);
    EXPECT_EQ(sourceOf<kxTransformSequence1_5>(*directory, 2)->_scales, translation->_translations);
    EXPECT_EQ(a->findTrack("door"), a->getAnimationTrack(0));
    a->removeTrack(0);
    a->rebind();
    EXPECT_EQ(a->findTrack("door"), a->getAnimationTrack(1));
    EXPECT_EQ(a->findTrack("paint"), nullptr);

    const kxAnimation* c = database->_animationList->get(2);
    EXPECT_EQ(c->getTrackCount(), 1u);
    EXPECT_EQ(c->_propertyTrackList->getCount(), 1u);
    std::vector<std::string> locked;
    for (uint32_t i = 0; i < directory->getEntryCount(); ++i)
        if (const auto* pumps = kxCast<kxDataPumpInfo>(directory->getEntry(i)->getObject()))
            for (const kxDataPump* pump : *pumps->getList())
                locked.push_back(getObjectName(pump->getDestObj()).str());
    EXPECT_THAT(locked, ::testing::UnorderedElementsAre("hip", "knee", "door", "face", "paint"));
}

TEST_F(GltfAnimation, SequencesOfSeveralListsAndTracksByNameAreWritten)
{
    Accessors accessors;
    accessors.times({0, 1});
    accessors.vectors({0, 0, 0, 1, 0, 0});
    const auto directory = loadText(
        std::string(kThings) +
        R"(,"animations":[{"samplers":[{"input":0,"output":1}],"channels":[{"sampler":0,"target":{"node":1,"path":"scale"}}]}],)" +
        accessors.text() + "}");
    ASSERT_TRUE(directory) << m_errors;
    auto* sequence = sourceOf<kxTransformSequence1_5>(*directory, 0);
    kxAnimation* clip = databaseOf(*directory)->_animationList->get(0);
    clip->getAnimationTrack(0)->_target = nullptr;
    sequence->_fileForm = nullptr;
    sequence->_keyFlags = kxTransformSequence::HAS_TRANSLATIONS;
    sequence->_translations = sequence->_scales;
    auto none = kxNew<kxAnimationTrack>();
    clip->_trackList->append(none);
    ASSERT_TRUE(save(*directory, "out.gltf"));
    EXPECT_EQ(m_warnings, "out.gltf: animation tracks without keys are not written\n");
    open("out.gltf");
    EXPECT_EQ(
        at("animations/0/channels"),
        R"([{"sampler":0,"target":{"node":1,"path":"translation"}},{"sampler":1,"target":{"node":1,"path":"scale"}}])");
    EXPECT_EQ(at("animations/0/samplers/0"), at("animations/0/samplers/1"));

    // Lists that do not fit each other come from broken native files.
    sequence->_translations = kxNew<kxVec3fList>();
    ASSERT_TRUE(save(*directory, "out.gltf"));
    open("out.gltf");
    EXPECT_EQ(count("animations"), 0u);
}

TEST_F(GltfAnimation, WhatNobodyUsesIsNamed)
{
    Accessors accessors;
    accessors.times({0, 1});
    accessors.vectors({0, 0, 0, 1, 0, 0});
    accessors.vectors({0, 0, 0, 1, 0, 0, 2, 2, 2});
    const auto directory = loadText(
        std::string(kThings) +
        R"(,"animations":[{"samplers":[{"input":0,"output":1},{"input":0,"output":1},{"input":0,"output":2}],"channels":[)"
        R"({"sampler":0,"target":{"node":1,"path":"scale"}},{"sampler":2,"target":{"node":1,"path":"scale"}},)"
        R"({"sampler":0,"target":{"node":9,"path":"scale"}},{"sampler":0,"target":{"path":"scale"}},)"
        R"({"sampler":2,"target":{"node":2,"path":"scale"}}]}],)" +
        accessors.text() + "}");
    ASSERT_TRUE(directory) << m_errors;
    for (uint32_t i = 0; i < directory->getEntryCount(); ++i)
        if (const auto* scene = kxCast<kxSceneInfo>(directory->getEntry(i)->getObject()))
            forEachNodeOnce(
                scene->getSceneGraph(),
                [](kxNode* node, void*)
                { EXPECT_EQ(node->isAnimated(), node->getName().view() == "knee") << node->getName().str(); },
                nullptr);
    EXPECT_THAT(m_warnings,
                ::testing::AllOf(::testing::HasSubstr("samplers that no channel uses are left out (and 1 more)"),
                                 ::testing::HasSubstr("keys and values of different number"),
                                 ::testing::HasSubstr("nodes that do not exist")));
    ASSERT_TRUE(save(*directory, "out.gltf"));
    open("out.gltf");
    EXPECT_EQ(at("animations/0/channels"),
              R"([{"sampler":0,"target":{"node":1,"path":"scale"}},{"sampler":1,"target":{"path":"scale"}}])");
}

TEST_F(GltfAnimation, PointersToNothingDoNotComeToLife)
{
    Accessors accessors;
    accessors.times({0, 1});
    accessors.vectors({0, 0, 0, 1, 0, 0});
    const auto channel = [](const char* pointer)
    {
        return kxFormat(
            R"({"sampler":0,"target":{"path":"pointer","extensions":{"KHR_animation_pointer":{"pointer":"%s"}}}})",
            pointer);
    };
    const auto directory =
        loadText(std::string(kThings) + R"(,"animations":[{"samplers":[{"input":0,"output":1}],"channels":[)" +
                 channel("/nodes/4/translation") + "," + channel("/materials/1/emissiveFactor") + "," +
                 channel("/extensions/some/4/gain") + "," + channel("/nodes/2/scale") +
                 R"(]}],"extensionsUsed":["KHR_animation_pointer"],)" + accessors.text() + "}");
    ASSERT_TRUE(directory) << m_errors;
    EXPECT_THAT(m_warnings, ::testing::HasSubstr("pointers to what does not exist are left out (and 1 more)"));
    for (uint32_t i = 0; i < directory->getEntryCount(); ++i)
        if (const auto* scene = kxCast<kxSceneInfo>(directory->getEntry(i)->getObject()))
        {
            const auto added = kxNew<kxGroup>();
            added->setName("added");
            kxCast<kxGroup>(scene->getSceneGraph())->appendChild(added);
        }
    ASSERT_TRUE(save(*directory, "out.gltf")) << m_errors;
    open("out.gltf");
    EXPECT_EQ(at("nodes/4/name"), "\"added\"") << "the node that the pointer would now name";
    const std::string channels = at("animations/0/channels");
    EXPECT_THAT(channels, ::testing::AllOf(::testing::HasSubstr("/extensions/some/4/gain"),
                                           ::testing::HasSubstr("/nodes/2/scale"),
                                           ::testing::Not(::testing::HasSubstr("/nodes/4/")),
                                           ::testing::Not(::testing::HasSubstr("/materials/1/"))));
}

} // namespace

} // namespace Kel::Gltf
