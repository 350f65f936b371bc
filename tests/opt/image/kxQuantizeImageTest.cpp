#include "opt/image/kxQuantizeImage.h"

#include "platform/gfx/kxNearestColor.h"
#include "tests/opt/image/kxImageTestTools.h"

#include <gtest/gtest.h>

#include <cmath>
#include <set>

namespace Kel::Opt
{
namespace
{

class kxQuantizeImageTest : public testing::Test
{
protected:
    void SetUp() override { libKXOpt_arkRegister(); }

    static int quantize(kxImage& image, KX_GFX_TEXTURE_FORMAT format, bool isExact = true)
    {
        return kxNew<kxQuantizeImage>()->quantize(image, format, isExact, l2, largest);
    }
    static inline float l2 = 0, largest = 0;
};

TEST_F(kxQuantizeImageTest, NearestColorsAreThoseOfALinearSearch)
{
    std::mt19937 random(8);
    for (const uint32_t mask : {kxNearestColor::kRgb, kxNearestColor::kRgba, kxNearestColor::kLuminanceAlpha})
        for (const uint32_t count : {1u, 2u, 17u, 256u})
        {
            uint32_t entries[256];
            const uint32_t spread = count == 17 ? 0x3f3f3f3f : 0xffffffff; // some palettes crowd in a corner
            for (uint32_t& entry : entries)
                entry = static_cast<uint32_t>(random()) & spread;
            entries[count / 2] = entries[0]; // of equal entries the first
            kxNearestColor nearest(reinterpret_cast<const uint8_t*>(entries), count, mask);
            std::vector<uint32_t> colors(3000);
            std::vector<uint8_t> indices(colors.size());
            for (uint32_t& color : colors)
                color = static_cast<uint32_t>(random());
            uint32_t largest = 0, wantedLargest = 0;
            uint64_t wantedSum = 0;
            const uint64_t sum = nearest.mapRow(colors.data(), indices.data(), colors.size(), largest);
            for (size_t i = 0; i < colors.size(); ++i)
            {
                uint32_t best = UINT32_MAX, bestIndex = 0, difference = 0;
                for (uint32_t k = 0; k < count; ++k)
                {
                    uint32_t distance = 0, most = 0;
                    for (uint32_t c = 0; c < 32; c += 8)
                    {
                        const int d = static_cast<int>((entries[k] & mask) >> c & 255) -
                                      static_cast<int>((colors[i] & mask) >> c & 255);
                        distance += static_cast<uint32_t>(d * d);
                        most = std::max(most, static_cast<uint32_t>(std::abs(d)));
                    }
                    if (distance < best)
                    {
                        best = distance;
                        bestIndex = k;
                        difference = most;
                    }
                }
                ASSERT_EQ(indices[i], bestIndex);
                ASSERT_EQ(nearest.find(colors[i]).squaredDistance, best);
                wantedSum += best;
                wantedLargest = std::max(wantedLargest, difference);
            }
            EXPECT_EQ(sum, wantedSum);
            EXPECT_EQ(largest, wantedLargest);
        }
}

TEST_F(kxQuantizeImageTest, PalettesHoldBlackWhiteAndTheColors)
{
    const struct
    {
        const char* what;
        KX_GFX_TEXTURE_FORMAT format;
        std::vector<uint8_t> pattern;
        int colors;
    } cases[] = {
        {"black is there already", rgb_888_24, {0, 0, 0}, 2},
        {"white is there already", rgb_888_24, {255, 255, 255}, 2},
        {"transparent black is there already", rgba_8888_32, {0, 0, 0, 0}, 2},
        {"opaque black is another colour", rgba_8888_32, {0, 0, 0, 255}, 3},
        {"one colour", rgb_888_24, {200, 10, 77}, 3},
        {"three colours", rgb_888_24, {200, 10, 77, 0, 0, 255, 90, 90, 90}, 5},
        {"luminance with alpha", la_88_16, {10, 255, 200, 0}, 4},
        {"many pixels of one colour do not stop the cut",
         rgb_888_24,
         {9, 9, 9, 9, 9, 9, 9, 9, 9, 9, 9, 9, 9, 9, 9, 200, 10, 77, 90, 200, 10},
         5},
    };
    for (const auto& c : cases)
    {
        SCOPED_TRACE(c.what);
        auto image = makeTestImage(c.format, 14, 9, c.pattern);
        EXPECT_EQ(quantize(*image, x_8), c.colors);
        ASSERT_EQ(image->getFormat(), x_8);
        EXPECT_EQ(image->getName().str(), "image");
        ASSERT_EQ(image->_clut->_entryCount, static_cast<uint32_t>(c.colors));
        const uint8_t reserved[8] = {0, 0, 0, 0, 255, 255, 255, 255};
        EXPECT_EQ(std::memcmp(image->_clut->getEntries(), reserved, 8), 0);
        EXPECT_LE(largest, 4) << "half a cell";
        EXPECT_EQ(image->_clut->hasAlpha(), c.format != rgb_888_24);
    }
}

TEST_F(kxQuantizeImageTest, ErrorsAreThoseOfTheResult)
{
    for (const KX_GFX_TEXTURE_FORMAT format : {rgb_888_24, rgba_8888_32, la_88_16})
        for (const KX_GFX_TEXTURE_FORMAT target : {x_8, x_4})
        {
            auto source = makeTestImage(format, 61, 37), image = makeTestImage(format, 61, 37);
            const int colors = quantize(*image, target);
            EXPECT_EQ(image->getFormat(), target);
            EXPECT_LE(colors, target == x_4 ? 16 : 256);
            EXPECT_GT(colors, target == x_4 ? 12 : 200);
            const std::vector<uint8_t> before = rgbaOf(*source), after = rgbaOf(*image);
            const std::vector<size_t> bytes = format == la_88_16     ? std::vector<size_t>{0, 3}
                                              : format == rgb_888_24 ? std::vector<size_t>{0, 1, 2}
                                                                     : std::vector<size_t>{0, 1, 2, 3};
            double sum = 0;
            int most = 0;
            for (size_t i = 0; i < before.size(); i += 4)
                for (const size_t c : bytes)
                {
                    const int d = after[i + c] - before[i + c];
                    sum += d * d;
                    most = std::max(most, std::abs(d));
                }
            EXPECT_NEAR(l2, std::sqrt(sum / static_cast<double>(before.size() / 4 * bytes.size())), 1e-4);
            EXPECT_EQ(static_cast<int>(largest), most);

            auto again = makeTestImage(format, 61, 37);
            quantize(*again, target);
            EXPECT_EQ(rgbaOf(*again), after) << "the same in every run";
            auto quick = makeTestImage(format, 61, 37);
            EXPECT_EQ(quantize(*quick, target, false), colors);
            EXPECT_EQ(l2, 0);
        }
}

TEST_F(kxQuantizeImageTest, BoxesAreCutInTheMiddleOfTheLongestWeightedSide)
{
    auto histogram = kxNew<kxImageHistogram_RGBA>();
    // Red over 31 cells of 8 with weight 2, green over 41 of 4 with weight 3: 496 against 492.
    const kxSmartPointer<kxImage> images[] = {makeTestImage(rgba_8888_32, 2, 1, {0, 0, 0, 255, 255, 164, 0, 255})};
    histogram->build(images);
    auto box = kxNew<kxCBBox>(), upper = kxNew<kxCBBox>();
    histogram->initializeBox(*box);
    EXPECT_EQ(box->getMaximum(1), 63u);
    histogram->shrinkBox(*box);
    EXPECT_EQ(box->getMaximum(1), 41u);
    EXPECT_EQ(box->_colorCount, 2u);
    histogram->splitBox(*box, *upper);
    EXPECT_EQ(box->getMaximum(0), 15u);
    EXPECT_EQ(upper->getMinimum(0), 16u);
    EXPECT_EQ(upper->getMaximum(1), 41u);

    const kxSmartPointer<kxImage> equal[] = {makeTestImage(rgba_8888_32, 2, 1, {0, 0, 0, 255, 192, 128, 0, 255})};
    histogram->build(equal); // 24 cells of 8 by 2 and 32 of 4 by 3: 384 both
    histogram->initializeBox(*box);
    histogram->shrinkBox(*box);
    histogram->splitBox(*box, *upper);
    EXPECT_EQ(upper->getMinimum(1), 17u) << "green wins";
    EXPECT_EQ(upper->getMinimum(0), 0u);
}

TEST_F(kxQuantizeImageTest, OtherFormatsAreLeftAlone)
{
    for (const KX_GFX_TEXTURE_FORMAT format : {l_8, a_8, rgb_565_16, dxt1})
    {
        auto image = makeTestImage(format, 8, 8);
        EXPECT_EQ(quantize(*image, x_8), 0);
        EXPECT_EQ(image->getFormat(), format);
    }
}

} // namespace
} // namespace Kel::Opt
