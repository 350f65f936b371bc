#include "opt/image/kxTransformAlpha.h"

#include "tests/opt/image/kxImageTestTools.h"

#include <gtest/gtest.h>

namespace Kel::Opt
{
namespace
{

TEST(kxTransformAlpha, MapsAlphaWithWrapping)
{
    libKXOpt_arkRegister();
    const struct
    {
        float scale;
        int32_t offset;
        uint8_t alpha, wanted;
    } cases[] = {
        {-1.9921875f, 128, 0, 128},
        {-1.9921875f, 128, 1, 128},
        {-1.9921875f, 128, 254, 1},
        {-1.9921875f, 128, 255, 0},
        {1, 0, 77, 77},
        {2, 200, 255, 71},
        {0.5f, 0, 200, 144},
        {1, 256, 3, 3},
        {1, -1, 0, 255},
        {1e-30f, 0, 0, 0},
        {1, INT32_MAX, 255, 254}, // beyond what 31 bits hold
    };
    for (const auto& c : cases)
    {
        auto image = makeTestImage(rgba_8888_32, 5, 3, {1, 2, 3, c.alpha});
        kxNew<kxTransformAlpha>()->scale(image, c.scale, c.offset);
        const uint8_t wanted[4] = {1, 2, 3, c.wanted};
        for (size_t i = 0; i < 15; ++i)
            EXPECT_EQ(std::memcmp(image->getPixels() + 4 * i, wanted, 4), 0) << c.scale << " " << int(c.alpha);
    }
}

TEST(kxTransformAlpha, LeavesTheRestAlone)
{
    libKXOpt_arkRegister();
    auto transform = kxNew<kxTransformAlpha>();
    ImageLog log(*transform);
    transform->scale(nullptr, 2, 0);
    for (const KX_GFX_TEXTURE_FORMAT format : {rgb_888_24, rgba_4444_16, dxt3})
    {
        auto image = makeTestImage(format, 4, 4);
        const std::vector<uint8_t> before = rgbaOf(*image);
        transform->scale(image, 2, 0);
        EXPECT_EQ(rgbaOf(*image), before);
    }
    auto image = makeTestImage(rgba_8888_32, 4, 4);
    const std::vector<uint8_t> before = rgbaOf(*image);
    image->_encoded = kxMemoryBlock::create(1);
    transform->scale(image, 1, 0);
    EXPECT_TRUE(image->_encoded) << "nothing changed, so the file is still good";
    EXPECT_EQ(log.take(), "");
    transform->scale(image, 0, 0);
    EXPECT_EQ(rgbaOf(*image), before);
    EXPECT_EQ(log.take(), "ERROR: kxTransformAlpha cannot divide by a _scale of 0\n");
    transform->setScale(0);
    EXPECT_FALSE(transform->configure(0));
}

} // namespace
} // namespace Kel::Opt
