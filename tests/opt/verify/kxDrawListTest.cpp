#include "opt/verify/kxPictureComparison.h"

#include "opt/libKXOpt.h"
#include "platform/sg/kxTextScene.h"
#include "platform/sg/kxTransform.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cmath>
#include <limits>

namespace Kel::Opt
{

namespace
{

kxSmartPointer<kxNode> readScene(const char* text)
{
    libKXOpt_arkRegister();
    kxSmartPointer<kxNode> root;
    std::string fault;
    EXPECT_TRUE(kxTextScene::parse(text, root, nullptr, fault)) << text << "\n" << fault;
    return root;
}

/// Lines that name what differs; empty for the same picture.
std::vector<std::string> compare(kxNode* a, kxNode* b, const kxPictureComparison::Options& options = {})
{
    kxDrawList listA, listB;
    listA.collect(a);
    listB.collect(b);
    kxPictureComparison comparison(options);
    const bool same = comparison.compare(listA, listB);
    std::vector<std::string> lines = comparison.describe(listA, listB, 20);
    EXPECT_EQ(same, lines.empty());
    return lines;
}

struct PictureCase
{
    const char* name;
    const char* a;
    const char* b;
    const char* difference = nullptr; ///< a part of one of the lines; null for the same picture
};

void checkCases(std::span<const PictureCase> cases)
{
    for (const PictureCase& c : cases)
    {
        SCOPED_TRACE(c.name);
        const auto a = readScene(c.a), b = readScene(c.b);
        const std::vector<std::string> lines = compare(a, b);
        if (c.difference)
            EXPECT_THAT(lines, testing::Contains(testing::HasSubstr(c.difference)));
        else
            EXPECT_THAT(lines, testing::IsEmpty());
        // The other way round what is missing is new, and the same stays the same.
        EXPECT_EQ(compare(b, a).empty(), !c.difference);
    }
}

const PictureCase kStructureCases[] = {
    {"groups and names draw nothing", "Group \"a\"(Group(Geometry \"g\"{tri}))", "Geometry{tri}"},
    {"sharing and order of children", "Group(Geometry#g{tri}, Geometry{quad}, Geometry#g)",
     "Group(Geometry{quad}, Geometry{tri}, Geometry{tri})"},
    {"each path counts", "Group(Geometry#g{tri}, Geometry#g)", "Group(Geometry{tri})", "is only in the first"},
    {"null children", "Group(null, Geometry{tri}, null)", "Geometry{tri}"},
    {"vertex data", "Group(Geometry{tri})", "Group(Geometry \"new\"{quad})", "/kxGroup/new is only in the second"},
    {"both vertex data of one geometry", "Geometry{tri, quad}", "Group(Geometry{tri}, Geometry{quad})"},
    {"products of matrices", "Transform<1 2 3>(Transform<scale 2>(Geometry{tri}))",
     "Transform<1 2 3 scale 2 2 2>(Geometry{tri})"},
    {"a place", "Transform<1 2 3>(Geometry{tri})", "Transform<1 2 3.1>(Geometry{tri})",
     "matrix differs by up to 0.0999"},
    {"a mirror", "Transform<0 0 0 scale 1 1 1>(Geometry{cube})", "Transform<0 0 0 scale -1 1 1>(Geometry{cube})",
     "matrix differs"},
    {"a camera", "Transform<1 0 0>(Camera[yfov=0.5])", "Transform<1 0 0>(Camera[yfov=0.6])", "camera"},
    {"a light's place", "Transform<1 0 0>(LightSet{Light red})", "LightSet{Light red}", "kxLightSet: matrix"},
};

const PictureCase kAttributeCases[] = {
    {"the inner set wins", "AttrSet{Material red}(AttrSet{Material blue}(Geometry{tri}))",
     "AttrSet{Material blue}(Geometry{tri})"},
    {"an override set wins", "OverrideAttrSet{Material red}(AttrSet{Material blue}(Geometry{tri, Material grey}))",
     "AttrSet{Material red}(Geometry{tri})"},
    {"an override set replaces what is above", "AttrSet{Material blue}(OverrideAttrSet{Material red}(Geometry{tri}))",
     "AttrSet{Material red}(Geometry{tri})"},
    {"a set ends with its children", "Group(AttrSet{Material red}(Geometry{tri}), Geometry{quad})",
     "Group(Geometry{quad}, AttrSet{Material red}(Geometry{tri}))"},
    {"the geometry's own", "Geometry{tri, Material red}", "AttrSet{Material red}(Geometry{tri})"},
    {"the order in a set", "AttrSet{Material red, State[state=\"fog\"]}(Geometry{tri})",
     "AttrSet{State[state=\"fog\"], Material red}(Geometry{tri})"},
    {"the first of a kind in a set", "AttrSet{Material red, Material blue}(Geometry{tri})",
     "AttrSet{Material red}(Geometry{tri})"},
    {"units stand side by side",
     "AttrSet{TextureBind<\"a.png\">[unit=0]}(AttrSet{TextureBind<\"b.png\">[unit=1]}(Geometry{tri}))",
     "AttrSet{TextureBind<\"b.png\">[unit=1], TextureBind<\"a.png\">[unit=0]}(Geometry{tri})"},
    {"units are no decoration",
     "AttrSet{TextureBind<\"a.png\">[unit=0], TextureBind<\"b.png\">[unit=1]}(Geometry{tri})",
     "AttrSet{TextureBind<\"b.png\">[unit=0], TextureBind<\"a.png\">[unit=1]}(Geometry{tri})", "has another image"},
    {"another value", "AttrSet{Material red}(Geometry{tri})", "AttrSet{Material blue}(Geometry{tri})",
     "kxMaterialAttr differs"},
    {"an attribute that is gone", "AttrSet{Material red}(Geometry{tri})", "Geometry{tri}", "kxMaterialAttr is gone"},
    {"an attribute that is new", "Geometry{tri}", "AttrSet{Material red}(Geometry{tri})", "kxMaterialAttr is new"},
    {"what is set for nothing", "Group(AttrSet{Material red}, Geometry{tri})", "Geometry{tri}"},
    {"a pass and a set", "Shader[passes=(ShaderPass{Material red})](Geometry{tri})",
     "AttrSet{Material red}(Shader[passes=(ShaderPass)](Geometry{tri}))"},
    {"each pass draws", "Shader[passes=(ShaderPass{Material red}, ShaderPass{Material blue})](Geometry{tri})",
     "Shader[passes=(ShaderPass{Material red}, ShaderPass{Material red})](Geometry{tri})", "kxMaterialAttr"},
    {"light states of several lights",
     "LightStateSet{LightState[light=Light red]}(LightStateSet{LightState[light=Light blue]}(Geometry{tri}))",
     "LightStateSet{LightState[light=Light blue], LightState[light=Light red]}(Geometry{tri})"},
    {"a light that is off", "LightStateSet{LightState[enabled=false]}(Geometry{tri})", "LightStateSet(Geometry{tri})",
     "kxLightStateAttr is gone"},
};

const PictureCase kConditionCases[] = {
    {"positions in a switch", "Switch<0>(Geometry{tri}, Geometry{quad})", "Switch<0>(Geometry{quad}, Geometry{tri})",
     "conditions of the path differ"},
    {"a child between", "Switch<0>(Geometry{tri}, Group, Geometry{quad})", "Switch<0>(Geometry{tri}, Geometry{quad})",
     "conditions of the path differ"},
    {"ranges", "Lod<0 10 100>(Geometry{tri}, Geometry{quad})", "Lod<0 20 100>(Geometry{tri}, Geometry{quad})",
     "conditions"},
    {"a choice that is none", "Transform<1 0 0>(Lod<0>(Geometry{tri}))", "Transform<1 0 0>(Geometry{tri})"},
    {"a choice of one", "Lod<5>(Geometry{tri})", "Geometry{tri}", "conditions"},
    {"positions in a mesh", "Mesh(Geometry{tri}, Geometry{quad})", "Group(Geometry{quad}, Geometry{tri})"},
    {"what draws nothing has no conditions", "Group(Lod<0 10>(Group), Geometry{tri})", "Geometry{tri}"},
    {"the place of a level of detail", "Transform<1 0 0>(Lod<0 10>(Geometry{tri}))",
     "Lod<0 10>(Transform<1 0 0>(Geometry{tri}))", "place of"},
    {"the place of a billboard", "Transform<1 0 0>(Billboard(Geometry{tri}))",
     "Billboard(Transform<1 0 0>(Geometry{tri}))", "place of"},
    {"what moves", "Group(Transform^ \"arm\"<1 0 0>(Geometry{tri}))",
     "Group(Transform^ \"arm\"<1 0 0>, Transform<1 0 0>(Geometry{tri}))", "conditions of the path differ"},
    {"the name that a track finds", "Transform^ \"arm\"<1 0 0>", "Transform^ \"leg\"<1 0 0>", "driven node /arm"},
    {"the matrix that a track replaces", "Transform<1 0 0>(Transform^ \"arm\"<1 0 0>)", "Transform^ \"arm\"<2 0 0>",
     "own matrix of driven node"},
    {"bones count without anything below", "Group(Joint \"hip\"<1 0 0>)", "Group",
     "driven node /kxGroup/hip is only in the first"},
    {"a skin places what follows bones", "Transform<1 0 0>(Actor[skin=Skin](Geometry{skinned}))",
     "Actor[skin=Skin](Geometry{skinned})"},
    {"a skin leaves the rest", "Transform<1 0 0>(Actor[skin=Skin](Geometry{tri}))", "Actor[skin=Skin](Geometry{tri})",
     "matrix differs"},
    {"morph weights", "MorphInstance<0.5>(Geometry{morphed})", "MorphInstance<0.6>(Geometry{morphed})", "conditions"},
};

} // namespace

TEST(kxDrawList, SeesStructure)
{
    checkCases(kStructureCases);
}

TEST(kxDrawList, ResolvesAttributes)
{
    checkCases(kAttributeCases);
}

TEST(kxDrawList, SeesConditionsAndPlaces)
{
    checkCases(kConditionCases);
}

TEST(kxDrawList, ImagesCanBeLeftOut)
{
    const auto a = readScene("AttrSet{TextureBind<\"a.png\">}(Geometry{tri})");
    const auto b = readScene("AttrSet{TextureBind<\"b.png\">}(Geometry{tri})");
    EXPECT_THAT(compare(a, b), testing::ElementsAre(testing::HasSubstr("kxTextureBindAttr has another image")));
    EXPECT_THAT(compare(a, b, {1e-5, true}), testing::IsEmpty());
}

// Two scenes of one file are not one picture: what moves from one to the other is seen.
TEST(kxDrawList, ScenesStayApart)
{
    const auto tri = readScene("Geometry{tri}"), quad = readScene("Geometry{quad}");
    kxDrawList a, b;
    a.collect(tri);
    a.collect(quad);
    b.collect(quad);
    b.collect(tri);
    EXPECT_FALSE(kxPictureComparison().compare(a, b));
}

// A list in another order, with matrices that differ by rounding and scales far apart: every draw finds its partner.
TEST(kxPictureComparison, FindsPartnersWithinTheTolerance)
{
    const auto makeScene = [](bool reversed, float error)
    {
        const auto root = kxNew<kxGroup>();
        const auto geometry = readScene("Geometry{tri}");
        for (int i = 0; i < 400; ++i)
        {
            const int n = reversed ? 399 - i : i;
            const float scale = n % 7 == 0 ? 1000.f : 1.f;
            const auto transform = kxNew<kxTransform>();
            transform->setParts({float(n % 20) * (1 + error), float(n / 20), 0}, {1, 0, 0, 0},
                                {scale * (1 - error), scale, scale});
            transform->appendChild(geometry);
            root->appendChild(transform);
        }
        return root;
    };
    const auto original = makeScene(false, 0);
    EXPECT_THAT(compare(original, makeScene(true, 0)), testing::IsEmpty());
    EXPECT_THAT(compare(original, makeScene(true, 3e-6f)), testing::IsEmpty());
    EXPECT_THAT(compare(original, makeScene(true, 3e-4f)), testing::SizeIs(testing::Gt(1)));
    EXPECT_THAT(compare(original, makeScene(true, 3e-4f), {1e-3, false}), testing::IsEmpty());
}

// Broken files hold such numbers; they must neither hang the matching nor make a picture unlike itself.
TEST(kxPictureComparison, TakesNumbersThatAreNone)
{
    const auto makeScene = [](float x)
    {
        const auto root = kxNew<kxGroup>();
        for (float y : {1.f, x, 2.f, x})
        {
            kxMatrix44f matrix;
            matrix[3][0] = x;
            matrix[0][1] = y;
            const auto transform = kxNew<kxTransform>();
            transform->setMatrix(matrix);
            transform->appendChild(readScene("Geometry{tri}"));
            root->appendChild(transform);
        }
        return root;
    };
    const float nan = std::numeric_limits<float>::quiet_NaN(), infinity = std::numeric_limits<float>::infinity();
    for (float x : {nan, infinity, -infinity})
    {
        EXPECT_THAT(compare(makeScene(x), makeScene(x)), testing::IsEmpty()) << x;
        EXPECT_THAT(compare(makeScene(x), makeScene(0)), testing::Not(testing::IsEmpty())) << x;
    }
}

TEST(kxPictureComparison, NamesSoManyAndCountsTheRest)
{
    const auto a = readScene("Group(Geometry{tri}, Geometry{tri}, Geometry{tri}, Geometry{tri})");
    kxDrawList listA, listB;
    listA.collect(a);
    listB.collect(readScene("Group"));
    kxPictureComparison comparison;
    EXPECT_FALSE(comparison.compare(listA, listB));
    EXPECT_THAT(comparison.getOnlyInA(), testing::ElementsAre(0, 1, 2, 3));
    EXPECT_THAT(comparison.describe(listA, listB, 1),
                testing::ElementsAre("geometry /kxGroup/kxGeometry is only in the first", "and 3 more"));
}

} // namespace Kel::Opt
