#include "platform/attrs/kxVertexArray.h"

#include "platform/attrs/kxGeometryAttr.h"

#include <gtest/gtest.h>

#include <cstring>
#include <limits>

namespace Kel::Attrs
{
namespace
{

kxSmartPointer<kxVertexArray> makeArray(kxComponentType type, uint32_t componentCount,
                                        const std::vector<uint8_t>& bytes)
{
    auto array = kxNew<kxVertexArray>();
    array->_componentType = type;
    array->_componentCount = componentCount;
    array->_stride = array->getElementBytes();
    array->_data = kxMemoryBlock::copyOf(bytes.data(), bytes.size());
    array->_count = static_cast<int64_t>(bytes.size()) / array->_stride;
    return array;
}

TEST(kxVertexArray, ReadsComponentsOfEveryType)
{
    const struct
    {
        kxComponentType type;
        std::vector<uint8_t> bytes; // one component
        double plain;
        double normalized;
    } cases[] = {
        {kxComponentType::INT8, {0x7f}, 127, 1},
        {kxComponentType::INT8, {0x80}, -128, -1}, // not -128 / 127
        {kxComponentType::UINT8, {0xff}, 255, 1},
        {kxComponentType::INT16, {0x01, 0x80}, -32767, -1},
        {kxComponentType::INT16, {0x00, 0x80}, -32768, -1},
        {kxComponentType::UINT16, {0xff, 0xff}, 65535, 1},
        {kxComponentType::UINT32, {0xff, 0xff, 0xff, 0xff}, 4294967295.0, 4294967295.0},
        {kxComponentType::FLOAT32, {0, 0, 0xc0, 0xbf}, -1.5, -1.5},
    };
    for (const auto& c : cases)
    {
        // Behind another element, so that offsets and strides count.
        std::vector<uint8_t> bytes(3 + 2 * c.bytes.size(), 0x55);
        std::copy(c.bytes.begin(), c.bytes.end(), bytes.end() - static_cast<ptrdiff_t>(c.bytes.size()));
        auto array = makeArray(c.type, 1, bytes);
        array->_offset = 3;
        array->_count = 2;
        EXPECT_EQ(array->getComponent(1, 0), c.plain);
        array->_normalized = true;
        EXPECT_DOUBLE_EQ(array->getComponent(1, 0), c.normalized);
    }
}

TEST(kxVertexArray, ReadsMatricesWhoseColumnsArePadded)
{
    const struct
    {
        kxComponentType type;
        uint32_t componentCount;
        uint32_t bytes;
        std::vector<uint32_t> places; // byte of each component
    } cases[] = {
        {kxComponentType::INT8, 4, 8, {0, 1, 4, 5}},
        {kxComponentType::UINT8, 9, 12, {0, 1, 2, 4, 5, 6, 8, 9, 10}},
        {kxComponentType::INT8, 16, 16, {0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15}},
        {kxComponentType::UINT16, 4, 8, {0, 2, 4, 6}},
        {kxComponentType::INT16, 9, 24, {0, 2, 4, 8, 10, 12, 16, 18, 20}},
        {kxComponentType::FLOAT32, 9, 36, {0, 4, 8, 12, 16, 20, 24, 28, 32}},
    };
    for (const auto& c : cases)
    {
        auto array = kxNew<kxVertexArray>();
        array->_componentType = c.type;
        array->_componentCount = c.componentCount;
        array->_matrix = true;
        ASSERT_EQ(array->getElementBytes(), c.bytes);
        array->_stride = c.bytes;
        array->_count = 1;
        array->_data = kxMemoryBlock::create(c.bytes);
        for (uint32_t component = 0; component < c.componentCount; ++component)
        {
            uint8_t* bytes = array->_data->getWritableData();
            std::memset(bytes, 0, c.bytes);
            const float one = 1;
            if (c.type == kxComponentType::FLOAT32)
                std::memcpy(bytes + c.places[component], &one, sizeof one);
            else
                bytes[c.places[component]] = 1;
            for (uint32_t other = 0; other < c.componentCount; ++other)
                EXPECT_EQ(array->getComponent(0, other), other == component ? 1 : 0)
                    << c.componentCount << ", " << other;
        }
    }
}

TEST(kxVertexArray, ReadsIndicesOfEverySize)
{
    EXPECT_EQ(makeArray(kxComponentType::UINT8, 1, {1, 0xfe})->getIndex(1), 0xfeu);
    EXPECT_EQ(makeArray(kxComponentType::UINT16, 1, {1, 0, 0xfe, 0xff})->getIndex(1), 0xfffeu);
    EXPECT_EQ(makeArray(kxComponentType::UINT32, 1, {0xfe, 0xff, 0xff, 0xff})->getIndex(0), 0xfffffffeu);
}

TEST(kxVertexArray, RefusesElementsOutsideOfItsData)
{
    constexpr int64_t kHuge = std::numeric_limits<int64_t>::max();
    const struct
    {
        int64_t count, offset, stride;
        bool accepted;
    } cases[] = {
        {0, 0, 0, true},         {2, 0, 12, true},      {1, 12, 12, true},
        {1, 12, kHuge, true}, // one element, no stride
        {2, 0, 0, true},         {3, 0, 6, true},       {3, 0, 7, false},
        {2, 1, 12, false},       {1, 13, 0, false},     {-1, 0, 12, false},
        {1, -4, 12, false},      {2, 24, -12, false},   {kHuge, 0, 12, false},
        {kHuge, 0, 1, false},    {1, kHuge, 12, false}, {2, 0, kHuge, false},
        {0, kHuge, kHuge, true},
    };
    for (const auto& c : cases)
    {
        auto array = makeArray(kxComponentType::FLOAT32, 3, std::vector<uint8_t>(24));
        array->_count = c.count;
        array->_offset = c.offset;
        array->_stride = c.stride;
        std::string fault;
        EXPECT_EQ(array->userCheckLoaded(fault), c.accepted) << c.count << " " << c.offset << " " << c.stride;
        EXPECT_EQ(fault.empty(), c.accepted);
    }
    auto array = makeArray(kxComponentType::FLOAT32, 3, std::vector<uint8_t>(24));
    std::string fault;
    array->_componentCount = 5;
    EXPECT_FALSE(array->userCheckLoaded(fault));
    array->_matrix = true;
    array->_componentCount = 3;
    EXPECT_FALSE(array->userCheckLoaded(fault));
    array = kxNew<kxVertexArray>();
    EXPECT_TRUE(array->userCheckLoaded(fault)) << "a fresh array has no elements";
    array->_count = 1;
    EXPECT_FALSE(array->userCheckLoaded(fault)) << "there are no data";
}

TEST(kxGeometryAttr, CountsWhatIsDrawn)
{
    auto data = kxNew<kxGeometryAttr>();
    EXPECT_EQ(data->getTriangleCount(), 0);
    EXPECT_EQ(data->getArray("POSITION"), nullptr);
    auto positions = makeArray(kxComponentType::FLOAT32, 3, std::vector<uint8_t>(12 * 7));
    positions->_semantic = "POSITION";
    data->_arrays->append(nullptr);
    data->_arrays->append(positions);
    EXPECT_EQ(data->getArray("POSITION"), positions);
    data->_arrays->removeAt(0);
    const struct
    {
        kxPrimitiveMode mode;
        int64_t triangles;
    } cases[] = {{kxPrimitiveMode::POINTS, 0},      {kxPrimitiveMode::LINES, 0},
                 {kxPrimitiveMode::LINE_LOOP, 0},   {kxPrimitiveMode::LINE_STRIP, 0},
                 {kxPrimitiveMode::TRIANGLES, 2},   {kxPrimitiveMode::TRIANGLE_STRIP, 5},
                 {kxPrimitiveMode::TRIANGLE_FAN, 5}};
    for (const auto& c : cases)
    {
        data->_primitiveMode = c.mode;
        EXPECT_EQ(data->getDrawCount(), 7);
        EXPECT_EQ(data->getTriangleCount(), c.triangles);
    }
    data->_indices = makeArray(kxComponentType::UINT8, 1, {0, 1});
    EXPECT_EQ(data->getDrawCount(), 2) << "indices count, not vertices";
    EXPECT_EQ(data->getTriangleCount(), 0);
}

} // namespace
} // namespace Kel::Attrs
