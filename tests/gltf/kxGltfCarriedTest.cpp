// Whatever a file says of any of its objects stands at the same object afterwards, and bytes stay with the extensions that
// read them.
#include "tests/gltf/kxGltfTestTools.h"

#include "interop/gltf/kxGltfInfo.h"
#include "platform/sg/kxTransform.h"

#include <gmock/gmock.h>

#include <map>

namespace Kel::Gltf
{

namespace
{

using Marks = std::map<std::string, std::string>;

// Places of all marks of a JSON text. Elements of lists go by their names, where they have some: values are packed anew.
void collectMarks(const kxJsonValue& value, const std::string& place, Marks& marks)
{
    if (const kxJsonValue* mark = findMember(value, "mark"))
        marks[place] = printValue(*mark);
    if (value.IsObject())
        for (auto at = value.MemberBegin(); at != value.MemberEnd(); ++at)
            collectMarks(at->value, place + "/" + at->name.GetString(), marks);
    else if (value.IsArray())
        for (rapidjson::SizeType i = 0; i < value.Size(); ++i)
        {
            const kxJsonValue* name = findMember(value[i], "name");
            collectMarks(value[i], place + "/" + (name ? name->GetString() : std::to_string(i)), marks);
        }
}

Marks marksOf(const std::string& text)
{
    kxJsonDocument document;
    std::string fault;
    Marks marks;
    EXPECT_TRUE(document.parseCopy(text, fault)) << fault;
    collectMarks(document.getRoot(), "", marks);
    return marks;
}

// "$" becomes a mark that no other place has, "@" extras and an extension with one.
std::string withMarks(std::string text)
{
    text = replaced(text, "@", R"("extras":$,"extensions":{"ABC_mark":$})");
    std::string marked;
    for (int number = 0; const char c : text)
        marked += c == '$' ? "{\"mark\":" + std::to_string(++number) + ".5}" : std::string(1, c);
    return marked;
}

// An object of every kind that the format has, with something said of each.
std::string everything()
{
    std::vector<uint8_t> bytes(256);
    const std::vector<uint8_t> times = bytesOf<float>({0, 1});
    std::copy(times.begin(), times.end(), bytes.begin() + 248);
    return withMarks(
        R"({"extras":$,"extensions":{"ABC_mark":$,"KHR_lights_punctual":{"lights":[
  {"name":"spot","type":"spot","spot":{"innerConeAngle":0.1,@},@}],@},"KHR_materials_variants":{"variants":[{"name":"v",@}],@}},
"asset":{"version":"2.0",@},"scenes":[{"name":"scene",@,"nodes":[0,1]}],
"nodes":[{"name":"root",@,"children":[2]},
 {"name":"placed","mesh":0,"skin":0,"extras":$,"extensions":{"ABC_mark":$,"KHR_lights_punctual":{"light":0,@},
  "EXT_mesh_gpu_instancing":{"attributes":{"TRANSLATION":4},@}}},
 {"name":"joint","camera":0,@,"children":[3]},{"name":"end","camera":1,@}],
"cameras":[{"name":"p","type":"perspective","perspective":{"yfov":1,"znear":1,@},@},
 {"name":"o","type":"orthographic","orthographic":{"xmag":1,"ymag":1,"znear":0,"zfar":1,@},@}],
"meshes":[{"name":"mesh","weights":[0],"extras":{"mark":0,"targetNames":["t"]},"extensions":{"ABC_mark":$},"primitives":[{
  "attributes":{"POSITION":0},"targets":[{"POSITION":1}],"material":0,"extras":$,"extensions":{"ABC_mark":$,
   "KHR_materials_variants":{"mappings":[{"material":0,"variants":[0],"name":"map",@}],@}}}]}],
"materials":[{"name":"mat","pbrMetallicRoughness":{"metallicFactor":0,"baseColorTexture":{"index":0,@},
   "metallicRoughnessTexture":{"index":0,@},@},
  "normalTexture":{"index":0,"scale":2,"extras":$,"extensions":{"ABC_mark":$,"KHR_texture_transform":{"offset":[1,0],@}}},
  "occlusionTexture":{"index":0,"strength":0.5,@},"emissiveTexture":{"index":0,@},
  "extras":$,"extensions":{"ABC_mark":$,"KHR_materials_sheen":{"sheenColorTexture":{"index":0,@},@}}}],
"textures":[{"name":"tex","source":0,"sampler":0,"extras":$,
  "extensions":{"ABC_mark":$,"EXT_texture_webp":{"source":1,@},"KHR_texture_basisu":{"source":1,@}}}],
"samplers":[{"name":"sampler",@}],
"images":[{"name":"png","uri":"data:image/png;base64,iVBORw0KGgo=",@},{"name":"webp","uri":"data:image/webp;base64,UklGRgAAAABXRUJQ",@}],
"skins":[{"name":"skin","joints":[2,3],@}],
"animations":[{"name":"clip","samplers":[{"input":2,"output":3,@}],"channels":[
  {"sampler":0,"target":{"node":2,"path":"translation",@},@},
  {"sampler":0,"target":{"path":"pointer","extras":$,"extensions":{"ABC_mark":$,
   "KHR_animation_pointer":{"pointer":"/nodes/3/translation",@}}},@}],@}],
"accessors":[{"name":"a0","bufferView":0,"componentType":5126,"count":3,"type":"VEC3",@},
 {"name":"a1","componentType":5126,"count":3,"type":"VEC3","sparse":{"count":1,"indices":{"bufferView":1,"componentType":5121,@},
  "values":{"bufferView":0,@},@},@},
 {"name":"a2","bufferView":2,"componentType":5126,"count":2,"type":"SCALAR",@},
 {"name":"a3","bufferView":0,"componentType":5126,"count":2,"type":"VEC3",@},
 {"name":"a4","bufferView":0,"componentType":5126,"count":2,"type":"VEC3",@}],
"bufferViews":[{"buffer":0,"byteLength":36},{"buffer":0,"byteLength":4},{"buffer":0,"byteOffset":248,"byteLength":8},
 {"name":"v3","buffer":0,"byteOffset":40,"byteLength":5,@}],
"buffers":[{"name":"buffer","byteLength":256,@,"uri":")" +
        dataUri(bytes) + R"("}]})");
}

