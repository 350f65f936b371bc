// What a file says comes out as it went in: names, extras, extensions, order, and references that follow what they name.
#include "tests/gltf/kxGltfTestTools.h"

#include <gmock/gmock.h>

#include "interop/gltf/kxGltfInfo.h"
#include "platform/attrs/kxMaterialAttr.h"
#include "platform/attrs/kxTextureBindAttr.h"
#include "platform/sg/kxActor.h"
#include "platform/sg/kxDataPumpInfo.h"
#include "platform/sg/kxGeometry.h"
#include "platform/sg/kxJoint.h"

namespace Kel::Gltf
{

namespace
{

class GltfRoundTrip : public GltfTest
{
protected:
    template <class T>
    static T* infoOf(const kxDirectory& directory)
    {
        for (uint32_t i = 0; i < directory.getEntryCount(); ++i)
            if (auto* info = kxCast<T>(directory.getEntry(i)->getObject()))
                return info;
        return nullptr;
    }
    static std::vector<std::string> lockedNames(const kxDirectory& directory)
    {
        std::vector<std::string> names;
        for (kxDataPump* pump : *infoOf<kxDataPumpInfo>(directory)->_list)
            names.push_back(getObjectName(pump->getDestObj()).str());
        return names;
    }
};

// Within the rules, or as far beyond them as other programs go.
TEST_F(GltfRoundTrip, WhatOtherProgramsWriteIsTaken)
{
    const std::string positions = replaced(dataUri(bytesOf<float>({0, 0, 0, 1, 0, 0, 0, 1, 0})), "data:", "DATA:");
    const std::string png = "data:application/octet-stream;base64,iVBO\\nRw0K\\r\\nGgo=";
    roundTrip(
        R"({"asset":{"version":"2.0","minVersion":"2.0"},"nodes":[{"mesh":0,"extensions":{"KHR_lights_punctual":{"light":0}}}],
"scenes":[{"nodes":[0]}],"meshes":[{"primitives":[{"attributes":{"POSITION":0,"_FRAME":1}}]}],
"accessors":[{"bufferView":0,"componentType":5126,"count":3,"type":"VEC3"},{"bufferView":1,"componentType":5126,"count":3,"type":"MAT2"}],
"bufferViews":[{"buffer":0,"byteLength":36},{"buffer":1,"byteLength":48}],
"images":[{"uri":")" +
        replaced(png, "\\\\", "\\") + R"("}],"textures":[{"source":0}],"materials":[{"normalTexture":{"index":0}}],
"buffers":[{"byteLength":36,"uri":")" +
        positions + R"("},{"byteLength":48,"uri":")" +
        dataUri(bytesOf<float>({1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12})) + R"("}],
"extensionsUsed":["KHR_lights_punctual"],
"extensions":{"KHR_lights_punctual":{"lights":[{"type":"spot","spot":{"outerConeAngle":1.5707963267948966}}]}}})");
    EXPECT_EQ(at("extensions/KHR_lights_punctual/lights/0/spot/outerConeAngle"), "1.5707963267948966");
    EXPECT_EQ(at("images/0/uri"), R"("data:image/png;base64,iVBORw0KGgo=")");
    const std::string frame = at("meshes/0/primitives/0/attributes/_FRAME");
    ASSERT_NE(frame, "");
    EXPECT_EQ(at("accessors/" + frame + "/type"), "\"MAT2\"");
}

TEST_F(GltfRoundTrip, JointsKeepTheNodeAboveThem)
{
    const auto directory = loadText(R"({"asset":{"version":"2.0"},"scenes":[{"nodes":[0,5]}],
"nodes":[{"name":"armature","children":[1,3]},{"name":"a","children":[2]},{"name":"b"},{"name":"c","children":[4]},{"name":"d"},
 {"name":"e","children":[6]},{"name":"f"}],
"skins":[{"joints":[2,4]},{"joints":[1,2]},{"joints":[2,6]}]})");
    ASSERT_TRUE(directory) << m_errors;
    EXPECT_THAT(lockedNames(*directory), ::testing::Contains("armature"));
    for (const char* free : {"e", "c"}) // a joint stays anyway, and nothing stands above two roots
        EXPECT_THAT(lockedNames(*directory), ::testing::Not(::testing::Contains(free)));
}

