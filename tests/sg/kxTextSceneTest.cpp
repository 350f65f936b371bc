#include "platform/sg/kxTextScene.h"

#include "platform/attrs/kxMaterialAttr.h"
#include "platform/sg/kxGeometry.h"
#include "platform/sg/kxTransform.h"
#include "tests/support/kxGolden.h"
#include "tests/support/kxPlainDrawList.h"
#include "tests/support/kxRandomScene.h"

#include <gtest/gtest.h>

#include <set>

namespace Kel::Test
{
namespace
{

TEST(kxTextScene, PrintsWhatItReads)
{
    // Each is its own shortest form.
    const char* texts[] = {
        "null",
        "Group",
        "Node \"leaf\"",
        "Group \"a \\\"b\\\" \\\\ \\n\\t\\x01 \xc3\xa9\"(null, Group \"\", null)",
        "Group!~^ \"all marks\"[flags=1]",
        "Transform<1 -2.5 3e+20>",
        "Transform<scale -1>(Transform<scale 1 -1 1>, Transform<1 0 0 scale 2>)",
        "Transform<matrix 1 2 3 4 5 6 7 8 9 10 11 12 13 14 15 nan>",
        "Transform[translation=1,2,3]",
        "Transform[hasParts=true]",
        "Transform<scale 1>[scale=2,2,2]", // parts that the matrix does not agree with
        "Transform<1 0 0>[hasParts=false scale=2,2,2]",
        "Lod<0 10 100>[center=1,2,3](Geometry{tri}, null)",
        "TimeSwitch<-1>[times=0,100 cycle=true]",
        "AttrSet{Material red, Material[alphaMode=BLEND], null, State \"s\"[state=\"fog\" value=0.5]}",
        "Geometry{Material[baseColorFactor=1,0,0,0.5 extensionNames=(\"a\",null,\"b,;) c\")]}",
        "Geometry{tri, tri, tri#2, quad! \"q\", tri#2}",
        "Geometry{TextureBind<\"a.png\">[unit=1], TextureBind[texture=Texture#1<\"a.png\" \"b.png\">],"
        " TextureBind[texture=Texture#1], Texture[imageList=(\"a.png\", Image[uri=\"a.png\"], null)]}",
        "Group(Geometry#1{Material#1 red}, Geometry#2{Material#1}, Geometry#1, AttrSet#1(Geometry#2), AttrSet#1)",
        "Group[boundingVolume=BoundingVolume[box=0,0,0,1,1,1] userData=UserData[extras=\"{}\" references=(Group#1,"
        " Material)]](Group#1)",
        "Shader[passes=(ShaderPass{Material red}, null)](Geometry{skinned, morphed})",
        "LightSet{Light#1 blue[lightType=SPOT]}(LightStateSet{LightState[enabled=false light=Light#1]})",
        "Group(Actor[skin=Skin#1[joints=(Joint#1, null, Joint#2)]], Joint#2(Joint#1), Actor[skin=Skin#1])",
        "InterpretedShader[shaderData=InterpretedShaderData \"d\"[factory=IniShaderFactory[storage=2 text=\"x\"]]]",
        "Mesh[weights=0.5,1 targetNames=(\"a\")](Geometry{GeometrySet{cube, points}})",
        "InstanceArray[arrays=(VertexArray[semantic=\"SCALE\" componentType=UINT8 count=2 stride=1 data=x00ff])]",
    };
    for (const char* text : texts)
    {
        const TestScene scene = parseScene(text);
        EXPECT_EQ(printScene(scene), text);
        EXPECT_EQ(findLinkFaults(scene.root()), "") << text;
    }
}

TEST(kxTextScene, PrintsTheShortestForm)
{
    const struct
    {
        const char* text;
        const char* shortest;
    } cases[] = {
        {" Group\n(\tGroup , null )\r\n", "Group(Group, null)"},
        {"kxGroup(kxGeometry{kxMaterialAttr white})", "Group(Geometry{Material})"},
        {"Group(Geometry#only{Material#m red, tri#x}, AttrSet#b{Material#m})",
         "Group(Geometry{Material#1 red, tri}, AttrSet{Material#1})"},
        {"Switch[_whichChild=2]()", "Switch<2>"},
        {"Group~[flags=192]", "Group~^"},
        {"Group[name=\"n\"]", "Group \"n\""},
        {"Transform<0 0 0 scale 1 1 1>", "Transform"},
        {"Transform[rotation=1,0,0,0]", "Transform[hasParts=true]"},
        {"Transform[matrix=1,0,0,0,0,1,0,0,0,0,1,0,7,0,0,1]", "Transform<7 0 0>"},
        {"Geometry{Material[alphaMode=2 doubleSided=false roughnessFactor=1.0]}",
         "Geometry{Material[alphaMode=BLEND]}"},
        {"Geometry{TextureBind[unit=9 slot=\"normalTexture\"]}", "Geometry{TextureBind[slot=\"normalTexture\"]}"},
        {"Group(Joint#a, Actor[skin=Skin[joints=(Joint#a)]])", "Group(Joint#1, Actor[skin=Skin[joints=(Joint#1)]])"},
    };
    for (const auto& c : cases)
        EXPECT_EQ(normalizeScene(c.text), c.shortest);
}

TEST(kxTextScene, SaysWhereAndWhyItRefusesAText)
{
    const struct
    {
        const char* text;
        const char* fault;
    } cases[] = {
        {"", "1:1: an object is wanted"},
        {"Group(Grup)", "1:7: unknown class Grup"},
        {"Group(\n  Material)", "2:3: Material is no kxNode"},
        {"Group(Group", "1:12: ',' or ')' is wanted"},
        {"Group(Group,)", "1:13: an object is wanted"},
        {"Group(Group))", "1:13: the scene has ended before this"},
        {"Group(Group)(Group)", "1:13: this part stands behind one that it belongs in front of, or is there twice"},
        {"Group{Material}", "1:6: kxGroup has no attributes"},
        {"Camera(Group)", "1:7: kxCamera has no children"},
        {"Group red", "1:7: red is out of place"},
        {"AttrSet{Material purple}", "1:18: unknown colour purple"},
        {"AttrSet{Material~}", "1:17: kxMaterialAttr is no node, so it cannot be dynamic or animated"},
        {"Group# ", "1:7: a label of letters and digits is wanted behind #"},
        {"Group#a(Group#a)", "1:9: Group#a lies within itself"},
        {"Group(Group#a, Group#a{})", "1:23: Group#a was written out before"},
        {"AttrSet{Material#a red, Material#a blue}", "1:36: Material#a was written out before"},
        {"Group \"a", "1:7: the string has no end"},
        {"Group \"\\q\"", "1:9: only \\\" \\\\ \\n \\t and \\x may be escaped"},
        {"Group[colour=1]", "1:7: kxGroup has no field colour that can be set"},
        {"Group[parentList=null]", "1:7: kxGroup has no field parentList that can be set"},
        {"Camera[yfov 1]", "1:13: = is wanted"},
        {"Camera[yfov=1,2]", "1:13: yfov cannot be 1 2"},
        {"Camera[cameraType=WIDE]", "1:19: cameraType cannot be WIDE"},
        {"Lod[center=1,2]", "1:12: center cannot be 1 2"},
        {"Lod[ranges=1,x]", "1:14: a value of the list cannot be x"},
        {"Transform<1 2>", "1:10: 3 numbers, scale and 1 or 3 numbers, or matrix and 16 numbers are wanted"},
        {"Group<1>", "1:6: kxGroup has nothing that stands in angle brackets"},
        {"Geometry{Geometry<3v 1t 0>}",
         "1:18: vertex data that are only summed up cannot be read: such a scene is kept as a file"},
        {"Group[userData=UserData[extras=<99 characters 0>]]",
         "1:32: what is only summed up cannot be read: such a scene is kept as a file"},
        {"InstanceArray[arrays=(VertexArray[count=1 data=x0])]", "1:48: x and two digits for each byte are wanted"},
        {"InstanceArray[arrays=(VertexArray[count=2 stride=4 data=x00000000])]",
         "1:23: vertex array : 2 elements, every 4 bytes from byte 0 on, in data of 4 bytes"},
        {"Actor[skin=Skin[joints=(Joint#1)]]", "1:25: nothing in the scene has this label"},
        {"Actor[skin=Skin[joints=(Joint)]]",
         "1:25: the list does not hold its elements: the label of a kxNode is wanted"},
    };
    for (const auto& c : cases)
    {
        const size_t alive = kxObject::getLiveCount();
        {
            kxSmartPointer<kxNode> root;
            std::string fault;
            EXPECT_FALSE(kxTextScene::parse(c.text, root, nullptr, fault)) << c.text;
            EXPECT_EQ(fault, c.fault) << c.text;
            EXPECT_FALSE(root);
        }
        EXPECT_EQ(kxObject::getLiveCount(), alive) << c.text;
    }
}

TEST(kxTextScene, ReadsObjectsOfAnyClass)
{
    const char* texts[] = {
        "Material red",
        "kxGeometryAttr",
        "NodeList(Group, null)",
        "FloatList(1,2)",
        "StringRefList(\"a\")",
        "Image \"i\"[mimeType=\"image/png\" encoded=x89504e47]",
        "AnimationDatabase[animationList=(Animation \"walk\"[trackList=(AnimationTrack \"hip\"[source="
        "TransformSequence1_5#1[keyFlags=3 times=LongList#1(0,1,2) translations=0,0,0;1,1,1]], AnimationTrack "
        "\"knee\"[source=TransformSequence1_5[times=LongList#1]])])]",
    };
    for (const char* text : texts)
    {
        std::string shortest = text;
        if (const size_t label = shortest.find("5#1"); label != std::string::npos)
            shortest.erase(label + 1, 2);
        const kxSmartPointer<kxObject> object = parseTestObject(text);
        EXPECT_EQ(kxTextScene::print(object), shortest);
    }
}

TEST(kxTextScene, LocksWhatIsMarked)
{
    const TestScene scene = parseScene("Group!(AttrSet{Material#1! red}(Geometry!{tri}), AttrSet{Material#1})");
    ASSERT_EQ(scene.dataPumps->getList()->getCount(), 3u);
    EXPECT_EQ(scene.dataPumps->getList()->get(0)->getDestObj(), scene.root());
    EXPECT_STREQ(scene.dataPumps->getList()->get(1)->getDestObj()->getTypeName(), "kxMaterialAttr");
}

// Gives a field a value that a fresh object does not have; false for kinds that have none as text.
bool changeValue(const kxMetaField& field, void* value)
{
    switch (field.getKind())
    {
    case kxFieldKind::BOOL: *static_cast<bool*>(value) = !*static_cast<bool*>(value); return true;
    case kxFieldKind::INT: *static_cast<int32_t*>(value) += 3; return true;
    case kxFieldKind::UNSIGNED: *static_cast<uint32_t*>(value) += 3; return true;
    case kxFieldKind::LONG: *static_cast<int64_t*>(value) -= INT64_C(5000000000); return true;
    case kxFieldKind::ENUM:
    {
        int32_t& number = *static_cast<int32_t*>(value);
        for (const kxMetaEnum::Value& other : field.getMetaEnum()->getValues())
            if (other.value != number)
            {
                number = other.value;
                break;
            }
        return true;
    }
    case kxFieldKind::FLOAT: *static_cast<float*>(value) += 0.1f; return true;
    case kxFieldKind::VEC2F:
    case kxFieldKind::VEC3F:
    case kxFieldKind::VEC4F:
    case kxFieldKind::QUATF:
    case kxFieldKind::MATRIX44F:
    case kxFieldKind::AABOX: static_cast<float*>(value)[1] = -1.0f / 3; return true;
    case kxFieldKind::STRING: *static_cast<kxStringRef*>(value) = "a \"b\"\n"; return true;
    default: return false;
    }
}

TEST(kxTextScene, ReadsEveryClassAndFieldThatItPrints)
{
    for (kxMetaObject* type : kxMetaObject::getAll())
    {
        const bool isNode = type->isDerivedFrom(kxNode::staticMetaObject());
        if (type->isAbstract() || (!isNode && !type->isDerivedFrom(kxAttr::staticMetaObject())))
            continue;
        const kxSmartPointer<kxObject> object = type->createInstance();
        const kxSmartPointer<kxObject> fresh = parseTestObject(kxTextScene::print(object));
        ASSERT_TRUE(fresh && fresh->isOfExactType(type)) << type->getName().c_str();
        for (const kxMetaField* field : type->getFields())
        {
            if (field->isAppended() || field->hasFlag(kxMetaField::NOT_SAVED) ||
                field->getOwner() == kxGeometryAttr::staticMetaObject())
                continue;
            const kxSmartPointer<kxObject> changed = type->createInstance();
            void* value = field->getAddress(changed.get());
            if (field->getKind() == kxFieldKind::OBJECT)
            {
                auto* list = kxCast<kxListBase>(static_cast<const kxObjectField*>(field)->getObject(value));
                if (!list || kxCast<kxObjectList>(list))
                    continue;
                alignas(16) unsigned char element[sizeof(kxMatrix44f)];
                for (int i = 0; i < 2; ++i)
                {
                    list->getElementField()->constructValue(element);
                    EXPECT_TRUE(changeValue(*list->getElementField(), element));
                    list->appendElement(element);
                }
            }
            else if (!changeValue(*field, value))
                continue;
            const std::string text = kxTextScene::print(changed);
            const kxSmartPointer<kxObject> read = parseTestObject(text);
            ASSERT_TRUE(read) << text;
            EXPECT_EQ(kxTextScene::print(read), text);
            EXPECT_TRUE(field->isValueAlike(field->getAddress(read.get()), value))
                << type->getName().c_str() << "::" << field->getName().c_str() << " in " << text;
        }
    }
}

TEST(kxTextScene, GivesRandomScenesBack)
{
    RandomSceneOptions options;
    options.segments = true;
    options.exactMatrices = false;
    std::set<std::string> classes;
    forRandomScenes(300, options,
                    [&](TestScene& scene) -> std::string
                    {
                        forEachNodeOnce(
                            scene.root(),
                            [](kxNode* node, void* classes)
                            { static_cast<std::set<std::string>*>(classes)->insert(node->getTypeName()); },
                            &classes);
                        const std::string text = printScene(scene);
                        kxSmartPointer<kxNode> root;
                        auto dataPumps = kxNew<kxDataPumpInfo>();
                        std::string fault;
                        if (!kxTextScene::parse(text, root, dataPumps, fault))
                            return fault;
                        const std::string again = printScene(root, dataPumps);
                        if (again != text)
                            return "is printed as " + again;
                        const std::string links = findLinkFaults(root);
                        return links.empty() ? compareDrawLists(drawList(scene.root()), drawList(root)) : links;
                    });
    EXPECT_GE(classes.size(), 30u) << "the generator makes nodes of most classes";
}

TEST(kxTextScene, TakesOrRefusesDamagedTexts)
{
    const std::string_view pieces[] = {"(",  ")",     "{",        "}",   "[",    "]",    "<",   ">",    "\"",
                                       "#1", ",",     "=",        ";",   "null", " ",    "!",   "1e99", "-",
                                       "x0", "Group", "Material", "tri", "\\",   "name", "\xff"};
    TestRandom random(1);
    const size_t alive = kxObject::getLiveCount();
    for (uint32_t seed = 1; seed <= 60; ++seed)
    {
        const std::string text = printScene(makeRandomScene(seed));
        for (int i = 0; i < 50; ++i)
        {
            std::string damaged = text;
            for (uint32_t edits = 1 + random.below(3); edits > 0; --edits)
            {
                const uint32_t place = random.below(static_cast<uint32_t>(damaged.size()));
                const std::string_view piece = pieces[random.below(std::size(pieces))];
                damaged.replace(place, random.oneIn(2) ? random.below(4) : 0, random.oneIn(4) ? "" : piece);
            }
            kxSmartPointer<kxNode> root;
            std::string fault;
            if (kxTextScene::parse(damaged, root, nullptr, fault))
            {
                EXPECT_EQ(normalizeScene(printScene(root)), printScene(root)) << damaged;
                EXPECT_EQ(findLinkFaults(root), "") << damaged;
            }
            else
                EXPECT_NE(fault.find(": "), std::string::npos) << damaged;
        }
    }
    EXPECT_EQ(kxObject::getLiveCount(), alive);
}

TEST(kxTextScene, IsReadAndPrintedAtAnyDepthAndWidth)
{
    auto root = kxNew<kxGroup>();
    kxGroup* last = root;
    for (int i = 0; i < 1000000; ++i)
    {
        auto next = kxNew<kxGroup>();
        last->appendChild(next);
        last = next;
    }
    for (int i = 0; i < 200000; ++i)
        root->appendChild(kxNew<kxTransform>());
    const std::string text = printScene(root);
    const TestScene again = parseScene(text);
    EXPECT_TRUE(printScene(again) == text);
    EXPECT_LT(kxTextScene::print(root, nullptr, kxTextScene::TREE).size(), text.size() * 20) << "the indent is limited";
}

TEST(kxTextScene, PrintsATreeForReading)
{
    const TestScene scene = parseScene(R"(
        Group "root"(Transform!<1 2 3>(Geometry#1 "shared"{cube, Material#1 red}, null),
            AttrSet{Material#1, TextureBind<"wood.png">}(Lod<0 1 2 3 4 5 6 7 8 9>(Geometry#1)),
            Group[userData=UserData[extras="0123456789012345678901234567890123456789012345678901234567890123456789"]],
            InstanceArray[arrays=(VertexArray[semantic="TRANSLATION" componentCount=3 count=1 stride=12
                data=x00000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000])],
            Actor[skin=Skin[skinnedGraph=Group(Geometry#1)]]))");
    expectGolden("sg/tree.txt", kxTextScene::print(scene.root(), scene.dataPumps, kxTextScene::TREE) + "\n");
}

} // namespace
} // namespace Kel::Test