class GltfCarried : public GltfTest
{
};

TEST_F(GltfCarried, EveryMarkComesBackAtItsObject)
{
    const std::string text = everything();
    const Marks marks = marksOf(text);
    ASSERT_GT(marks.size(), 90u);
    auto directory = loadText(text);
    ASSERT_TRUE(directory) << m_errors;
    EXPECT_THAT(m_warnings, ::testing::Not(::testing::HasSubstr("not carried")));
    for (const char* name : {"out.gltf", "out.glb", "out.kxb"})
    {
        ASSERT_TRUE(save(*directory, name)) << m_errors;
        directory = load(name);
        ASSERT_TRUE(directory) << m_errors;
    }
    ASSERT_TRUE(save(*directory, "last.gltf")) << m_errors;
    EXPECT_EQ(marksOf(get("out.gltf")), marks);
    EXPECT_EQ(marksOf(get("last.gltf")), marks);
}

// Bytes of a written buffer view.
std::string viewBytes(const kxJsonValue& root, const std::string& bin, const std::string& number)
{
    const kxJsonValue& view = (*findMember(root, "bufferViews"))[static_cast<unsigned>(std::stoul(number))];
    uint64_t offset = 0, bytes = 0;
    if (const kxJsonValue* value = findMember(view, "byteOffset"))
    {
        EXPECT_TRUE(readCount(*value, offset));
    }
    EXPECT_TRUE(readCount(*findMember(view, "byteLength"), bytes));
    EXPECT_EQ(offset % 8, 0u);
    return bin.substr(offset, bytes);
}

TEST_F(GltfCarried, BytesStayWithTheExtensionsThatReadThem)
{
    std::vector<uint8_t> bytes(256);
    for (size_t i = 0; i < bytes.size(); ++i)
        bytes[i] = static_cast<uint8_t>(i);
    std::string text = R"({"asset":{"version":"2.0"},"extensions":{
"EXT_structural_metadata":{"schema":{"id":"s"},"propertyTables":[{"class":"c","count":2,
  "properties":{"p":{"values":2,"arrayOffsets":3,"stringOffsets":4,"arrayOffsetType":"UINT8"}}}]},
"MSFT_audio_emitter":{"clips":[{"bufferView":5,"mimeType":"audio/mpeg"}],"emitters":[{"clips":[{"clip":0}]}]},
"ABC_own":{"deep":[{"bufferView":2},{"accessor":1},{"iconTexture":"x","values":3,"bufferView":99}]},
"ABC_pointer":{"to":"/bufferViews/4"}},
"nodes":[{"name":"n","mesh":0,"extras":{"sound":{"bufferView":5},"accessor":99,"n":5},"extensions":{"EXT_instance_features":{"featureIds":[{"propertyTable":0,"attribute":2}]}}}],
"scenes":[{"nodes":[0]}],"meshes":[{"primitives":[{"attributes":{"POSITION":0},"extensions":{
  "EXT_mesh_features":{"featureIds":[{"featureCount":2,"propertyTable":3,"attribute":1,"texture":{"index":1,"channels":[0]}}]}}}]}],