/// Text of a file, and places in it that must be the same afterwards.
TEST_F(GltfRoundTrip, EveryObjectKeepsWhatIsSaidOfIt)
{
    const std::string text = R"({
"asset":{"version":"2.0","generator":"g","copyright":"c","extras":{"k":[1,2.5,"x",null,true]}},
"scene":1,"extras":"root","extensionsUsed":["ABC_used"],
"scenes":[{"name":"s0","extras":1},{"name":"s1","nodes":[1],"extensions":{"ABC_scene":{"deep":{"er":[]}}}}],
"nodes":[{"name":"unused","children":[2]},{"name":"n\u00e9 \ud83c\udf3b \"quoted\"","extras":{"b":1.5,"a":1e-7},"camera":0,
 "extensions":{"KHR_lights_punctual":{"light":1},"ABC_node":{}},"translation":[0.1,0.2,0.3]},{"name":"below"}],
"cameras":[{"name":"c","type":"perspective","extras":{"e":1},"perspective":{"yfov":0.7,"znear":0.01,"extras":{"p":2}}},
 {"name":"o","type":"orthographic","orthographic":{"xmag":2,"ymag":3,"znear":0,"zfar":100}}],
"extensions":{"KHR_lights_punctual":{"lights":[{"type":"point","name":"l0"},
 {"type":"spot","name":"l1","color":[1,0,0.5],"intensity":20,"range":7,"spot":{"innerConeAngle":0.1},"extras":{"l":1}}]},
 "ABC_root":{"a":0.1}},
"images":[{"name":"i","uri":"data:image/png;base64,iVBORw0KGgo="}],
"samplers":[{"name":"s","magFilter":9728,"wrapS":33071,"extras":{"s":1}}],
"textures":[{"name":"t","source":0,"sampler":0,"extras":{"t":1},"extensions":{"ABC_tex":{"x":0.5}}}],
"materials":[{"name":"m","alphaMode":"MASK","alphaCutoff":0.25,"doubleSided":true,"emissiveFactor":[0.1,0.2,0.3],
 "pbrMetallicRoughness":{"baseColorFactor":[0.5,0.25,0.125,1],"metallicFactor":0,"roughnessFactor":0.5,
  "baseColorTexture":{"index":0,"texCoord":1,"extensions":{"KHR_texture_transform":{"offset":[0.5,0],"rotation":1.5,
   "scale":[2,2],"texCoord":2}},"extras":{"u":1}},"extras":{"pbr":1}},
 "normalTexture":{"index":0,"scale":0.5},"occlusionTexture":{"index":0,"strength":0.75},
 "extensions":{"KHR_materials_clearcoat":{"clearcoatFactor":0.5,"clearcoatNormalTexture":{"index":0,"scale":2},
  "clearcoatTexture":{"index":0},"extras":{"cc":1}},"KHR_materials_unlit":{},
  "ABC_mat":{"inner":{"deepTexture":{"index":0,"texCoord":3},"z":0.5}}},"extras":{"m":1}}]})";
    roundTrip(text);
    kxJsonDocument source;
    std::string fault;
    ASSERT_TRUE(source.parseCopy(text, fault));
    auto wanted = [&](const std::string& place)
    {
        const kxJsonValue* value = &source.getRoot();
        for (size_t begin = 0; begin <= place.size(); begin = std::min(place.find('/', begin), place.size()) + 1)
        {
            const std::string step = place.substr(begin, std::min(place.find('/', begin), place.size()) - begin);
            value = value->IsArray() ? &(*value)[static_cast<unsigned>(std::stoul(step))] : findMember(*value, step);
        }
        return printValue(*value);
    };
    for (const char* place : {"asset",
                              "scene",
                              "extras",
                              "scenes/0",
                              "scenes/1/extensions",
                              "nodes/0",
                              "nodes/1/name",
                              "nodes/1/extras",
                              "nodes/1/translation",
                              "nodes/1/camera",
                              "nodes/1/extensions/ABC_node",
                              "nodes/1/extensions/KHR_lights_punctual",
                              "cameras/0/perspective/extras",
                              "cameras/0/extras",
                              "cameras/0/perspective/yfov",
                              "cameras/1/name",
                              "cameras/1/orthographic",
                              "extensions/KHR_lights_punctual/lights/1/spot",
                              "extensions/KHR_lights_punctual/lights/1/color",
                              "extensions/KHR_lights_punctual/lights/1/extras",
                              "extensions/ABC_root",
                              "images/0/name",
                              "images/0/uri",
                              "samplers/0",
                              "textures/0/extras",
                              "textures/0/extensions",
                              "textures/0/sampler",
                              "materials/0/pbrMetallicRoughness/baseColorTexture",
                              "materials/0/pbrMetallicRoughness/extras",
                              "materials/0/pbrMetallicRoughness/baseColorFactor",
                              "materials/0/alphaMode",
                              "materials/0/alphaCutoff",
                              "materials/0/normalTexture",
                              "materials/0/occlusionTexture",
                              "materials/0/emissiveFactor",
                              "materials/0/doubleSided",
                              "materials/0/extras",
                              "materials/0/extensions/KHR_materials_clearcoat/clearcoatNormalTexture",
                              "materials/0/extensions/KHR_materials_clearcoat/clearcoatTexture",
                              "materials/0/extensions/KHR_materials_clearcoat/extras",
                              "materials/0/extensions/KHR_materials_unlit",
                              "materials/0/extensions/ABC_mat/inner/deepTexture",
                              "materials/0/extensions/ABC_mat/inner/z"})
        EXPECT_EQ(at(place), wanted(place)) << place;
    EXPECT_EQ(at("extensionsUsed").substr(0, 13), R"(["ABC_used",")");
    EXPECT_EQ(count("nodes"), 3u);
    EXPECT_EQ(count("cameras"), 2u);

    // The same bytes again from what was written.
    const std::string once = get("out.gltf");
    const auto directory = load("out.gltf");
    ASSERT_TRUE(directory);
    ASSERT_TRUE(save(*directory, "out.gltf"));
    EXPECT_EQ(get("out.gltf"), once);
}

