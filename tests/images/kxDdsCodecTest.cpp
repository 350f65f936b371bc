// Heads of DDS files that this library does not write.
#include "interop/images/libKXImageIO.h"
#include "platform/core/kxReport.h"
#include "platform/gfx/kxImage.h"
#include "platform/gfx/kxImageCodec.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>

namespace Kel::Gfx
{
namespace
{

TEST(kxDdsCodec, SecondHeadsAndFormatsByNumber)
{
    libKXImageIO_arkRegister();
    kxImageFileForm form;
    auto wide = kxNew<kxImage>();
    ASSERT_TRUE(wide->setSize(6, 4, rgba_8888_32));
    for (uint32_t i = 0; i < 6 * 4 * 4; ++i)
        wide->getWritablePixels()[i] = static_cast<uint8_t>(i % 4 == 3 ? 255 : 2 * i);
    wide->_mimeType = "image/vnd-ms.dds";
    ASSERT_TRUE(kxImageCodec::encodeForFile(*wide, false, form));
    const struct
    {
        uint32_t letters;
        uint32_t second[4]; // format, dimensions + 1, flags, layers
        const char* fault;
    } cases[] = {
        {0x30315844, {87, 3, 0, 1}, nullptr}, // colours with alpha
        {0x30315844, {88, 3, 0, 1}, nullptr}, // and with a byte that means nothing
        {0x30315844, {87, 3, 4, 1}, "a cube"}, {0x30315844, {87, 0, 0, 1}, "a volume"},
        {0x30315844, {87, 3, 0, 2}, "a list"}, {0x30315844, {2, 3, 0, 1}, "format 2 "},
        {0x55344342, {}, "format BC4U "},      {10, {}, "format 10 "}, // a line feed, taken for a letter
    };
    for (const auto& c : cases)
    {
        std::vector<uint8_t> bytes(form.bytes->getData(), form.bytes->getData() + form.bytes->getSize());
        bytes[80] = 4; // four letters
        std::memcpy(&bytes[84], &c.letters, 4);
        const auto* second = reinterpret_cast<const uint8_t*>(c.second);
        bytes.insert(bytes.begin() + 128, second, second + 16);
        bytes.insert(bytes.begin() + 144, 4, 0);
        auto again = kxNew<kxImage>();
        again->_encoded = kxMemoryBlock::copyOf(bytes.data(), bytes.size());
        const kxReportCollector collector;
        SCOPED_TRACE(testing::Message() << c.letters << " " << c.second[0]);
        EXPECT_EQ(again->ensurePixels(), c.fault == nullptr);
        EXPECT_EQ(std::count(collector.m_errors.begin(), collector.m_errors.end(), '\n'), c.fault ? 1 : 0);
        if (c.fault)
        {
            EXPECT_NE(collector.m_errors.find(c.fault), std::string::npos) << collector.m_errors;
            continue;
        }
        EXPECT_EQ(again->getFormat(), c.second[0] == 87 ? rgba_8888_32 : rgb_888_24);
        ASSERT_TRUE(again->convert(rgba_8888_32, again));
        EXPECT_EQ(std::memcmp(again->getPixels(), wide->getPixels(), wide->getByteSize()), 0);
    }
}

} // namespace
} // namespace Kel::Gfx