"textures":[{},{"name":"features","source":0}],"images":[{"bufferView":5,"mimeType":"image/png"}],
"accessors":[{"bufferView":0,"componentType":5126,"count":3,"type":"VEC3"},
 {"bufferView":1,"componentType":5121,"count":3,"type":"SCALAR","extensions":{"ABC_of":{"bufferView":6,"accessor":2}}},
 {"bufferView":1,"componentType":5121,"count":1,"type":"SCALAR"}],
"bufferViews":[{"buffer":0,"byteLength":36},{"buffer":0,"byteOffset":36,"byteLength":3},{"buffer":0,"byteOffset":41,"byteLength":5},
 {"buffer":0,"byteOffset":47,"byteLength":3},{"buffer":0,"byteOffset":51,"byteLength":2},{"buffer":0,"byteOffset":60,"byteLength":21},
 {"buffer":0,"byteOffset":90,"byteLength":4},{"buffer":0,"byteOffset":100,"byteLength":9,"name":"nobody's","target":34962},
 {"buffer":1,"byteLength":4}],
"buffers":[{"byteLength":256,"uri":")" +
                       dataUri(bytes) + R"("},{"byteLength":4,"uri":"gone.bin"}]})";
    auto directory = loadText(text);
    ASSERT_TRUE(directory) << m_errors;
    EXPECT_THAT(m_warnings, ::testing::HasSubstr("buffer view 8, buffer 1, \"gone.bin\": "));
    EXPECT_THAT(m_warnings, ::testing::HasSubstr("extension ABC_own is not known")); // "values" may be anything
    EXPECT_THAT(m_warnings,
                ::testing::HasSubstr("bufferViews/99: reference to a thing that is not there becomes -1 (and 1 more)"));
    EXPECT_EQ(std::count(m_warnings.begin(), m_warnings.end(), '\n'), 3) << m_warnings;
    const auto slice = [&](size_t begin, size_t count)
    { return std::string(bytes.begin() + begin, bytes.begin() + begin + count); };
    const auto check = [&](const char* name)
    {
        ASSERT_TRUE(save(*directory, replaced(name, ".gltf", "") + ".gltf")) << m_errors;
        open(name);
        kxJsonDocument document;
        std::string fault;
        ASSERT_TRUE(document.parseCopy(get(name), fault));
        const std::string bin = get(replaced(name, ".gltf", ".bin"));
        const auto bytesAt = [&](const std::string& place) { return viewBytes(document.getRoot(), bin, at(place)); };
        const std::string table = "extensions/EXT_structural_metadata/propertyTables/0/properties/p/";
        EXPECT_EQ(bytesAt(table + "values"), slice(41, 5));
        EXPECT_EQ(bytesAt(table + "arrayOffsets"), slice(47, 3));
        EXPECT_EQ(bytesAt(table + "stringOffsets"), slice(51, 2));
        EXPECT_EQ(bytesAt("extensions/MSFT_audio_emitter/clips/0/bufferView"), slice(60, 21));
        EXPECT_EQ(at("images/0/bufferView"), at("extensions/MSFT_audio_emitter/clips/0/bufferView"));
        EXPECT_EQ(at("nodes/0/extras"),
                  "{\"sound\":{\"bufferView\":" + at("images/0/bufferView") + "},\"accessor\":-1,\"n\":5}");
        EXPECT_EQ(at("extensions/ABC_own/deep/0/bufferView"), at(table + "values"));
        EXPECT_EQ(at("extensions/ABC_own/deep/2"), R"({"iconTexture":"x","values":3,"bufferView":-1})");
        EXPECT_EQ(at("extensions/ABC_pointer/to"), "\"/bufferViews/" + at(table + "stringOffsets") + "\"");
        const std::string accessor = "accessors/" + at("extensions/ABC_own/deep/1/accessor");
        EXPECT_EQ(at(accessor + "/count"), "3");
        EXPECT_EQ(bytesAt(accessor + "/extensions/ABC_of/bufferView"), slice(90, 4));
        EXPECT_EQ(at("accessors/" + at(accessor + "/extensions/ABC_of/accessor") + "/count"), "1");
        // Numbers that count other things stay.
        EXPECT_EQ(at("nodes/0/extensions/EXT_instance_features"),
                  R"({"featureIds":[{"propertyTable":0,"attribute":2}]})");
        EXPECT_EQ(at("meshes/0/primitives/0/extensions/EXT_mesh_features/featureIds/0"),
                  R"({"featureCount":2,"propertyTable":3,"attribute":1,"texture":{"index":1,"channels":[0]}})");
        EXPECT_EQ(count("bufferViews"), 8u);
        size_t nobodys = 0;
        while (nobodys + 1 < count("bufferViews") && at(kxFormat("bufferViews/%zu/name", nobodys)).empty())
            ++nobodys;
        EXPECT_EQ(at(kxFormat("bufferViews/%zu/target", nobodys)), "34962");
        EXPECT_EQ(viewBytes(document.getRoot(), bin, std::to_string(nobodys)), slice(100, 9));
    };
    check("out.gltf");
    for (const char* name : {"out.glb", "out.kxb"})
    {
        ASSERT_TRUE(save(*directory, name)) << m_errors;
        directory = load(name);
        ASSERT_TRUE(directory) << m_errors;
    }
    check("last.gltf");
}