TEST_F(GltfRoundTrip, PropertiesThatTheFormatDoesNotDefineAreKept)
{
    roundTrip(
        R"({"asset":{"version":"2.0"},"nodes":[{"future":{"a":[1]},"name":"n"}],"scenes":[{"nodes":[0],"$odd":"/nodes/0"}],)"
        R"("extensions":{"ABC_x":{"$ref":7,"$$ref":{"$":"/nodes/0/name"}}}})");
    EXPECT_EQ(at("nodes/0"), R"({"name":"n","future":{"a":[1]}})");
    EXPECT_EQ(at("scenes/0/$odd"), R"("/nodes/0")");
    EXPECT_EQ(at("extensions/ABC_x"), R"({"$ref":7,"$$ref":{"$":"/nodes/0/name"}})");
}

TEST_F(GltfRoundTrip, NumbersComeBackExactly)
{
    // Floats with up to nine digits, a place that needs more, denormals, and doubles in extras.
    roundTrip(
        R"({"asset":{"version":"2.0"},"nodes":[{"translation":[0.1,16777217,1.17549435e-38],"scale":[3.40282347e+38,-0.0,1e-45],)"
        R"("extras":[0.1,0.30000000000000004,1e300,9007199254740993,18446744073709551615,-9223372036854775808,1.0]}]})");
    EXPECT_EQ(at("nodes/0/translation"), "[0.1,16777217,1.17549435e-38]");
    EXPECT_EQ(at("nodes/0/scale"), "[3.4028235e+38,-0.0,1e-45]");
    EXPECT_EQ(at("nodes/0/extras"),
              "[0.1,0.30000000000000004,1e+300,9007199254740993,18446744073709551615,-9223372036854775808,1]");
}

