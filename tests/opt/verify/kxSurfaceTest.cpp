// Cut geometry shows the same picture, damaged geometry does not.
#include "opt/scene/kxGeometryCutter.h"
#include "opt/verify/kxPictureComparison.h"
#include "platform/sg/kxTransform.h"
#include "tests/opt/scene/sheetGeometry.h"
#include "tests/support/kxTestScene.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <functional>

namespace Kel::Opt
{

using namespace Kel::Test;

namespace
{

// Both halves of a quad below a transform.
TestScene cutScene(
    const char* text, const std::function<void(kxGeometry*, kxGeometry*)>& change,
    const std::function<void(kxNode*)>& prepare = [](kxNode*) {})
{
    TestScene scene = parseScene(text);
    prepare(scene.root());
    auto* parent = kxCast<kxGroup>(scene.root());
    const kxSmartPointer<kxGeometry> geometry = kxCast<kxGeometry>(parent->getChild(0u));
    kxGeometryCutter cutter;
    EXPECT_TRUE(cutter.open(geometry));
    const kxAABox half(kxVec3f(-9, -9, -9), kxVec3f(0.25f, 9, 9));
    const kxSmartPointer<kxGeometry> piece = cutter.take(half, kxMemoryPool::getDefault());
    cutter.close();
    parent->appendChild(piece);
    change(geometry, piece);
    return scene;
}

void setNumber(kxGeometry* geometry, const char* semantic, int64_t vertex, uint32_t component, float value)
{
    kxVertexArray* array = geometry->getGeometryAttr()->getArray(semantic);
    std::memcpy(array->_data->getWritableData() + array->_offset + vertex * array->_stride + component * 4, &value, 4);
}

bool isSame(const TestScene& a, const TestScene& b)
{
    kxDrawList listA, listB;
    listA.collect(a.root());
    listB.collect(b.root());
    return kxPictureComparison().compare(listA, listB) && kxPictureComparison().compare(listB, listA);
}

} // namespace

TEST(kxSurface, TellsCutsFromDamage)
{
    struct Row
    {
        const char* what;
        bool same;
        std::function<void(kxGeometry*, kxGeometry*)> change;
    };
    const Row rows[] = {
        {"cut", true, [](kxGeometry*, kxGeometry*) {}},
        {"a piece lost", false, [](kxGeometry*, kxGeometry* piece) { piece->getParent(0)->removeChild(piece); }},
        {"a piece twice", false, [](kxGeometry*, kxGeometry* piece) { piece->getParent(0)->appendChild(piece); }},
        {"a corner moved", false, [](kxGeometry* rest, kxGeometry*) { setNumber(rest, "POSITION", 0, 2, 0.01f); }},
        {"a texture shifted", false,
         [](kxGeometry*, kxGeometry* piece) { setNumber(piece, "TEXCOORD_0", 0, 0, 0.1f); }},
        {"a normal turned round", false, [](kxGeometry*, kxGeometry* piece) { setNumber(piece, "NORMAL", 0, 2, -1); }},
        {"a triangle turned round", false,
         [](kxGeometry* rest, kxGeometry*)
         {
             kxVertexArray* indices = rest->getGeometryAttr()->_indices;
             auto* numbers = reinterpret_cast<uint16_t*>(indices->_data->getWritableData());
             std::swap(numbers[0], numbers[1]);
         }},
        {"an attribute gone", false,
         [](kxGeometry*, kxGeometry* piece) { piece->getGeometryAttr()->_arrays->removeAt(2); }},
        {"a piece with another material", false,
         [](kxGeometry*, kxGeometry* piece)
         { piece->appendAttr(kxCast<kxAttr>(parseTestObject("Material red").get())); }},
        {"a piece elsewhere", false,
         [](kxGeometry*, kxGeometry* piece)
         {
             auto transform = kxNew<kxTransform>();
             transform->setMatrix(kxMatrix44f().setTranslation(kxVec3f(0, 0.001f, 0)));
             kxGroup* parent = piece->getParent(0);
             parent->appendChild(transform);
             transform->appendChild(piece);
             parent->removeChild(piece);
         }},
    };
    for (const Row& row : rows)
        for (const char* text : {"Transform<5 0 0>(Geometry{quad})", "Transform<50000 0 0 scale 3>(Geometry{quad})"})
            EXPECT_EQ(isSame(parseScene(text), cutScene(text, row.change)), row.same) << row.what << " in " << text;
}

// Normals that all lie near one axis: along it their numbers hardly differ, and those of new vertices leave that range.
TEST(kxSurface, NormalsMayTiltALittle)
{
    const char* const kQuad = "Group(Geometry{quad})";
    for (const float tilt : {0.05f, 0.4f})
    {
        auto bend = [&](kxNode* root)
        {
            auto* geometry = kxCast<kxGeometry>(kxCast<kxGroup>(root)->getChild(0u));
            for (int vertex = 0; vertex < 4; ++vertex)
            {
                setNumber(geometry, "NORMAL", vertex, 0, vertex % 2 ? std::sin(tilt) : -std::sin(tilt));
                setNumber(geometry, "NORMAL", vertex, 2, std::cos(tilt));
            }
        };
        const TestScene whole = parseScene(kQuad);
        bend(whole.root());
        const auto isAlike = [&](const std::function<void(kxGeometry*, kxGeometry*)>& change)
        { return isSame(whole, cutScene(kQuad, change, bend)); };
        EXPECT_TRUE(isAlike([](kxGeometry*, kxGeometry*) {})) << tilt;
        EXPECT_FALSE(isAlike([](kxGeometry*, kxGeometry* piece) { setNumber(piece, "NORMAL", 0, 0, 1); })) << tilt;
    }
}

// New vertices of attributes in whole numbers are rounded. What that may take is no room for faults in other data.
TEST(kxSurface, CutsMayRoundByAStep)
{
    using enum kxComponentType;
    struct Attribute
    {
        const char* semantic;
        kxComponentType type;
        uint32_t components;
        float largest;
        std::vector<float> numbers; // little varied, so that a step is much
        float fault;                // steps that count where nothing is rounded; 0 to leave that out
    };
    const Attribute attributes[] = {
        {"NORMAL", INT8, 3, 127, {0, 40, 120, 3, 41, 120, 0, 44, 119, 2, 47, 118}, 8},
        {"NORMAL", INT8, 3, 127, {74, 74, 74, 74, 74, 74, 74, 74, 74, 74, 74, 74}, 0}, // not of length 1
        {"TEXCOORD_0", UINT8, 2, 255, {100, 7, 103, 7, 103, 9, 100, 10}, 1},
        {"WEIGHTS_0", UINT8, 2, 255, {128, 127, 130, 125, 128, 127, 131, 124}, 2},
    };
    const char* const kQuad = "Group(Geometry{quad})";
    for (const Attribute& attribute : attributes)
    {
        // With the number of one vertex off by so many steps.
        const auto setUp = [&](bool isWhole, float steps)
        {
            return [&attribute, isWhole, steps](kxNode* root)
            {
                auto* geometry = kxCast<kxGeometry>(kxCast<kxGroup>(root)->getChild(0u));
                kxVertexArrayList& arrays = *geometry->getGeometryAttr()->_arrays;
                while (arrays.getCount() > 1) // the position stays
                    arrays.removeAt(1);
                std::vector<float> numbers = attribute.numbers;
                numbers[0] += steps;
                for (float& number : numbers)
                    number /= isWhole ? 1 : attribute.largest;
                arrays.append(makeArray("JOINTS_0", UINT8, 2, {0, 1, 0, 1, 0, 1, 0, 1}));
                arrays.append(makeArray(attribute.semantic, isWhole ? attribute.type : FLOAT32, attribute.components,
                                        numbers, isWhole));
            };
        };
        const auto isCutAlike = [&](bool isWhole, float steps)
        {
            const TestScene whole = parseScene(kQuad);
            setUp(isWhole, 0)(whole.root());
            return isSame(whole, cutScene(
                                     kQuad, [](kxGeometry*, kxGeometry*) {}, setUp(isWhole, steps)));
        };
        EXPECT_TRUE(isCutAlike(true, 0)) << attribute.semantic;
        EXPECT_FALSE(isCutAlike(true, 32)) << attribute.semantic;
        if (attribute.fault == 0)
            continue;
        EXPECT_TRUE(isCutAlike(false, 0)) << attribute.semantic;
        EXPECT_FALSE(isCutAlike(false, attribute.fault)) << attribute.semantic;
    }
}

// Numbers of features are compared where all corners of a triangle have the same; and what nobody has cut is rounded nowhere.
TEST(kxSurface, WholeNumbersOfOtherSurfacesAreDifferent)
{
    using enum kxComponentType;
    const char* const kQuad = "Group(Geometry{quad})";
    const auto withNumbers = [&](const char* semantic, const std::vector<float>& numbers, bool normalized)
    {
        return [=](kxNode* root)
        {
            auto* geometry = kxCast<kxGeometry>(kxCast<kxGroup>(root)->getChild(0u));
            geometry->getGeometryAttr()->_arrays->append(
                makeArray(semantic, UINT8, static_cast<uint32_t>(numbers.size() / 4), numbers, normalized));
        };
    };
    struct Row
    {
        const char* semantic;
        std::vector<float> numbers, others;
        bool sameCut, sameWhole;
    };
    const Row rows[] = {
        {"_FEATURE_ID_0", {7, 7, 7, 7}, {7, 7, 7, 7}, true, true},
        {"_FEATURE_ID_0", {7, 7, 7, 7}, {8, 8, 8, 8}, false, false},
        {"_FEATURE_ID_0", {7, 7, 7, 9}, {7, 7, 7, 9}, true, true},
        {"_FEATURE_ID_0", {7, 8, 9, 7}, {8, 9, 10, 8}, false, false},
        {"TEXCOORD_1", {9, 9, 90, 9, 90, 90, 9, 90}, {10, 9, 91, 9, 91, 90, 10, 90}, true, false}, // a step
    };
    for (const Row& row : rows)
    {
        const bool normalized = row.semantic[0] != '_';
        TestScene scene = parseScene(kQuad), other = parseScene(kQuad);
        withNumbers(row.semantic, row.numbers, normalized)(scene.root());
        withNumbers(row.semantic, row.others, normalized)(other.root());
        EXPECT_EQ(isSame(scene, other), row.sameWhole) << row.semantic << row.others[0];
        const auto leave = [](kxGeometry*, kxGeometry*) {};
        const TestScene cut = cutScene(kQuad, leave, withNumbers(row.semantic, row.others, normalized));
        EXPECT_EQ(isSame(scene, cut), row.sameCut) << row.semantic << row.others[0];
    }
}

} // namespace Kel::Opt
