// What is wrong with a file and what is done about it: refused with one line, or loaded with one warning for each kind.
#include "tests/gltf/kxGltfTestTools.h"

#include "platform/attrs/kxGeometryAttr.h"
#include "platform/sg/kxGeometry.h"

namespace Kel::Gltf
{

namespace
{

using GltfFaults = GltfTest;

/// A change to the scene of one triangle: the text that stands there, what replaces it, and the line that comes of it.
struct Fault
{
    const char* what;
    const char* with;
    const char* line;
};

const Fault kRefused[] = {
    // JSON
    {R"({"asset")", R"("asset")", "JSON text is broken at byte 7: "},
    {R"("name":"n0")", "\"name\":\"n\xff\"", "JSON text is not UTF-8"},
    {R"("name":"n0")", R"("name":"\ud800")", "JSON text is broken at byte "},
    {R"({"asset":{"version":"2.0"},)", "[{", "JSON text is broken"},
    {R"("count":3)", R"("count":1e999)", "JSON text is broken at byte "},
    // versions and extensions
    {R"({"version":"2.0"})", R"({"version":"1.0"})", "is glTF 1.0, wanted 2.0"},
    {R"({"version":"2.0"})", R"({"version":"2.0","minVersion":"3.1"})", "is glTF 3.1, wanted 2.0"},
    {R"({"version":"2.0"})", R"({"version":"2.1","minVersion":"2.1"})",
     "wants readers of glTF 2.1; this one knows 2.0"},
    {R"({"version":"2.0"})", R"({"version":"two"})", "gives \"two\" as version of glTF"},
    {R"({"version":"2.0"})", R"({"generator":"x"})", "gives no version of glTF"},
    {R"("scene":0)", R"("extensionsRequired":["KHR_draco_mesh_compression"])",
     "needs KHR_draco_mesh_compression, which this program cannot decode"},
    {R"("indices":1)", R"("extensions":{"KHR_draco_mesh_compression":{"bufferView":0}},"attributes":{})",
     ""}, // has its positions in full, so it loads: see below
    // structure
    {R"("nodes":[{"name":"n0","mesh":0}])", R"("nodes":5)", "nodes is not an array"},
    {R"("nodes":[{"name":"n0","mesh":0}])", R"("nodes":[[]])", "nodes[0] is not an object"},
    {R"("nodes":[{"name":"n0","mesh":0}])", R"("nodes":[{"children":[1]},{"children":[0]}])",
     "nodes lie below themselves (node 0)"},
    {R"("nodes":[{"name":"n0","mesh":0}])", R"("nodes":[{"children":[0]}])", "nodes lie below themselves (node 0)"},
    {R"("nodes":[{"name":"n0","mesh":0}])", R"("nodes":[{"children":3}])", "children of node 0 are not an array"},
    // buffers, views and accessors
    {R"("byteLength":44)", R"("byteLength":45)", "buffer 0 has 44 bytes, the file says 45"},
    {R"("byteLength":44)", R"("byteLength":-1)", "buffer 0 has no valid byteLength"},
    {R"("byteLength":44)", R"("byteLength":41)", "buffer view 1 ends 1 bytes past its buffer"},
    {R"("byteLength":36})", R"("byteLength":18446744073709551615})",
     "buffer view 0 has no valid byteLength or byteOffset"},
    {R"("byteLength":36})", R"("byteLength":36,"byteOffset":9007199254740992})",
     "buffer view 0 ends 9007199254740984 bytes past its buffer"},
    {R"({"buffer":0,"byteLength":36})", R"({"buffer":7,"byteLength":36})",
     "buffer view 0 is in buffer 7, the file has 1"},
    {R"("byteLength":36})", R"("byteLength":36,"byteStride":8})",
     "accessor 0 has elements of 12 bytes, its buffer view a byteStride of 8"},
    {R"("byteLength":36})", R"("byteLength":36,"byteStride":1000000})",
     "buffer view 0 has a byteStride outside of 4 to 252"},
    {R"("componentType":5126,"count":3)", R"("componentType":5126,"count":4)",
     "accessor 0 ends 12 bytes past its buffer view"},
    {R"("componentType":5126,"count":3)", R"("componentType":5126,"byteOffset":4,"count":3)",
     "accessor 0 ends 4 bytes past its buffer view"},
    {R"("componentType":5126,"count":3)", R"("componentType":5126,"count":9007199254740992)",
     "accessor 0 ends 108086391056891868 bytes past its buffer view"},
    {R"("componentType":5126)", R"("componentType":5124)", "accessor 0 has no known componentType"},
    {R"("type":"VEC3")", R"("type":"VEC5")", "accessor 0 has no known type"},
    {R"({"bufferView":0,"comp)", R"({"bufferView":9,"comp)", "accessor 0 is in buffer view 9, the file has 2"},
    {R"({"bufferView":0,"componentType":5126,"count":3)", R"({"componentType":5126,"count":900000000)",
     "accessor 0 asks for 10800000000 bytes that are not in the file"},
    {R"("type":"VEC3")",
     R"("type":"VEC3","sparse":{"count":1,"indices":{"bufferView":1,"byteOffset":6,"componentType":5123},"values":{"bufferView":0}})",
     "index list of accessor 0 ends 2 bytes past its buffer view"},
    {R"("type":"VEC3")",
     R"("type":"VEC3","sparse":{"count":3,"indices":{"bufferView":0,"byteOffset":13,"componentType":5121},"values":{"bufferView":0}})",
     "accessor 0 has 3 elements, its sparse values name number 128"},
    // where data come from
    {"data:application/octet-stream;base64,", "../secret.bin?", "buffer 0 is at \"../secret.bin"},
    {"data:application/octet-stream;base64,", "https://example.org/", "buffer 0 is at \"https://example.org/"},
    {"data:application/octet-stream;base64,", "/etc/", "buffer 0 is at \"/etc/"},
    {"data:application/octet-stream;base64,", "missing", "buffer 0, \"missing"},
    {"base64,AAAA", "base64,!AAA", "buffer 0: base64 text of a data URI holds other characters"},
    {"base64,AAAA", "base64,AAAAAA", "buffer 0: base64 text of a data URI is cut short"},
};

TEST_F(GltfFaults, WhatCannotBeReadSafelyIsRefusedWithOneLine)
{
    for (const Fault& fault : kRefused)
    {
        if (!*fault.line)
            continue;
        SCOPED_TRACE(std::string(fault.what) + " -> " + fault.with);
        const std::string text = replaced(triangleScene(), fault.what, fault.with);
        ASSERT_NE(text, triangleScene());
        EXPECT_FALSE(loadText(text));
        EXPECT_EQ(m_errors.substr(0, 13 + std::strlen(fault.line)),
                  std::string("scene.gltf: ") + fault.line + m_errors.substr(12 + std::strlen(fault.line), 1));
        EXPECT_EQ(std::count(m_errors.begin(), m_errors.end(), '\n'), 1) << m_errors;
        EXPECT_EQ(m_warnings, "");
    }
}

const Fault kLoaded[] = {
    {R"("n0","mesh":0)", R"("n0","mesh":7)", "node 0: mesh that does not exist is left out"},
    {R"("n0","mesh":0)", R"("n0","mesh":0,"camera":1)", "node 0: camera that does not exist is left out"},
    {R"("n0","mesh":0)", R"("n0","mesh":0,"skin":0)", "node 0: skin that does not exist is left out"},
    {R"("n0","mesh":0)", R"("n0","mesh":0,"children":[9])", "node 0: child that does not exist is left out"},
    {R"("n0","mesh":0)", R"("n0","skin":0)", "node 0: skin or weights of a node without mesh are left out"},
    {R"("n0","mesh":0)", R"("n0","mesh":0,"weights":[1])",
     "node 0: weights that do not fit the morph targets are left out"},
    {R"("n0","mesh":0)", R"("n0","mesh":0,"translation":[1,"x",0])",
     "node 0, translation: property is not a usable list of numbers and keeps its default"},
    {R"("n0","mesh":0)", R"("n0","mesh":0,"scale":[1,1e39,1])",
     "node 0, scale: property is not a usable list of numbers and keeps its default"},
    {R"("name":"n0")", R"("name":17)", "node 0: name is not text and is left out"},
    {R"({"nodes":[0]})", R"({"nodes":[0,4]})", "scene 0: node that does not exist is left out"},
    {R"("scene":0)", R"("scene":3)", "scene to show first that does not exist is left out"},
    {R"("indices":1)", R"("indices":1,"material":2)", "mesh 0, primitive 0: material that does not exist is left out"},
    {R"("indices":1)", R"("indices":5)", "mesh 0, primitive 0: primitives whose indices do not exist are left out"},
    {R"("indices":1)", R"("indices":0)",
     "mesh 0, primitive 0: primitives with indices of an impossible type are left out"},
    {R"("indices":1)", R"("indices":1,"mode":12)", "mesh 0, primitive 0: primitives of an unknown mode are left out"},
    {R"("POSITION":0)", R"("POSITION":8)", "mesh 0, primitive 0: primitives whose vertices do not exist are left out"},
    {R"("POSITION":0)", R"("POSITION":1)",
     "mesh 0, primitive 0: primitives with attributes of an impossible type are left out"},
    {R"("POSITION":0)", R"("POSITION":0,"NORMAL":9)",
     "mesh 0, primitive 0, NORMAL: attribute that does not exist is left out"},
    {R"("componentType":5126,"count":3)", R"("componentType":5126,"count":2)",
     "mesh 0, primitive 0: primitives with indices past their vertices are left out"},
    {R"("scene":0)", R"("extensionsRequired":["ABC_unheard_of"])",
     "extension ABC_unheard_of is required and not known; it is carried as it is"},
    {R"("scene":0)", R"("extensions":{"ABC_unheard_of":{"node":4}})",
     "extension ABC_unheard_of is not known; it is carried as it is, and indices in it may no longer fit"},
    {R"("uri":"data)", R"("name":"data)",
     "buffer 0: names no file, and there is no binary chunk for it; its bytes count as zero"},
    {R"("scene":0)", R"("images":[{"uri":"no.png"}])",
     "image 0: \"no.png\" cannot be read: No such file or directory: image is missing; the scene is loaded without it"},
    {R"("scene":0)", R"("textures":[{"source":4}])", "texture 0: image that does not exist is left out"},
    {R"("scene":0)", R"("materials":[{"normalTexture":{"index":3}}])",
     "material 0: texture that does not exist is left out"},
    {R"("scene":0)", R"("materials":[{"alphaMode":"GLOW"}])",
     "material 0: alphaMode is none of OPAQUE, MASK and BLEND and keeps its default"},
    {R"("scene":0)", R"("cameras":[{"type":"fisheye"}])", "camera 0: camera of no known type counts as perspective"},
    {R"("scene":0)", R"("skins":[{"joints":[4]}])", "skin 0: skin whose joints do not exist is left out"},
    {R"("scene":0)", R"("animations":[{"samplers":[{"input":0,"output":0}],"channels":[{"sampler":0,"target":{}}]}])",
     "animation 0: animation channels with times that are no floats are left out"},
    {R"("nodes":[{"name":"n0","mesh":0}])", R"("nodes":[{"name":"n0","mesh":0,"children":[1,1]},{}])",
     "node 1: node has several parents and is drawn below each"},
    {R"("indices":1)", R"("indices":1,"extensions":{"KHR_draco_mesh_compression":{"bufferView":0}})",
     "KHR_draco_mesh_compression: compressed copy of data is not carried; the data are written uncompressed"},
};

TEST_F(GltfFaults, WhatCanStillBeDrawnLoadsWithAWarning)
{
    for (const Fault& fault : kLoaded)
    {
        SCOPED_TRACE(std::string(fault.what) + " -> " + fault.with);
        const std::string text = replaced(triangleScene(), fault.what, fault.with);
        ASSERT_NE(text, triangleScene());
        const auto directory = loadText(text);
        ASSERT_TRUE(directory) << m_errors;
        EXPECT_EQ(m_warnings.substr(0, m_warnings.find('\n')), std::string("scene.gltf: ") + fault.line);
        // Whatever was left out, what is there can be written and read again.
        EXPECT_TRUE(save(*directory, "out.glb")) << m_errors;
        EXPECT_TRUE(load("out.glb")) << m_errors;
    }
}

TEST_F(GltfFaults, OneLineForEachKindOfFault)
{
    const std::string bad = R"({"attributes":{"POSITION":0},"indices":7})";
    const auto directory = loadText(replaced(triangleScene(), R"([{"attributes":{"POSITION":0},"indices":1}])",
                                             "[" + bad + "," + bad + R"(,{"attributes":{"POSITION":0},"indices":1},)" +
                                                 bad + R"(,{"attributes":{},"mode":9}])"));
    ASSERT_TRUE(directory);
    EXPECT_EQ(m_warnings,
              "scene.gltf: mesh 0, primitive 0: primitives whose indices do not exist are left out (and 2 more)\n"
              "scene.gltf: mesh 0, primitive 4: primitives of an unknown mode are left out\n");
    EXPECT_EQ(static_cast<kxGroup*>(rootOf(*directory)->getChild(0u))->getChildCount(), 1u);
}

TEST_F(GltfFaults, SkinsOnMeshesOfWhichNothingCouldBeRead)
{
    const auto directory = loadText(R"({"asset":{"version":"2.0"},"scene":0,"scenes":[{"nodes":[0]}],
        "nodes":[{"mesh":0,"skin":0}],"skins":[{"joints":[0]}],"meshes":[{"primitives":[{"attributes":{"POSITION":7}}]}]})");
    ASSERT_TRUE(directory) << m_errors;
    EXPECT_NE(m_warnings.find("are left out"), std::string::npos) << m_warnings;
    EXPECT_TRUE(save(*directory, "out.glb")) << m_errors;
}

TEST_F(GltfFaults, BrokenBinaryFiles)
{
    const std::string json = R"({"asset":{"version":"2.0"}} )"; // 28 bytes
    auto word = [](uint32_t value) { return std::string(reinterpret_cast<const char*>(&value), 4); };
    auto glb = [&](uint32_t version, uint32_t length, uint32_t jsonBytes, const std::string& kind)
    { return "glTF" + word(version) + word(length) + word(jsonBytes) + kind + json; };
    const struct
    {
        std::string bytes;
        const char* line;
    } kCases[] = {
        {"", "is empty"},
        {"glTF", "is cut off within its header"},
        {glb(1, 48, 28, "JSON"), "is binary glTF of version 1, wanted 2"},
        {glb(2, 49, 28, "JSON"), "is 48 bytes long, its header says 49"},
        {glb(2, 48, 29, "JSON"), "chunk 0 ends 1 bytes past the file"},
        {glb(2, 48, 0xffffffff, "JSON"), "chunk 0 ends 4294967267 bytes past the file"},
        {glb(2, 48, 28, std::string("BIN\0", 4)), "first chunk is not JSON"},
        {glb(2, 12, 28, "JSON"), "has no JSON chunk"},
    };
    for (const auto& c : kCases)
    {
        put("scene.glb", c.bytes);
        EXPECT_FALSE(load("scene.glb"));
        EXPECT_EQ(m_errors.substr(0, 11 + std::strlen(c.line)), std::string("scene.glb: ") + c.line) << m_errors;
    }
    put("scene.glb", glb(2, 48, 28, "JSON"));
    EXPECT_TRUE(load("scene.glb")) << m_errors;
}

TEST_F(GltfFaults, DeepNestingTakesNoStack)
{
    const size_t deep = 2000000;
    EXPECT_FALSE(
        loadText(R"({"asset":{"version":"2.0"},"extras":)" + std::string(deep, '[') + std::string(deep, ']') + "}"));
    EXPECT_EQ(m_errors, "scene.gltf: JSON text nests deeper than 512\n");
    const size_t allowed = 511; // the root is one level
    EXPECT_TRUE(loadText(R"({"asset":{"version":"2.0"},"extras":)" + std::string(allowed, '[') +
                         std::string(allowed, ']') + "}"));
}

TEST_F(GltfFaults, FilesOutsideTheFolderNeedLeave)
{
    std::filesystem::create_directories(m_folder / "inner");
    put("data.bin", std::string(44, '\0'));
    const std::string uri = "data:application/octet-stream;base64,";
    std::string text = triangleScene();
    const size_t begin = text.find(uri);
    text.replace(begin, text.find('"', begin) - begin, "../data.bin");
    put("inner/scene.gltf", text);
    EXPECT_FALSE(load("inner/scene.gltf"));
    EXPECT_EQ(m_errors, "inner/scene.gltf: buffer 0 is at \"../data.bin\", outside the scene's folder\n");
    EXPECT_TRUE(load("inner/scene.gltf", true)) << m_errors;
    // The network is nowhere that leave could be given for.
    put("inner/scene.gltf", replaced(text, "../data.bin", "http://example.org/data.bin"));
    EXPECT_FALSE(load("inner/scene.gltf", true));
    // A folder is no buffer, and a path that goes out and comes back is inside.
    put("inner/scene.gltf", replaced(text, "../data.bin", "../inner"));
    EXPECT_FALSE(load("inner/scene.gltf", true));
    put("inner/data file.bin", std::string(44, '\0'));
    put("inner/scene.gltf", replaced(text, "../data.bin", "x/../data%20file.bin"));
    std::filesystem::create_directories(m_folder / "inner/x");
    EXPECT_TRUE(load("inner/scene.gltf")) << m_errors;
}

TEST_F(GltfFaults, IndicesNeverReachPastTheVertices)
{
    // All types of indices, the last one naming vertex 3 of 3.
    for (const int type : {5121, 5123, 5125})
    {
        const size_t bytes = type == 5121 ? 1 : type == 5123 ? 2 : 4;
        std::vector<uint8_t> data = bytesOf<float>({0, 0, 0, 1, 0, 0, 0, 1, 0});
        data.resize(36 + 3 * bytes);
        data[36 + 2 * bytes] = 3;
        std::string text = replaced(triangleScene(), "5123", std::to_string(type));
        text = replaced(text, "\"byteLength\":6", kxFormat("\"byteLength\":%zu", 3 * bytes));
        text = replaced(text, "\"byteLength\":44", kxFormat("\"byteLength\":%zu", data.size()));
        const size_t begin = text.find("data:");
        text.replace(begin, text.find('"', begin) - begin, dataUri(data));
        const auto directory = loadText(text);
        ASSERT_TRUE(directory) << m_errors;
        EXPECT_NE(m_warnings.find("indices past their vertices"), std::string::npos) << type;
        const auto* mesh = kxCast<kxMesh>(static_cast<kxGroup*>(rootOf(*directory)->getChild(0u))->getChild(0u));
        ASSERT_TRUE(mesh);
        EXPECT_EQ(mesh->getChildCount(), 0u);
    }
}

} // namespace

} // namespace Kel::Gltf