constexpr char kReferring[] =
    R"({"asset":{"version":"2.0"},"scenes":[{"nodes":[0,1,2,3]}],"nodes":[{"name":"a"},{"name":"b"},{"name":"c"},{"name":"d",)"
    R"("extensions":{"MSFT_lod":{"ids":[2,1]},"KHR_node_visibility":{"visible":true}}}],"materials":[{"name":"m0"},{"name":"m1",)"
    R"("extensions":{"MSFT_lod":{"ids":[0]}}}],"extensions":{"KHR_interactivity":{"graph":0,"graphs":[{"nodes":[)"
    R"({"configuration":{"nodeIndex":{"value":[2]}},"flows":{"out":{"node":1}}},)"
    R"({"configuration":{"pointer":{"value":["/nodes/{which}/scale"]}},"values":{"which":{"value":[3],"type":0}}},)"
    R"({"configuration":{"pointer":{"value":["/materials/1/alphaCutoff"]}}}]}]},"ABC_own":{"target":"/nodes/2/translation",)"
    R"("other":"/nodes/99/name","text":"/nodes","number":2}}})";

TEST_F(GltfRoundTrip, ReferencesInExtensionsFollowWhatTheyName)
{
    const auto directory = loadText(kReferring);
    ASSERT_TRUE(directory) << m_errors;
    EXPECT_EQ(
        m_warnings,
        "scene.gltf: extension ABC_own is not known; it is carried as it is, and indices in it may no longer fit\n");
    EXPECT_THAT(lockedNames(*directory), ::testing::UnorderedElementsAre("b", "c", "d", "m0", "m1"));
    // The first node goes: everything behind it gets another number.
    kxGroup* root = rootOf(*directory);
    root->removeChild(root->getChild(0u));
    ASSERT_TRUE(save(*directory, "out.gltf"));
    open("out.gltf");
    EXPECT_EQ(count("nodes"), 3u);
    EXPECT_EQ(at("nodes/2/extensions/MSFT_lod"), R"({"ids":[1,0]})");
    EXPECT_EQ(at("materials/1/extensions/MSFT_lod"), R"({"ids":[0]})");
    const std::string graph = "extensions/KHR_interactivity/graphs/0/nodes/";
    EXPECT_EQ(at(graph + "0"), R"({"configuration":{"nodeIndex":{"value":[1]}},"flows":{"out":{"node":1}}})");
    EXPECT_EQ(at(graph + "1/values"), R"({"which":{"value":[2],"type":0}})");
    EXPECT_EQ(at(graph + "2/configuration/pointer/value"), R"(["/materials/1/alphaCutoff"])");
    EXPECT_EQ(at("extensions/ABC_own"),
              R"({"target":"/nodes/1/translation","other":"/nodes/99/name","text":"/nodes","number":2})");
}

TEST_F(GltfRoundTrip, WhatIsReferredToIsWrittenEvenOutOfEveryScene)
{
    const auto directory = loadText(kReferring);
    ASSERT_TRUE(directory);
    rootOf(*directory)->removeAllChildren();
    ASSERT_TRUE(save(*directory, "out.gltf"));
    open("out.gltf");
    EXPECT_EQ(count("nodes"), 3u); // all but "a", which nothing names
    EXPECT_EQ(at("scenes/0/nodes"), "");
    EXPECT_EQ(at("extensions/ABC_own/target"), R"("/nodes/1/translation")");
}