TEST_F(GltfCarried, WhatIsSaidOfPackedDataIsNamed)
{
    std::string text = replaced(triangleScene(), R"("byteOffset":36)", R"("byteOffset":36,"name":"indices")");
    text = replaced(text, R"({"byteLength":44)", R"({"name":"first","byteLength":44)");
    text = text.substr(0, text.size() - 2) + R"(,{"byteLength":1,"extras":1}]})";
    text = replaced(text, R"("byteLength":6})",
                    R"("byteLength":6},{"name":"gone","buffer":1,"byteLength":1,"extras":{"accessor":9}})");
    ASSERT_TRUE(loadText(text)) << m_errors;
    EXPECT_EQ(
        m_warnings,
        "scene.gltf: buffer view 2, its buffer names no file: buffer view that only an extension may use is left out\n"
        "scene.gltf: buffer 1: buffers become one, and what is said of this one is not carried\n"
        "scene.gltf: buffer view 1: values are packed anew, and what is said of their buffer view is not carried\n");
    roundTrip(text);
    EXPECT_EQ(at("buffers/0/name"), "\"first\"");
}

// The triangle, and behind it two buffer views of a byte that nobody knows.
std::string triangleWithViews(const std::string& first, const std::string& second)
{
    return replaced(triangleScene(), R"("byteOffset":36,"byteLength":6})",
                    R"("byteOffset":36,"byteLength":6},{"buffer":0,"byteOffset":42,"byteLength":1,"name":"a")" + first +
                        R"(},{"buffer":0,"byteOffset":43,"byteLength":1,"name":"b")" + second + "}");
}

TEST_F(GltfCarried, DataThatOnlyTheBufferNamesAreWritten)
{
    roundTrip(
        replaced(triangleWithViews("", ""), R"({"byteLength":44)",
                 R"({"extras":{"bufferView":3},"extensions":{"ABC_x":{"bufferView":2,"accessor":1}},"byteLength":44)"));
    const std::string extras = at("buffers/0/extras/bufferView");
    EXPECT_EQ(at("bufferViews/" + extras + "/name"), "\"b\"");
    EXPECT_EQ(at("bufferViews/" + at("buffers/0/extensions/ABC_x/bufferView") + "/name"), "\"a\"");
    EXPECT_EQ(at("buffers/0/extensions/ABC_x/accessor"), at("meshes/0/primitives/0/indices"));
    EXPECT_EQ(std::to_string(get("out.bin").size()), at("buffers/0/byteLength"));
    EXPECT_NE(at("bufferViews/" + extras + "/byteOffset"), "");
}

TEST_F(GltfCarried, SecondWritingGivesTheSameBytes)
{
    const std::string text = triangleWithViews(R"(,"extras":{"bufferView":3},"extensions":{"ABC_x":{"bufferView":4}})",
                                               R"(},{"buffer":0,"byteLength":2,"name":"c")");
    roundTrip(replaced(text, R"("mesh":0)", R"("mesh":0,"extras":{"bufferView":2})"));
    const std::string first = get("out.gltf"), bytes = get("out.bin");
    roundTrip(first);
    EXPECT_EQ(get("out.gltf"), first);
    EXPECT_EQ(get("out.bin"), bytes);
}

