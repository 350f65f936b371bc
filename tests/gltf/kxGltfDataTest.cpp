// Vertex data keep their bytes, however they lie in the file.
#include "tests/gltf/kxGltfTestTools.h"

#include "platform/attrs/kxGeometryAttr.h"
#include "platform/sg/kxGeometry.h"

namespace Kel::Gltf
{

namespace
{

class GltfData : public GltfTest
{
protected:
    /// A scene of one primitive over a buffer: its JSON, the accessors' and the buffer views'.
    static std::string scene(const std::string& primitive, const std::string& accessors, const std::string& views,
                             const std::vector<uint8_t>& bytes)
    {
        return R"({"asset":{"version":"2.0"},"scenes":[{"nodes":[0]}],"nodes":[{"mesh":0}],"meshes":[{"primitives":[)" +
               primitive + "]}],\"accessors\":[" + accessors + "],\"bufferViews\":[" + views +
               kxFormat("],\"buffers\":[{\"byteLength\":%zu,\"uri\":\"%s\"}]}", bytes.size(), dataUri(bytes).c_str());
    }
    static const kxGeometryAttr* dataOf(const kxDirectory& directory)
    {
        const auto* mesh = kxCast<kxMesh>(static_cast<kxGroup*>(rootOf(directory)->getChild(0u))->getChild(0u));
        const auto* geometry = mesh->getChildCount() ? kxCast<kxGeometry>(mesh->getChild(0u)) : nullptr;
        return geometry ? geometry->getGeometryAttr() : nullptr;
    }
    static std::vector<double> valuesOf(const kxVertexArray& array)
    {
        std::vector<double> values;
        for (int64_t i = 0; i < array._count; ++i)
            for (uint32_t c = 0; c < array._componentCount; ++c)
                values.push_back(array.getComponent(i, c));
        return values;
    }
    /// Loads the text, writes it as .glb and .gltf, and compares each array of the first primitive.
    void expectSameArrays(const std::string& text, const std::map<std::string, std::vector<double>>& wanted)
    {
        auto directory = loadText(text);
        ASSERT_TRUE(directory) << m_errors;
        for (const char* name : {"", "out.glb", "out.gltf"})
        {
            SCOPED_TRACE(name);
            if (*name)
            {
                ASSERT_TRUE(save(*directory, name)) << m_errors;
                directory = load(name);
                ASSERT_TRUE(directory) << m_errors;
            }
            const kxGeometryAttr* data = dataOf(*directory);
            ASSERT_TRUE(data);
            for (const auto& [semantic, values] : wanted)
            {
                const kxVertexArray* array = semantic == "indices" ? data->_indices.get() : data->getArray(semantic);
                ASSERT_TRUE(array) << semantic;
                EXPECT_EQ(valuesOf(*array), values) << semantic;
            }
        }
        open("out.gltf");
    }
};

TEST_F(GltfData, TypesAreKept)
{
    // Three vertices: positions as normalised shorts, in eight bytes each; colours as bytes in four; strips, byte indices.
    std::vector<uint8_t> bytes = bytesOf<int16_t>({32767, 0, -32767, 0, 0, 16384, 0, 0, -32768, 1, 2, 0});
    const std::vector<uint8_t> colours = {255, 0, 51, 9, 0, 255, 0, 9, 102, 0, 0, 9}, indices = {0, 1, 2, 1};
    bytes.insert(bytes.end(), colours.begin(), colours.end());
    bytes.insert(bytes.end(), indices.begin(), indices.end());
    expectSameArrays(
        scene(
            R"({"attributes":{"POSITION":0,"COLOR_0":1},"indices":2,"mode":5})",
            R"({"bufferView":0,"componentType":5122,"normalized":true,"count":3,"type":"VEC3","name":"p"},)"
            R"({"bufferView":1,"componentType":5121,"normalized":true,"count":3,"type":"VEC3","min":[0,0,0],"max":[255,255,51]},)"
            R"({"bufferView":2,"componentType":5121,"count":4,"type":"SCALAR"})",
            R"({"buffer":0,"byteLength":24,"byteStride":8},{"buffer":0,"byteOffset":24,"byteLength":12,"byteStride":4},)"
            R"({"buffer":0,"byteOffset":36,"byteLength":4})",
            bytes),
        {{"POSITION", {1, 0, -1, 0, 16384 / 32767.0, 0, -1, 1 / 32767.0, 2 / 32767.0}},
         {"COLOR_0", {1, 0, 0.2, 0, 1, 0, 0.4, 0, 0}},
         {"indices", {0, 1, 2, 1}}});
    EXPECT_EQ(at("meshes/0/primitives/0/mode"), "5");
    EXPECT_EQ(at("accessors/0"),
              R"({"name":"p","bufferView":0,"componentType":5122,"normalized":true,"count":3,"type":"VEC3",)"
              R"("min":[-32768,0,-32767],"max":[32767,16384,2]})");
    // Bounds stay where they were given; each vertex starts at a multiple of four bytes.
    EXPECT_EQ(at("accessors/1/max"), "[255,255,51]");
    EXPECT_EQ(at("accessors/2/max"), "");
    EXPECT_EQ(at("bufferViews/0/byteStride") + at("bufferViews/1/byteStride"), "84");
    EXPECT_EQ(at("accessors/2/componentType"), "5121");
}

TEST_F(GltfData, InterleavedAttributesShareTheirBytes)
{
    const std::string text =
        scene(R"({"attributes":{"POSITION":0,"NORMAL":1}})",
              R"({"bufferView":0,"byteOffset":0,"componentType":5126,"count":2,"type":"VEC3"},)"
              R"({"bufferView":0,"byteOffset":12,"componentType":5126,"count":2,"type":"VEC3"})",
              R"({"buffer":0,"byteLength":48,"byteStride":24})", bytesOf<float>({1, 2, 3, 0, 0, 1, 4, 5, 6, 0, 1, 0}));
    expectSameArrays(text, {{"POSITION", {1, 2, 3, 4, 5, 6}}, {"NORMAL", {0, 0, 1, 0, 1, 0}}});
    EXPECT_EQ(at("accessors/0/min"), "[1,2,3]");
    const auto directory = loadText(text);
    const kxVertexArrayList& arrays = *dataOf(*directory)->_arrays;
    EXPECT_EQ(arrays[0]->_data.get(), arrays[1]->_data.get());
}

TEST_F(GltfData, ArraysViewTheFileUnlessTheyLieAskew)
{
    put("data.bin", std::string(60, '\0'));
    auto text = [](int offset)
    {
        return replaced(
            R"({"asset":{"version":"2.0"},"scenes":[{"nodes":[0]}],"nodes":[{"mesh":0}],"meshes":[{"primitives":)"
            R"([{"attributes":{"POSITION":0}}]}],"accessors":[{"bufferView":0,"componentType":5126,"count":3,)"
            R"("type":"VEC3"}],"bufferViews":[{"buffer":0,"byteOffset":@,"byteLength":36}],)"
            R"("buffers":[{"uri":"data.bin","byteLength":60}]})",
            "@", std::to_string(offset));
    };
    for (const int offset : {8, 9})
    {
        const auto directory = loadText(text(offset));
        ASSERT_TRUE(directory) << m_errors;
        EXPECT_EQ(dataOf(*directory)->_arrays->get(0)->_data->getOwner() != nullptr, offset == 8);
        EXPECT_EQ(m_warnings.empty(), offset == 8);
    }
}

TEST_F(GltfData, SparseValuesAreResolvedAndWrittenShortest)
{
    // 100 zeros but for two; and three vertices of which two differ from those of a view.
    std::vector<uint8_t> bytes = bytesOf<uint16_t>({7, 99});
    for (const auto& part : {bytesOf<float>({1, 2, 3, 4, 5, 6}), bytesOf<float>({9, 9, 9, 8, 8, 8, 7, 7, 7})})
        bytes.insert(bytes.end(), part.begin(), part.end());
    std::vector<double> few(300), three = {1, 2, 3, 8, 8, 8, 4, 5, 6};
    few[21] = 1, few[22] = 2, few[23] = 3, few[297] = 4, few[298] = 5, few[299] = 6;
    expectSameArrays(
        scene(R"({"attributes":{"POSITION":0}})",
              R"({"componentType":5126,"count":100,"type":"VEC3","sparse":{"count":2,"indices":{"bufferView":0,)"
              R"("componentType":5123},"values":{"bufferView":1}}})",
              R"({"buffer":0,"byteLength":4},{"buffer":0,"byteOffset":4,"byteLength":24})", bytes),
        {{"POSITION", few}});
    EXPECT_EQ(at("accessors/0/sparse/count") + at("accessors/0/sparse/indices/componentType"), "25121");
    EXPECT_EQ(at("accessors/0/bufferView"), "");
    EXPECT_EQ(at("accessors/0/max"), "[4,5,6]");

    bytes[2] = 0, bytes[0] = 0, bytes[2] = 2; // elements 0 and 2
    expectSameArrays(
        scene(
            R"({"attributes":{"POSITION":0}})",
            R"({"bufferView":2,"componentType":5126,"count":3,"type":"VEC3","sparse":{"count":2,"indices":{"bufferView":0,)"
            R"("componentType":5123},"values":{"bufferView":1}}})",
            R"({"buffer":0,"byteLength":4},{"buffer":0,"byteOffset":4,"byteLength":24},)"
            R"({"buffer":0,"byteOffset":28,"byteLength":36})",
            bytes),
        {{"POSITION", three}});
    EXPECT_EQ(at("accessors/0/sparse"), "");
}

TEST_F(GltfData, AllZeroSparseValuesStayValid)
{
    expectSameArrays(
        scene(R"({"attributes":{"POSITION":0}})",
              R"({"componentType":5126,"count":100,"type":"VEC3","sparse":{"count":1,"indices":{"bufferView":0,)"
              R"("componentType":5121},"values":{"bufferView":1}}})",
              R"({"buffer":0,"byteLength":4},{"buffer":0,"byteOffset":4,"byteLength":12})", std::vector<uint8_t>(16)),
        {{"POSITION", std::vector<double>(300)}});
    EXPECT_EQ(at("accessors/0/sparse/count"), "1");
}

TEST_F(GltfData, MorphTargetsKeepNamesAndWeights)
{
    const std::string text =
        replaced(scene(R"({"attributes":{"POSITION":0},"targets":[{"POSITION":1},{"POSITION":0}]})",
                       R"({"bufferView":0,"componentType":5126,"count":1,"type":"VEC3"},)"
                       R"({"bufferView":0,"byteOffset":12,"componentType":5126,"count":1,"type":"VEC3"})",
                       R"({"buffer":0,"byteLength":24})", bytesOf<float>({1, 2, 3, 4, 5, 6})),
                 "\"primitives\"", R"("weights":[0.25,0.5],"extras":{"a":1,"targetNames":["up","down"]},"primitives")");
    roundTrip(replaced(text, "\"mesh\":0", "\"mesh\":0,\"weights\":[1,0]"));
    EXPECT_EQ(at("meshes/0/weights"), "[0.25,0.5]");
    EXPECT_EQ(at("meshes/0/extras"), R"({"a":1,"targetNames":["up","down"]})");
    EXPECT_EQ(at("nodes/0/weights"), "[1,0]");
    EXPECT_EQ(at("meshes/0/primitives/0/targets"), R"([{"POSITION":1},{"POSITION":0}])");
    EXPECT_EQ(at("accessors/1/min"), "[4,5,6]");

    const auto directory = loadText(text);
    const kxGeometryAttr* data = dataOf(*directory);
    EXPECT_STREQ(data->_morphTargets->get(1)->_name.c_str(), "down");
}

TEST_F(GltfData, EqualBytesAreWrittenOnce)
{
    // Two accessors of the same bytes and one of others; the three share one buffer view.
    roundTrip(scene(R"({"attributes":{"POSITION":0}},{"attributes":{"POSITION":1}},{"attributes":{"POSITION":2}})",
                    R"({"bufferView":0,"componentType":5126,"count":1,"type":"VEC3"},)"
                    R"({"bufferView":0,"componentType":5126,"count":1,"type":"VEC3"},)"
                    R"({"bufferView":0,"byteOffset":12,"componentType":5126,"count":1,"type":"VEC3"})",
                    R"({"buffer":0,"byteLength":24})", bytesOf<float>({1, 2, 3, 4, 5, 6})));
    EXPECT_EQ(count("accessors"), 2u);
    EXPECT_EQ(count("bufferViews"), 1u);
    EXPECT_EQ(at("buffers/0/byteLength"), "24");
    EXPECT_EQ(std::filesystem::file_size(m_folder / "out.bin"), 24u);
}

} // namespace

} // namespace Kel::Gltf