TEST_F(GltfRoundTrip, AnimationsAreCarriedAndLockWhatTheyDrive)
{
    const std::string text =
        R"({"asset":{"version":"2.0"},"scenes":[{"nodes":[0,2]}],"nodes":[{"name":"plain"},{"name":"joint"},)"
        R"({"name":"moved","mesh":0,"skin":0,"children":[1,3]},{"name":"pointed"}],"materials":[{"name":"mat"}],)"
        R"("skins":[{"name":"skin","joints":[1],"skeleton":2,"extras":1}],"meshes":[{"primitives":[{"attributes":{"POSITION":2},"material":0}]}],)"
        R"("animations":[{"name":"clip","extras":5,"samplers":[{"input":0,"output":1,"interpolation":"STEP"},{"input":0,"output":0}],)"
        R"("channels":[{"sampler":0,"target":{"node":2,"path":"translation"},"extras":6},{"sampler":0,"target":{"path":"pointer",)"
        R"("extensions":{"KHR_animation_pointer":{"pointer":"/nodes/3/scale"}}}},{"sampler":1,"target":{"path":"pointer",)"
        R"("extensions":{"KHR_animation_pointer":{"pointer":"/materials/0/alphaCutoff"}}}}]}],)"
        R"("accessors":[{"bufferView":0,"componentType":5126,"count":2,"type":"SCALAR"},{"bufferView":0,"componentType":5126,)"
        R"("count":2,"type":"VEC3"},{"bufferView":0,"componentType":5126,"count":2,"type":"VEC3"}],"bufferViews":[{"buffer":0,)"
        R"("byteLength":24}],"buffers":[{"byteLength":24,"uri":")" +
        dataUri(bytesOf<float>({0, 1, 2, 3, 4, 5})) + "\"}]}";
    const auto directory = loadText(text);
    ASSERT_TRUE(directory) << m_errors;
    EXPECT_EQ(m_warnings, "");
    EXPECT_THAT(lockedNames(*directory), ::testing::UnorderedElementsAre("joint", "moved", "pointed", "mat"));
    kxGroup* root = rootOf(*directory);
    EXPECT_TRUE(find(root, "joint")->isOfExactType(kxJoint::staticMetaObject()));
    EXPECT_TRUE(find(root, "pointed")->isOfExactType(kxTransform::staticMetaObject()));
    EXPECT_TRUE(find(root, "pointed")->isAnimated());
    EXPECT_FALSE(find(root, "joint")->isAnimated());
    EXPECT_TRUE(find(root, "plain")->isOfExactType(kxGroup::staticMetaObject()));

    root->removeChild(find(root, "plain"));
    ASSERT_TRUE(save(*directory, "out.gltf"));
    open("out.gltf");
    EXPECT_EQ(at("animations/0/channels/0"), R"({"sampler":0,"target":{"node":1,"path":"translation"},"extras":6})");
    EXPECT_EQ(at("animations/0/channels/1/target/extensions/KHR_animation_pointer/pointer"), R"("/nodes/2/scale")");
    EXPECT_EQ(at("animations/0/channels/2/target/extensions/KHR_animation_pointer/pointer"),
              R"("/materials/0/alphaCutoff")");
    EXPECT_EQ(at("animations/0/samplers/0/interpolation") + at("animations/0/extras"), "\"STEP\"5");
    EXPECT_EQ(at("skins/0"), R"({"name":"skin","skeleton":1,"joints":[0],"extras":1})");
    EXPECT_EQ(at("nodes/1/skin"), "0");
    // Times have bounds, whether or not the file had them.
    EXPECT_EQ(at("accessors/" + at("animations/0/samplers/0/input") + "/max"), "[1]");
}