TEST_F(GltfCarried, ExtensionsNameTheAccessorOfThePrimitive)
{
    // Of the node, which is written before the primitive, and of the primitive itself.
    std::string text = replaced(triangleScene(), R"("mesh":0)", R"("mesh":0,"extras":{"accessor":0})");
    text = replaced(text, R"("indices":1)", R"("indices":1,"extensions":{"CESIUM_primitive_outline":{"indices":1}})");
    roundTrip(text);
    EXPECT_EQ(count("accessors"), 2u);
    EXPECT_EQ(at("nodes/0/extras/accessor"), at("meshes/0/primitives/0/attributes/POSITION"));
    EXPECT_EQ(at("meshes/0/primitives/0/extensions/CESIUM_primitive_outline/indices"),
              at("meshes/0/primitives/0/indices"));
    EXPECT_EQ(at("bufferViews/" + at("accessors/" + at("nodes/0/extras/accessor") + "/bufferView") + "/target"),
              "34962");
    EXPECT_EQ(get("out.bin").size(), 44u);
}

TEST_F(GltfCarried, BytesOfManyViewsAreWrittenOnce)
{
    // The same bytes again and again, with and without a name, and others that lie over them or over the triangle.
    std::string views, numbers;
    for (int i = 0; i < 20; ++i)
        views += i % 2 ? R"(},{"buffer":0,"byteOffset":42,"byteLength":2)"
                       : R"(},{"buffer":0,"byteOffset":42,"byteLength":2,"name":"n)" + std::to_string(i) + '"';
    const std::string over = R"(},{"buffer":0,"byteOffset":41,"byteLength":3,"name":"over")";
    const std::string scene = replaced(triangleScene(), R"("byteLength":6})", R"("byteLength":6)" + views + over + "}");
    auto directory = loadText(scene);
    ASSERT_TRUE(directory) << m_errors;
    EXPECT_EQ(m_warnings,
              "scene.gltf: buffer view 22: buffer view that nobody refers to lies over others and is left out\n");
    for (const char* name : {"out.kxb", "out.gltf"})
    {
        ASSERT_TRUE(save(*directory, name)) << m_errors;
        directory = load(name);
        ASSERT_TRUE(directory) << m_errors;
    }
    open("out.gltf");
    EXPECT_EQ(get("out.bin").size(), 48u + 4);
    ASSERT_EQ(count("bufferViews"), 22u);
    for (size_t i = 0; i < 20; ++i)
    {
        EXPECT_EQ(at(kxFormat("bufferViews/%zu/name", i + 2)), i % 2 ? "" : kxFormat("\"n%zu\"", i));
        EXPECT_EQ(at(kxFormat("bufferViews/%zu/byteOffset", i + 2)), "48");
    }
    // One that lies over others and is referred to is nobody's to drop.
    roundTrip(replaced(scene, R"("mesh":0)", R"("mesh":0,"extras":{"bufferView":22})"));
    EXPECT_EQ(at("bufferViews/" + at("nodes/0/extras/bufferView") + "/name"), "\"over\"");
}

