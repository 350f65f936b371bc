#include "opt/image/kxResizeImage.h"

#include "opt/framework/kxOptInterface.h"
#include "platform/attrs/kxMaterialAttr.h"
#include "platform/attrs/kxTextureBindAttr.h"
#include "platform/core/kxReport.h"
#include "platform/sg/kxGeometry.h"
#include "platform/sg/kxMaterialVariant.h"
#include "platform/sg/kxOverrideAttrSet.h"
#include "tests/opt/image/kxImageTestTools.h"

#include <gtest/gtest.h>

#include <cmath>
#include <functional>
#include <numbers>

namespace Kel::Opt
{
namespace
{

class kxResizeImageTest : public testing::Test
{
protected:
    void SetUp() override { libKXOpt_arkRegister(); }
};

// Kernels and resampling once more, in double precision and without any of the code under test.

double sinc(double u)
{
    return u == 0 ? 1 : std::sin(std::numbers::pi * u) / (std::numbers::pi * u);
}
double mitchell(double t)
{
    if (t < 1)
        return (7 * t * t * t - 12 * t * t + 16.0 / 3) / 6;
    return t < 2 ? (-7.0 / 3 * t * t * t + 12 * t * t - 20 * t + 32.0 / 3) / 6 : 0;
}
struct ReferenceFilter
{
    FilterType type;
    double support;
    std::function<double(double)> kernel;
};
const ReferenceFilter kFilters[] = {
    {BOX, 0.5, [](double x) { return -0.5 < x && x <= 0.5 ? 1.0 : 0.0; }},
    {TRIANGLE, 1, [](double x) { return std::max(0.0, 1 - std::abs(x)); }},
    {BELL, 1.5,
     [](double x)
     {
         const double t = std::abs(x);
         return t < 0.5 ? 0.75 - t * t : t < 1.5 ? 0.5 * (t - 1.5) * (t - 1.5) : 0;
     }},
    {BSPLINE, 2,
     [](double x)
     {
         const double t = std::abs(x);
         return t < 1 ? t * t * t / 2 - t * t + 2.0 / 3 : t < 2 ? std::pow(2 - t, 3) / 6 : 0;
     }},
    {LANCZOS3, 3, [](double x) { return std::abs(x) < 3 ? sinc(x) * sinc(x / 3) : 0; }},
    {MITCHELL, 2, [](double x) { return mitchell(std::abs(x)); }},
    {GAUSSIAN, 3, [](double x) { return std::abs(x) < 3 ? std::exp(-x * x / (2 * 0.64)) : 0; }},
};

using Plane = std::vector<double>;

Plane resampleAxis(const Plane& in, size_t oldSize, size_t newSize, size_t step, size_t lines, size_t lineStep,
                   const ReferenceFilter& filter)
{
    Plane out(newSize * lines);
    const double ratio = double(oldSize) / double(newSize), stretch = std::max(1.0, ratio);
    for (size_t i = 0; i < newSize; ++i)
    {
        std::vector<double> weights(oldSize);
        double sum = 0;
        for (int j = -int(4 * stretch) - 4; j < int(oldSize) + int(4 * stretch) + 4; ++j)
        {
            const double weight = filter.kernel((j + 0.5 - (double(i) + 0.5) * ratio) / stretch);
            weights[size_t(std::clamp(j, 0, int(oldSize) - 1))] += weight;
            sum += weight;
        }
        for (size_t line = 0; line < lines; ++line)
        {
            double value = 0;
            for (size_t j = 0; j < oldSize; ++j)
                value += weights[j] / sum * in[j * step + line * lineStep];
            // Lines stay lines: the new image has its own strides.
            out[step == 1 ? line * newSize + i : i * lines + line] = value;
        }
    }
    return out;
}

/// Resamples one component after the other by a separable filter.
Plane referenceZoom(const Plane& in, size_t oldWidth, size_t oldHeight, size_t width, size_t height,
                    const ReferenceFilter& filter)
{
    const Plane wide = resampleAxis(in, oldWidth, width, 1, oldHeight, oldWidth, filter);
    return resampleAxis(wide, oldHeight, height, width, width, 1, filter);
}

kxSmartPointer<kxStdFilterFun> filterOf(FilterType type)
{
    switch (type)
    {
    case BOX: return kxNew<kxBoxFilterFun>();
    case TRIANGLE: return kxNew<kxTriangleFilterFun>();
    case BELL: return kxNew<kxBellFilterFun>();
    case BSPLINE: return kxNew<kxBSplineFilterFun>();
    case LANCZOS3: return kxNew<kxLanczos3FilterFun>();
    case MITCHELL: return kxNew<kxMitchellFilterFun>();
    default: return kxNew<kxGaussianFilterFun>();
    }
}

TEST_F(kxResizeImageTest, KernelsAndSupports)
{
    for (const ReferenceFilter& reference : kFilters)
    {
        const auto filter = filterOf(reference.type);
        EXPECT_EQ(filter->getSupport(), reference.type == MITCHELL ? 3 : reference.support);
        for (double x = -4; x <= 4; x += 1.0 / 64)
            EXPECT_NEAR(filter->evaluate(x), reference.kernel(x), reference.type == GAUSSIAN ? 1e-5 : 1e-12)
                << reference.type << " at " << x;
    }
}

double toLight(double coded)
{
    return coded <= 0.04045 ? coded / 12.92 : std::pow((coded + 0.055) / 1.055, 2.4);
}
double toCoded(double light)
{
    return light <= 0.0031308 ? light * 12.92 : 1.055 * std::pow(light, 1 / 2.4) - 0.055;
}

TEST_F(kxResizeImageTest, ZoomIsWithinOneOfTheExactResult)
{
    const uint32_t sizes[][4] = {{24, 18, 12, 9}, {31, 17, 13, 17}, {9, 7, 22, 16},
                                 {40, 6, 3, 11},  {1, 1, 5, 4},     {5, 9, 1, 1}};
    for (const KX_GFX_TEXTURE_FORMAT format : {l_8, la_88_16, rgb_888_24, rgba_8888_32})
        for (const ReferenceFilter& filter : kFilters)
            for (const auto& size : sizes)
                for (const kxZoomMeaning meaning :
                     {kxZoomMeaning::NUMBERS, kxZoomMeaning::COLORS, kxZoomMeaning::LINEAR_COLORS})
                {
                    SCOPED_TRACE(testing::Message() << "format " << format << " filter " << filter.type << " size "
                                                    << size[0] << " meaning " << int(meaning));
                    auto source = makeTestImage(format, size[0], size[1]),
                         target = makeTestImage(format, size[2], size[3]);
                    auto zoom = kxNew<kxZoomImage>();
                    zoom->setSource(source);
                    zoom->setDestination(target);
                    zoom->setFilter(filterOf(filter.type));
                    zoom->setMeaning(meaning);
                    ASSERT_TRUE(zoom->zoom());

                    const size_t components = source->getBytesPerPixel(), pixels = size_t(size[0]) * size[1];
                    const bool hasAlpha = kxImage::hasAlpha(format),
                               isWeighted = hasAlpha && meaning != kxZoomMeaning::NUMBERS;
                    std::vector<Plane> planes(components, Plane(pixels));
                    for (size_t i = 0; i < pixels; ++i)
                        for (size_t c = 0; c < components; ++c)
                        {
                            double value = source->getPixels()[i * components + c] / 255.0;
                            if (meaning == kxZoomMeaning::LINEAR_COLORS && !(hasAlpha && c + 1 == components))
                                value = toLight(value);
                            if (isWeighted && c + 1 < components)
                                value *= source->getPixels()[i * components + components - 1] / 255.0;
                            planes[c][i] = value;
                        }
                    for (Plane& plane : planes)
                        plane = referenceZoom(plane, size[0], size[1], size[2], size[3], filter);
                    for (size_t i = 0; i < size_t(size[2]) * size[3]; ++i)
                        for (size_t c = 0; c < components; ++c)
                        {
                            double value = planes[c][i];
                            const bool isColor = !(hasAlpha && c + 1 == components);
                            // Where next to nothing is left of the alpha nobody sees the colour.
                            if (isWeighted && isColor && planes[components - 1][i] < 0.05)
                                continue;
                            if (isWeighted && isColor)
                                value /= planes[components - 1][i];
                            if (meaning == kxZoomMeaning::LINEAR_COLORS && isColor)
                                value = toCoded(std::clamp(value, 0.0, 1.0));
                            ASSERT_NEAR(target->getPixels()[i * components + c], std::clamp(value * 255, 0.0, 255.0),
                                        1.01)
                                << "pixel " << i << " component " << c;
                        }
                }
}

TEST_F(kxResizeImageTest, TransparentTexelsDoNotBleedAndNormalsStayUnitLength)
{
    auto image = makeTestImage(rgba_8888_32, 8, 8, {10, 200, 30, 255, 255, 0, 255, 0});
    kxNew<kxResizeImage>()->scale(image);
    ASSERT_EQ(image->getWidth(), 4u);
    for (size_t i = 0; i < 16; ++i)
    {
        EXPECT_NEAR(image->getPixels()[4 * i], 10, 1);
        EXPECT_NEAR(image->getPixels()[4 * i + 1], 200, 1);
        EXPECT_NEAR(image->getPixels()[4 * i + 2], 30, 1);
    }
    auto clear = makeTestImage(rgba_8888_32, 8, 8, {90, 60, 30, 0});
    kxNew<kxResizeImage>()->scale(clear);
    EXPECT_NEAR(clear->getPixels()[0], 90, 1) << "colours under full transparency are kept";

    auto normals = makeTestImage(rgb_888_24, 8, 8, {218, 128, 218, 38, 128, 218});
    auto target = makeTestImage(rgb_888_24, 4, 4);
    auto zoom = kxNew<kxZoomImage>();
    zoom->setSource(normals);
    zoom->setDestination(target);
    zoom->setFilter(kxNew<kxBoxFilterFun>());
    zoom->setMeaning(kxZoomMeaning::NORMALS);
    ASSERT_TRUE(zoom->zoom());
    EXPECT_NEAR(target->getPixels()[0], 128, 1);
    EXPECT_NEAR(target->getPixels()[2], 255, 1);
}

TEST_F(kxResizeImageTest, EveryFormatKeepsItsFormat)
{
    for (const kxTextureFormatInfo& info : kTextureFormats)
        for (const FilterType filter : {MITCHELL, NEAREST})
        {
            SCOPED_TRACE(info.format);
            auto image = makeTestImage(info.format, 16, 12);
            if (info.isIndexed())
            {
                const uint8_t colors[8] = {0, 0, 0, 255, 255, 255, 255, 255};
                image->_clut = kxClut::create(colors, 2);
                std::memset(image->getWritablePixels(), 0x11, image->getByteSize());
                if (info.format == x_8)
                    std::memset(image->getWritablePixels(), 1, image->getByteSize());
            }
            auto resize = kxNew<kxResizeImage>();
            resize->setFilterType(filter);
            resize->scale(image);
            EXPECT_EQ(image->getFormat(), info.format);
            EXPECT_EQ(image->getWidth(), 8u);
            EXPECT_EQ(image->getHeight(), 6u);
            EXPECT_EQ(image->getName().str(), "image");
            if (info.isIndexed())
            {
                EXPECT_EQ(rgbaOf(*image)[0], 255);
            }
        }
}

TEST_F(kxResizeImageTest, NewSizesFollowFactorsLimitsAndPowers)
{
    struct Settings
    {
        float factor = 0.5f;
        uint32_t minimum = 1;
        int32_t maximum = -1;
        bool isPower = false;
    };
    const struct
    {
        const char* what;
        Settings settings;
        uint32_t width, height, newWidth, newHeight;
        const char* text;
    } cases[] = {
        {"half", {}, 256, 256, 128, 128, ""},
        {"a single pixel stays", {}, 1, 1, 1, 1, ""},
        {"cut to a whole number", {}, 7, 5, 3, 2, "the new size of the image image is not power of two (3 2)\n"},
        {"the minimum never enlarges",
         {0.5f, 4},
         3,
         3,
         3,
         3,
         "the new size of the image image is not power of two (3 3)\n"},
        {"the minimum holds", {0.1f, 4}, 16, 8, 4, 4, ""},
        {"no power of two", {}, 192, 128, 96, 64, "the new size of the image image is not power of two (96 64)\n"},
        {"raised to powers", {0.5f, 1, -1, true}, 192, 128, 128, 64, ""},
        {"the maximum holds", {2.0f, 1, 16}, 16, 32, 16, 16, ""},
        {"enlarged", {2.0f}, 4, 8, 8, 16, ""},
        {"no minimum and nothing left",
         {0.1f, 0},
         4,
         4,
         4,
         4,
         "the new size of the image image is not power of two (0 0)\n"},
        {"a factor below 0", {-1.0f}, 4, 4, 1, 1, ""},
    };
    for (const auto& c : cases)
    {
        SCOPED_TRACE(c.what);
        auto resize = kxNew<kxResizeImage>();
        ImageLog log(*resize);
        resize->_widthFactor = resize->_heightFactor = c.settings.factor;
        resize->setMinWidth(c.settings.minimum);
        resize->setMinHeight(c.settings.minimum);
        resize->setMaxWidth(c.settings.maximum);
        resize->setMaxHeight(c.settings.maximum);
        resize->setUseNextPowerOfTwo(c.settings.isPower);
        auto image = makeTestImage(l_8, c.width, c.height);
        resize->scale(image);
        EXPECT_EQ(image->getWidth(), c.newWidth);
        EXPECT_EQ(image->getHeight(), c.newHeight);
        EXPECT_EQ(log.take(), c.text);
    }
    kxNew<kxResizeImage>()->scale(nullptr);
}

TEST_F(kxResizeImageTest, SharedImagesAreResizedOnceAndMipmappedOnesWhenAsked)
{
    auto image = makeTestImage(l_8, 8, 8);
    kxSmartPointer<kxTextureAttr> textures[2] = {kxNew<kxTextureAttr>(), kxNew<kxTextureAttr>()};
    for (auto& texture : textures)
        texture->_imageList->append(image);
    auto resize = kxNew<kxResizeImage>();
    for (auto& texture : textures)
        resize->visitor(texture);
    EXPECT_EQ(image->getWidth(), 4u);
    resize->postVisit();
    textures[0]->_flags = kxTextureAttr::MIPMAPPED;
    resize->visitor(textures[0]);
    EXPECT_EQ(image->getWidth(), 4u);
    resize->setResizeMipmap(true);
    resize->visitor(textures[0]);
    EXPECT_EQ(image->getWidth(), 2u);
    resize->visitor(kxNew<kxTextureAttr>());
}

TEST_F(kxResizeImageTest, TheUseInTheSceneDecidesHowAnImageIsAveraged)
{
    // Black and white, half and half: as light the mean is coded as 188, as numbers it is 128.
    const struct
    {
        std::vector<const char*> slots;
        int wanted;
    } cases[] = {
        {{"baseColorTexture"}, 188},
        {{"emissiveTexture"}, 188},
        {{"KHR_materials_sheen/sheenColorTexture"}, 188},
        {{"metallicRoughnessTexture"}, 128},
        {{"baseColorTexture", "occlusionTexture"}, 128},
        {{}, 128},
    };
    for (const auto& c : cases)
    {
        auto image = makeTestImage(rgb_888_24, 8, 8, {0, 0, 0, 255, 255, 255});
        auto set = kxNew<kxAttrSet>();
        auto texture = kxNew<kxTextureAttr>();
        texture->_imageList->append(image);
        for (const char* slot : c.slots)
        {
            auto bind = kxNew<kxTextureBindAttr>();
            bind->_slot = slot;
            bind->_unit = kxTextureBindAttr::unitOfSlot(slot);
            bind->setTexture(texture);
            set->appendAttr(bind);
        }
        if (c.slots.empty())
            set->appendAttr(texture);
        auto resize = kxNew<kxResizeImage>();
        resize->setFilterType(BOX);
        kxSmartPointer<kxNode> root(set);
        ASSERT_TRUE(resize->apply(root));
        ASSERT_EQ(image->getWidth(), 4u);
        EXPECT_NEAR(image->getPixels()[0], c.wanted, 1) << (c.slots.empty() ? "none" : c.slots[0]);
    }
}

/// The image under a base colour below sets, geometries below those: one for each material mode, -1 for no material.
kxSmartPointer<kxNode> makeBindAbove(kxImage& image, const char* slot, const std::vector<int>& modes)
{
    auto root = kxNew<kxAttrSet>();
    auto texture = kxNew<kxTextureAttr>();
    texture->_imageList->append(&image);
    auto bind = kxNew<kxTextureBindAttr>();
    bind->_slot = slot;
    bind->setTexture(texture);
    root->appendAttr(bind);
    for (const int mode : modes)
    {
        auto set = kxNew<kxAttrSet>();
        if (mode >= 0)
        {
            auto material = kxNew<kxMaterialAttr>();
            material->_alphaMode = static_cast<kxAlphaMode>(mode);
            set->appendAttr(material);
        }
        set->appendChild(kxNew<kxGeometry>());
        root->appendChild(set);
    }
    return root;
}

TEST_F(kxResizeImageTest, AlphaWeighsColorsWhereItIsCoverage)
{
    constexpr int kOpaque = 0, kMask = 1, kBlend = 2;
    const struct
    {
        const char* slot;
        std::vector<int> modes;
        bool isWeighted;
    } cases[] = {
        {"baseColorTexture", {kBlend}, true},
        {"KHR_materials_pbrSpecularGlossiness/diffuseTexture", {kMask, kBlend}, true},
        {"baseColorTexture", {kOpaque}, false},
        {"baseColorTexture", {-1}, false},
        {"baseColorTexture", {kMask, kOpaque}, false},
        {"emissiveTexture", {kBlend}, false},
        {"KHR_materials_pbrSpecularGlossiness/specularGlossinessTexture", {kBlend}, false},
    };
    for (const auto& c : cases)
    {
        SCOPED_TRACE(std::string(c.slot) + " " + std::to_string(c.modes.size()));
        // Red where it is opaque, blue where it is not: as light half red and half blue is coded as 188.
        auto image = makeTestImage(rgba_8888_32, 8, 8, {255, 0, 0, 255, 0, 0, 255, 0});
        kxSmartPointer<kxNode> root = makeBindAbove(*image, c.slot, c.modes);
        auto resize = kxNew<kxResizeImage>();
        resize->setFilterType(BOX);
        ASSERT_TRUE(resize->apply(root));
        const uint8_t* pixel = image->getPixels();
        EXPECT_NEAR(pixel[0], c.isWeighted ? 255 : 188, 1);
        EXPECT_NEAR(pixel[2], c.isWeighted ? 0 : 188, 1);
        EXPECT_NEAR(pixel[3], 128, 1);
    }
}

TEST_F(kxResizeImageTest, MaterialVariantsSpeakForTheirOwnTextures)
{
    for (const bool isCoverage : {false, true})
    {
        auto image = makeTestImage(rgba_8888_32, 8, 8, {255, 0, 0, 255, 0, 0, 255, 0});
        const kxSmartPointer<kxNode> other = makeBindAbove(*image, "baseColorTexture", {-1});
        auto variant = kxNew<kxMaterialVariant>();
        auto material = kxNew<kxMaterialAttr>();
        material->_alphaMode = isCoverage ? kxAlphaMode::BLEND : kxAlphaMode::OPAQUE;
        variant->_attrs->append(material);
        for (kxAttr* attr : *kxCast<kxAttrSet>(other)->getAttrs())
            variant->_attrs->append(attr);
        auto geometry = kxNew<kxGeometry>();
        geometry->_variants = kxNew<kxMaterialVariantList>();
        geometry->_variants->append(variant);
        kxSmartPointer<kxNode> root(geometry);
        auto resize = kxNew<kxResizeImage>();
        resize->setFilterType(BOX);
        ASSERT_TRUE(resize->apply(root));
        EXPECT_NEAR(image->getPixels()[0], isCoverage ? 255 : 188, 1);
    }
}

TEST_F(kxResizeImageTest, MaterialsAboveAndOverridingOnesCount)
{
    const auto makeMaterial = [](kxAlphaMode mode)
    {
        auto material = kxNew<kxMaterialAttr>();
        material->_alphaMode = mode;
        return material;
    };
    for (const bool isOverridden : {false, true})
    {
        auto image = makeTestImage(rgba_8888_32, 8, 8, {255, 0, 0, 255, 0, 0, 255, 0});
        auto above = isOverridden ? kxSmartPointer<kxAttrSet>(kxNew<kxOverrideAttrSet>()) : kxNew<kxAttrSet>();
        above->appendAttr(makeMaterial(isOverridden ? kxAlphaMode::OPAQUE : kxAlphaMode::BLEND));
        kxSmartPointer<kxNode> below = makeBindAbove(*image, "baseColorTexture", {isOverridden ? 2 : -1});
        above->appendChild(below);
        kxSmartPointer<kxNode> root(above);
        auto resize = kxNew<kxResizeImage>();
        resize->setFilterType(BOX);
        ASSERT_TRUE(resize->apply(root));
        EXPECT_NEAR(image->getPixels()[0], isOverridden ? 188 : 255, 1);
    }
}

TEST_F(kxResizeImageTest, AllImagesOfATextureKeepStep)
{
    auto texture = kxNew<kxTextureAttr>();
    auto common = makeTestImage(rgb_888_24, 16, 16), other = makeTestImage(rgba_8888_32, 16, 16);
    auto unreadable = kxNew<kxImage>();
    unreadable->_encoded = kxMemoryBlock::copyOf("\xabKTX 20\xbb", 8);
    for (kxImage* image : {static_cast<kxImage*>(nullptr), common.get(), other.get(), unreadable.get()})
        texture->_imageList->append(image);
    const kxReportCollector collector;
    auto resize = kxNew<kxResizeImage>();
    resize->visitor(texture);
    EXPECT_EQ(common->getWidth(), 8u);
    EXPECT_EQ(other->getWidth(), 8u);
    ASSERT_EQ(resize->getRefusals().size(), 1u);
    EXPECT_EQ(resize->getRefusals()[0].reason, "unreadable image");
    EXPECT_TRUE(unreadable->_encoded);
}

TEST_F(kxResizeImageTest, DamageBehindTheHeadIsUnreadable)
{
    auto image = kxNew<kxImage>();
    image->_encoded = kxMemoryBlock::copyOf("x", 1);
    image->_width = image->_height = 8; // as after a look at a head that is whole
    const kxReportCollector collector;
    auto resize = kxNew<kxResizeImage>();
    resize->scale(image);
    ASSERT_EQ(resize->getRefusals().size(), 1u);
    EXPECT_EQ(resize->getRefusals()[0].reason, "unreadable image");
}

TEST_F(kxResizeImageTest, ACancelledRunLeavesNothingBehind)
{
    struct Host : kxOptInterface
    {
        bool getOptCancelState() override { return m_image->getWidth() < 16; }
        kxImage* m_image = nullptr;
    };
    auto resize = kxNew<kxResizeImage>();
    auto image = makeTestImage(l_8, 16, 16);
    kxSmartPointer<kxNode> root = makeBindAbove(*image, "occlusionTexture", {-1});
    auto host = kxNew<Host>();
    host->m_image = image;
    resize->setInterface(host);
    EXPECT_FALSE(resize->apply(root));
    EXPECT_EQ(image->getWidth(), 8u);
    resize->setInterface(nullptr);
    EXPECT_TRUE(resize->apply(root));
    EXPECT_EQ(image->getWidth(), 4u) << "what was done in the run before is not done in this one";
}

TEST_F(kxResizeImageTest, TheLegacyFactorSetsBothWhenAboveZero)
{
    auto resize = kxNew<kxResizeImage>();
    auto registry = kxNew<kxRegistry>();
    registry->loadText("[a]\nwidthHeightFactor = 0.25\n[b]\nwidthHeightFactor = 0\n[c]\nwidthHeightFactor = -2\n",
                       "script");
    resize->setRegistry(registry);
    for (int section = 0; section < 3; ++section)
    {
        EXPECT_TRUE(resize->configure(section));
        EXPECT_EQ(resize->_widthFactor, 0.25f);
        EXPECT_EQ(resize->_heightFactor, 0.25f);
    }
}

} // namespace
} // namespace Kel::Opt