TEST_F(GltfRoundTrip, WhatNoSceneReachesIsKeptAndWhatLeavesASceneIsNot)
{
    std::string text = replaced(triangleScene(), R"("meshes":[)",
                                R"("meshes":[{"name":"spare","primitives":[{"attributes":)"
                                R"({"POSITION":0},"material":0}]},)");
    text = replaced(text, R"("mesh":0)", R"("mesh":1)");
    text = replaced(text, R"("scene":0)",
                    R"("materials":[{"name":"used by spare"},{"name":"alone","normalTexture":{"index":0}}],)"
                    R"("textures":[{"name":"t0"},{"name":"t1"}],"images":[{"name":"i","uri":"data:,x"}],)"
                    R"("cameras":[{"name":"c","type":"perspective","perspective":{"yfov":1,"znear":1}}],"scene":0)");
    const auto directory = loadText(text);
    ASSERT_TRUE(directory) << m_errors;
    const auto* info = infoOf<kxGltfInfo>(*directory);
    EXPECT_EQ(info->_unusedMeshes->getCount(), 1u);
    EXPECT_EQ(info->_unusedMaterials->getCount(), 1u);
    EXPECT_EQ(info->_unusedTextures->getCount(), 1u);
    EXPECT_EQ(info->_unusedImages->getCount() + info->_unusedCameras->getCount(), 2u);
    ASSERT_TRUE(save(*directory, "out.gltf"));
    open("out.gltf");
    for (const char* list : {"meshes", "materials", "textures"})
        EXPECT_EQ(count(list), 2u) << list;
    EXPECT_EQ(at("meshes/0/name") + at("materials/1/name") + at("textures/1/name"), R"("spare""alone""t1")");
    EXPECT_EQ(count("cameras") + count("images"), 2u);

    rootOf(*directory)->removeAllChildren();
    ASSERT_TRUE(save(*directory, "out.gltf"));
    open("out.gltf");
    EXPECT_EQ(count("meshes"), 1u);
    EXPECT_EQ(count("nodes"), 0u);
}

TEST_F(GltfRoundTrip, ScenesShareRootsAndFilesWithoutScenesStayWithout)
{
    roundTrip(
        R"({"asset":{"version":"2.0"},"scenes":[{"nodes":[0,1]},{"nodes":[1,0]},{}],"nodes":[{"name":"a","children":[2]},)"
        R"({"name":"b"},{"name":"c"}]})");
    EXPECT_EQ(at("scenes"), R"([{"nodes":[0,1]},{"nodes":[1,0]},{}])");
    EXPECT_EQ(count("nodes"), 3u);

    roundTrip(R"({"asset":{"version":"2.0"},"nodes":[{"name":"a","children":[1]},{"name":"b"}]})");
    EXPECT_EQ(at("scenes"), "");
    EXPECT_EQ(at("nodes"), R"([{"name":"a","children":[1]},{"name":"b"}])");

    // A root that is below another node too stays one node, as the file has it.
    roundTrip(
        R"({"asset":{"version":"2.0"},"scenes":[{"nodes":[1]}],"nodes":[{"name":"a","children":[1]},{"name":"b"}]})");
    EXPECT_EQ(at("nodes"), R"([{"name":"a","children":[1]},{"name":"b"}])");
    EXPECT_EQ(at("scenes"), R"([{"nodes":[1]}])");
}

TEST_F(GltfRoundTrip, VariantsAndMaterialsOfOneTextureStayShared)
{
    std::string text = replaced(
        triangleScene(), R"("indices":1)",
        R"("indices":1,"material":0,"extensions":{"KHR_materials_variants":{"mappings":[{"variants":[0,2],"material":1,"name":"x"},)"
        R"({"variants":[1],"material":0}]}})");
    text = replaced(
        text, R"("scene":0)",
        R"("extensions":{"KHR_materials_variants":{"variants":[{"name":"v0"},{"name":"v1"},{"name":"v2"}]}},)"
        R"("materials":[{"name":"m0","normalTexture":{"index":0}},{"name":"m1","normalTexture":{"index":0}}],"textures":[{}],"scene":0)");
    const auto directory = loadText(text);
    ASSERT_TRUE(directory) << m_errors;
    ASSERT_TRUE(save(*directory, "out.gltf"));
    open("out.gltf");
    EXPECT_EQ(at("meshes/0/primitives/0/extensions/KHR_materials_variants"),
              R"({"mappings":[{"variants":[0,2],"material":1,"name":"x"},{"variants":[1],"material":0}]})");
    EXPECT_EQ(at("extensions/KHR_materials_variants/variants/2/name"), R"("v2")");
    EXPECT_EQ(count("textures") + count("materials"), 3u);
}