TEST_F(GltfCarried, IndicesWithinWhatIsKnownInPartAreFollowed)
{
    std::string text = triangleWithViews("", "");
    text =
        replaced(text, R"("asset")",
                 R"("extensions":{"KHR_lights_punctual":{"lights":[{"type":"spot","spot":{"extras":{"bufferView":3},)"
                 R"("extensions":{"ABC_in":{"bufferView":2,"node":0},"ABC_gone":{"bufferView":9}}}}]}},"asset")");
    text =
        replaced(text, R"("type":"VEC3"})",
                 R"("type":"VEC3","sparse":{"count":1,"indices":{"bufferView":1,"componentType":5123},)"
                 R"("values":{"bufferView":0,"extras":{"bufferView":3},"extensions":{"ABC_gone":{"accessor":1}}}}})");
    text = replaced(
        text, R"("asset")",
        R"("materials":[{"pbrMetallicRoughness":{"extras":{"bufferView":3},"extensions":{"ABC_gone":{"bufferView":2}}}}],"asset")");
    roundTrip(text);
    const auto nameAt = [&](const std::string& place) { return at("bufferViews/" + at(place) + "/name"); };
    const std::string spot = "extensions/KHR_lights_punctual/lights/0/spot/", values = "accessors/0/sparse/values/";
    EXPECT_EQ(nameAt(spot + "extras/bufferView"), "\"b\"");
    EXPECT_EQ(nameAt(spot + "extensions/ABC_in/bufferView"), "\"a\"");
    EXPECT_EQ(at(spot + "extensions/ABC_gone/bufferView"), "-1");
    EXPECT_EQ(nameAt(values + "extras/bufferView"), "\"b\"");
    EXPECT_EQ(nameAt("materials/0/pbrMetallicRoughness/extras/bufferView"), "\"b\"");
    EXPECT_EQ(nameAt("materials/0/pbrMetallicRoughness/extensions/ABC_gone/bufferView"), "\"a\"");
    EXPECT_EQ(at(values + "extensions/ABC_gone/accessor"), at("meshes/0/primitives/0/indices"));
    loadText(text);
    EXPECT_EQ(m_warnings, "scene.gltf: extension ABC_in is not known; it is carried as it is, and indices in it may no "
                          "longer fit\n"
                          "scene.gltf: bufferViews/9: reference to a thing that is not there becomes -1\n");
}

TEST_F(GltfCarried, NothingUnusableIsLostWithoutAWord)
{
    const std::string textures =
        R"("textures":[{"extensions":{"MSFT_texture_dds":{"extras":{"e":4.5}},"KHR_texture_basisu":7.5}}],)"
        R"("materials":[{"normalTexture":{"index":0,"extensions":{"KHR_texture_transform":7}}}])";
    std::string text = replaced(triangleScene(), R"("scene":0)", textures + R"(,"scene":0)");
    text = replaced(text, R"("asset")",
                    R"("extensions":{"KHR_lights_punctual":{"lights":[{"type":"spot","spot":7}]}},"asset")");
    roundTrip(replaced(text, R"("indices":1)",
                       R"("indices":1,"material":0,"extensions":{"KHR_materials_variants":{"mappings":[)"
                       R"({"material":0,"variants":["x"]},{"material":0,"variants":["y",0]}]}})"));
    EXPECT_EQ(at("textures/0/extensions"), R"({"MSFT_texture_dds":{"extras":{"e":4.5}},"KHR_texture_basisu":7.5})");
    EXPECT_EQ(at("materials/0/normalTexture/extensions"), R"({"KHR_texture_transform":7})");
    EXPECT_EQ(at("meshes/0/primitives/0/extensions/KHR_materials_variants/mappings"),
              R"([{"variants":[0],"material":0}])");
    loadText(get("scene.gltf"));
    EXPECT_EQ(m_warnings, "scene.gltf: light, spot: property is no object and is left out\n"
                          "scene.gltf: mesh 0, primitive 0: variant that is no number is left out (and 1 more)\n");
}

TEST_F(GltfCarried, ExtrasKeepEveryDigit)
{
    const std::string numbers =
        R"({"big":123456789012345678901234567890,"long":[-0.12345678901234567890123e-5,1.5],"text":"3.14159265358979323846",)"
        R"("close":[0.90071992547409932,0.90071992547409931,9007199254740993.0,-0,-0.0,1e-400,3e-310],)"
        R"("deep":{"extras":{"x":18446744073709551616},"y":1.00000000000000000000001},"last":98765432109876543210})";
    std::string text = replaced(
        triangleScene(), R"("mesh":0)",
        R"("mesh":0,"extras":NUMBERS,"extensions":{"ABC_x":{"extras":NUMBERS}},"translation":[0.10000000149011611938,0,0])");
    text = replaced(text, R"("name":"m0")", R"("name":"m0","extras":{"targetNames":[],"id":123456789012345678901})");
    text = replaced(text, R"({"byteLength":44)", R"({"extras":98765432109876543210,"byteLength":44)");
    roundTrip(replaced(text, "NUMBERS", numbers));
    // In the text itself: whoever parses it loses the digits.
    const std::string written = get("out.gltf");
    EXPECT_THAT(written, ::testing::HasSubstr("\"extras\":" + numbers + "}"));
    EXPECT_THAT(written, ::testing::HasSubstr("\"ABC_x\":{\"extras\":" + numbers + "}"));
    EXPECT_THAT(written, ::testing::HasSubstr(R"("extras":{"targetNames":[],"id":123456789012345678901})"));
    EXPECT_THAT(written, ::testing::HasSubstr(R"("extras":98765432109876543210)"));
    EXPECT_EQ(at("nodes/0/translation"), "[0.1,0,0]"); // elsewhere numbers are numbers

    // Also where extras are written anew, because something joins them.
    roundTrip(
        R"({"asset":{"version":"2.0"},"meshes":[{"primitives":[{"attributes":{"POSITION":0},"targets":[{"POSITION":0}]}],)"
        R"("extras":{"targetNames":["t"],"id":123456789012345678901}}],)"
        R"("accessors":[{"componentType":5126,"count":3,"type":"VEC3"}]})");
    EXPECT_THAT(get("out.gltf"), ::testing::HasSubstr(R"("extras":{"id":123456789012345678901,"targetNames":["t"]})"));
}