TEST_F(GltfRoundTrip, ImagesGoWhereTheyBelong)
{
    const std::string png = "\x89PNG\r\n\x1a\nbody";
    put("in/tex/a b.png", png);
    put("in/scene.gltf",
        R"({"asset":{"version":"2.0"},"images":[{"uri":"tex/a%20b.png"},{"uri":"data:image/png;base64,iVBORw0KGgo="},)"
        R"({"uri":"gone.png"}]})");
    const auto directory = load("in/scene.gltf");
    ASSERT_TRUE(directory) << m_errors;
    std::filesystem::create_directories(m_folder / "out");
    ASSERT_TRUE(save(*directory, "out/scene.gltf"));
    open("out/scene.gltf");
    EXPECT_EQ(at("images/0/uri"), R"("tex/a%20b.png")");
    EXPECT_EQ(get("out/tex/a b.png"), png);
    EXPECT_EQ(at("images/1/uri").substr(0, 16), R"("data:image/png;)");
    EXPECT_EQ(at("images/2/uri"), R"("gone.png")");

    // A file that is there already and holds something else keeps it.
    put("out/tex/a b.png", "somebody else's");
    ASSERT_TRUE(save(*directory, "out/scene.gltf"));
    open("out/scene.gltf");
    EXPECT_EQ(at("images/0/uri"), R"("tex/a%20b_1.png")");
    EXPECT_EQ(get("out/tex/a b.png"), "somebody else's");
    EXPECT_EQ(m_warnings,
              "out/scene.gltf: tex/a b.png: image file exists with other content; the image is written under "
              "another name\n");

    // Binary files hold their images, but for the one that is missing.
    ASSERT_TRUE(save(*directory, "out/scene.glb"));
    const auto binary = load("out/scene.glb");
    ASSERT_TRUE(binary);
    ASSERT_TRUE(save(*binary, "again.gltf"));
    open("again.gltf");
    EXPECT_EQ(at("images/0"), R"({"bufferView":0,"mimeType":"image/png"})");
    EXPECT_EQ(at("images/2/uri"), R"("gone.png")");
    // What came from beyond the folder is written into it.
    std::filesystem::create_directories(m_folder / "in/deeper");
    put("in/deeper/scene.gltf", R"({"asset":{"version":"2.0"},"images":[{"uri":"../tex/a%20b.png"}]})");
    const auto outside = load("in/deeper/scene.gltf", true);
    ASSERT_TRUE(outside);
    std::filesystem::create_directories(m_folder / "third");
    ASSERT_TRUE(save(*outside, "third/scene.gltf"));
    EXPECT_EQ(get("third/a b.png"), png);
}

TEST_F(GltfRoundTrip, NothingIsWrittenWhereNothingCanBe)
{
    const auto directory = loadText(triangleScene());
    ASSERT_TRUE(directory);
    std::filesystem::create_directories(m_folder / "folder.glb");
    EXPECT_FALSE(save(*directory, "folder.glb"));
    EXPECT_EQ(m_errors, "folder.glb: cannot be written: it is a folder\n");
    EXPECT_FALSE(save(*directory, "no/such/folder.gltf"));
    EXPECT_EQ(std::count(m_errors.begin(), m_errors.end(), '\n'), 1);
}

TEST_F(GltfRoundTrip, NoObjectOutlivesItsDirectory)
{
    const size_t before = kxObject::getLiveCount();
    {
        const auto directory = loadText(kReferring);
        ASSERT_TRUE(directory);
        ASSERT_TRUE(save(*directory, "out.glb"));
    }
    EXPECT_EQ(kxObject::getLiveCount(), before);
    EXPECT_FALSE(loadText(replaced(kReferring, R"("ids":[0])", R"("ids":[0)")));
    EXPECT_EQ(kxObject::getLiveCount(), before);
}

} // namespace

} // namespace Kel::Gltf