TEST_F(GltfCarried, TexturesAreFollowedWhereverExtensionsUseThem)
{
    const std::string uses =
        R"({"layers":[{"inkTexture":{"index":INDEX,"texCoord":2}}],"texture":{"index":INDEX},"index":INDEX})";
    const std::string text =
        R"({"asset":{"version":"2.0"},"textures":[{"name":"t0"},{"name":"t1"}],"materials":[{"name":"m0","normalTexture":{"index":0}},)"
        R"({"name":"m1","extensions":{"ABC_ink":USES}}],"nodes":[{"extensions":{"ABC_sky":USES}},{"mesh":0}],"scenes":[{"nodes":[0,1]}],)"
        R"("meshes":[{"primitives":[{"attributes":{"POSITION":0},"material":1}]}],)"
        R"("accessors":[{"componentType":5126,"count":3,"type":"VEC3"}]})";
    const auto directory = loadText(replaced(replaced(text, "USES", uses), "INDEX", "1"));
    ASSERT_TRUE(directory) << m_errors;
    // The material with the first texture goes, and the texture with it.
    for (uint32_t i = 0; i < directory->getEntryCount(); ++i)
        if (auto* info = kxCast<kxGltfInfo>(directory->getEntry(i)->getObject()))
            info->_unusedMaterials->clear();
    ASSERT_TRUE(save(*directory, "out.gltf")) << m_errors;
    open("out.gltf");
    EXPECT_EQ(at("textures"), R"([{"name":"t1"}])");
    EXPECT_EQ(at("materials/0/extensions/ABC_ink"),
              R"({"layers":[{"inkTexture":{"index":0,"texCoord":2}}],"texture":{"index":0},"index":1})");
    EXPECT_EQ(at("nodes/0/extensions/ABC_sky"), at("materials/0/extensions/ABC_ink"));
}

TEST_F(GltfCarried, PlacesFarOutKeepTheirDigitsUntilTheyAreMoved)
{
    const auto directory = loadText(
        R"({"asset":{"version":"2.0"},"scenes":[{"nodes":[0,1,2,3]}],"nodes":[{"name":"globe","translation":[4198945.173,-171834.03125,4781268.8]},)"
        R"({"name":"matrix","matrix":[1,0,0,0,0,1,0,0,0,0,1,0,6378137.21,0,0.1,1]},{"name":"moved","translation":[4198945.173,0,0]},)"
        R"({"name":"near","translation":[0.123456789012,1000.1,16777216]}]})");
    ASSERT_TRUE(directory) << m_errors;
    EXPECT_FALSE(find(rootOf(*directory), "near")->_userData);
    auto* moved = kxCast<kxTransform>(find(rootOf(*directory), "moved"));
    moved->setParts(kxVec3f(4198946, 0, 0), moved->_rotation, moved->_scale);
    ASSERT_TRUE(save(*directory, "out.gltf")) << m_errors;
    open("out.gltf");
    EXPECT_EQ(at("nodes/0"), R"({"name":"globe","translation":[4198945.173,-171834.03125,4781268.8]})");
    EXPECT_EQ(at("nodes/1"), R"({"name":"matrix","matrix":[1,0,0,0,0,1,0,0,0,0,1,0,6378137.21,0,0.1,1]})");
    EXPECT_EQ(at("nodes/2"), R"({"name":"moved","translation":[4198946,0,0]})");
    EXPECT_EQ(at("nodes/3/translation"), "[0.12345679,1000.1,16777216]");
}

} // namespace

} // namespace Kel::Gltf
