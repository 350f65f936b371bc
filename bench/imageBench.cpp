// Image work beside the libraries that do the same: resizing, palettes, DXT, and conversions beside a plain copy.
//
// Without arguments pictures are made up: smooth shapes with grain, as photographs have. KXOPT_BENCH_IMAGES names a folder of
// PNG files to take instead for the palettes. Libraries that are not installed are left out. "ms/Mpx" is per megapixel of the
// source, "dB" the peak signal-to-noise ratio of the result, "rms" the root mean square error in steps of 255.
#include "interop/images/libKXImageIO.h"
#include "opt/image/kxImageClasses.h"
#include "opt/image/kxQuantizeImage.h"
#include "opt/image/kxZoomImage.h"
#include "opt/libKXOpt.h"
#include "platform/core/kxMappedFile.h"
#include "platform/core/kxReport.h"

#include <benchmark/benchmark.h>

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <functional>
#include <random>

#ifdef KXOPT_BENCH_IMAGEQUANT
#include <libimagequant.h>
#endif
#ifdef KXOPT_BENCH_SQUISH
#include <squish.h>
#endif
#ifdef KXOPT_BENCH_STB
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wunused-function"
#pragma GCC diagnostic ignored "-Wsign-compare"
#pragma GCC diagnostic ignored "-Wunused-but-set-variable"
#pragma GCC diagnostic ignored "-Wunused-parameter"
#define STB_IMAGE_RESIZE_STATIC
#define STB_IMAGE_RESIZE_IMPLEMENTATION
#include <stb/stb_image_resize.h>
#pragma GCC diagnostic pop
#endif

using namespace Kel::Opt;

namespace
{

kxSmartPointer<kxImage> makePhoto(uint32_t size, KX_GFX_TEXTURE_FORMAT format)
{
    auto image = kxNew<kxImage>();
    image->setSize(size, size, rgb_888_24);
    uint8_t* pixel = image->getWritablePixels();
    std::minstd_rand random(1);
    for (uint32_t y = 0; y < size; ++y)
        for (uint32_t x = 0; x < size; ++x, pixel += 3)
        {
            const float u = static_cast<float>(x) / static_cast<float>(size),
                        v = static_cast<float>(y) / static_cast<float>(size);
            const float edge = std::sin(23 * u + 5 * std::sin(9 * v)) > 0.3f ? 40.0f : 0.0f;
            const auto grain = static_cast<float>(random() % 13) - 6;
            const float values[3] = {128 + 90 * std::sin(7 * u + 3 * v) + edge,
                                     120 + 80 * std::sin(5 * v - 2 * u) + edge / 2,
                                     110 + 90 * std::cos(4 * u * v + 6 * v) - edge};
            for (int c = 0; c < 3; ++c)
                pixel[c] = static_cast<uint8_t>(std::clamp(values[c] + grain, 0.0f, 255.0f));
        }
    image->convert(format, image);
    return image;
}

void setRate(benchmark::State& state, uint64_t pixels)
{
    state.counters["ms/Mpx"] =
        benchmark::Counter(static_cast<double>(pixels) * static_cast<double>(state.iterations()) / 1e9,
                           benchmark::Counter::kIsRate | benchmark::Counter::kInvert);
}

double decibels(const uint8_t* a, const uint8_t* b, size_t count)
{
    double sum = 0;
    for (size_t i = 0; i < count; ++i)
        sum += (double(a[i]) - b[i]) * (double(a[i]) - b[i]);
    return sum > 0 ? 10 * std::log10(255.0 * 255.0 * static_cast<double>(count) / sum) : 99;
}

// Resizing, 4096 x 4096 RGB to 2048 x 2048

/// The exact result of a filter, from the same weights in double precision.
std::vector<uint8_t> exactResize(kxImage& image, uint32_t newSize, const kxStdFilterFun& filter)
{
    const uint32_t size = image.getWidth();
    const auto lists = makeFilterWeights(size, newSize, filter);
    std::vector<double> wide(size_t(newSize) * size * 3);
    const uint8_t* pixels = image.getPixels();
    for (size_t y = 0; y < size; ++y)
        for (size_t x = 0; x < newSize; ++x)
            for (size_t c = 0; c < 3; ++c)
                for (const kxZFilterWeight& entry : lists[x])
                    wide[(y * newSize + x) * 3 + c] += entry.weight * pixels[(y * size + entry.source) * 3 + c];
    std::vector<uint8_t> exact(size_t(newSize) * newSize * 3);
    for (size_t y = 0; y < newSize; ++y)
        for (size_t x = 0; x < size_t(newSize) * 3; ++x)
        {
            double sum = 0;
            for (const kxZFilterWeight& entry : lists[y])
                sum += entry.weight * wide[size_t(entry.source) * newSize * 3 + x];
            exact[y * newSize * 3 + x] = static_cast<uint8_t>(std::clamp(sum + 0.5, 0.0, 255.0));
        }
    return exact;
}

using FilterMaker = kxSmartPointer<kxStdFilterFun> (*)();
template <class Filter>
kxSmartPointer<kxStdFilterFun> makeFilter()
{
    return kxNew<Filter>();
}

void resize(benchmark::State& state, FilterMaker make, kxZoomMeaning meaning)
{
    static const auto source = makePhoto(4096, rgb_888_24);
    auto target = kxNew<kxImage>();
    target->setSize(2048, 2048, rgb_888_24);
    auto zoom = kxNew<kxZoomImage>();
    zoom->setSource(source);
    zoom->setDestination(target);
    zoom->setFilter(make());
    zoom->setMeaning(meaning);
    for (auto _ : state)
        zoom->zoom();
    setRate(state, 4096 * 4096);
    if (meaning == kxZoomMeaning::NUMBERS)
        state.counters["dB"] =
            decibels(target->getPixels(), exactResize(*source, 2048, *make()).data(), target->getByteSize());
}
#define KX_BENCH_RESIZE(Filter)                                                                                        \
    BENCHMARK_CAPTURE(resize, Filter##_numbers, makeFilter<Filter>, kxZoomMeaning::NUMBERS)                            \
        ->Unit(benchmark::kMillisecond);                                                                               \
    BENCHMARK_CAPTURE(resize, Filter##_light, makeFilter<Filter>, kxZoomMeaning::LINEAR_COLORS)                        \
        ->Unit(benchmark::kMillisecond)
KX_BENCH_RESIZE(kxBoxFilterFun);
KX_BENCH_RESIZE(kxTriangleFilterFun);
KX_BENCH_RESIZE(kxBellFilterFun);
KX_BENCH_RESIZE(kxBSplineFilterFun);
KX_BENCH_RESIZE(kxLanczos3FilterFun);
KX_BENCH_RESIZE(kxMitchellFilterFun);
KX_BENCH_RESIZE(kxGaussianFilterFun);

#ifdef KXOPT_BENCH_STB
void resizeStb(benchmark::State& state, stbir_filter filter)
{
    const auto source = makePhoto(4096, rgb_888_24);
    std::vector<uint8_t> target(2048 * 2048 * 3);
    for (auto _ : state)
        stbir_resize_uint8_generic(source->getPixels(), 4096, 4096, 0, target.data(), 2048, 2048, 0, 3, -1, 0,
                                   STBIR_EDGE_CLAMP, filter, STBIR_COLORSPACE_LINEAR, nullptr);
    setRate(state, 4096 * 4096);
}
BENCHMARK_CAPTURE(resizeStb, box, STBIR_FILTER_BOX)->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(resizeStb, triangle, STBIR_FILTER_TRIANGLE)->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(resizeStb, mitchell, STBIR_FILTER_MITCHELL)->Unit(benchmark::kMillisecond);
#endif

// Palettes of 256 colours

std::vector<kxSmartPointer<kxImage>> palettePictures()
{
    std::vector<kxSmartPointer<kxImage>> images;
    std::vector<std::string> paths;
    if (const char* folder = std::getenv("KXOPT_BENCH_IMAGES"))
        for (const auto& entry : std::filesystem::directory_iterator(folder))
            paths.push_back(entry.path());
    std::sort(paths.begin(), paths.end());
    for (const std::string& path : paths)
    {
        auto image = kxNew<kxImage>();
        if (const kxSmartPointer<kxMappedFile> file = kxMappedFile::open(path.c_str()))
            image->_encoded = file->getBlock(0, file->getSize());
        if (image->convert(rgb_888_24, image))
            images.push_back(image);
    }
    if (images.empty())
        images.push_back(makePhoto(2048, rgb_888_24));
    return images;
}

uint64_t pixelCountOf(const std::vector<kxSmartPointer<kxImage>>& images)
{
    uint64_t count = 0;
    for (const auto& image : images)
        count += uint64_t(image->getWidth()) * image->getHeight();
    return count;
}

void quantize(benchmark::State& state)
{
    const auto images = palettePictures();
    double error = 0;
    for (auto _ : state)
    {
        error = 0;
        for (const auto& image : images)
        {
            state.PauseTiming();
            auto copy = kxNew<kxImage>();
            copy->copyFrom(image);
            state.ResumeTiming();
            float l2 = 0, largest = 0;
            kxNew<kxQuantizeImage>()->quantize(*copy, x_8, true, l2, largest);
            error += static_cast<double>(l2) / static_cast<double>(images.size());
        }
    }
    state.counters["rms"] = error;
    setRate(state, pixelCountOf(images));
}
BENCHMARK(quantize)->Unit(benchmark::kMillisecond);

#ifdef KXOPT_BENCH_IMAGEQUANT
void quantizeReference(benchmark::State& state)
{
    const auto images = palettePictures();
    double error = 0;
    for (auto _ : state)
    {
        error = 0;
        for (const auto& image : images)
        {
            state.PauseTiming();
            auto rgba = kxNew<kxImage>();
            rgba->convert(rgba_8888_32, image);
            const uint32_t width = image->getWidth(), height = image->getHeight();
            std::vector<uint8_t> indices(size_t(width) * height);
            state.ResumeTiming();
            liq_attr* attributes = liq_attr_create();
            if (state.range(0))
                liq_set_speed(attributes, static_cast<int>(state.range(0)));
            liq_image* picture = liq_image_create_rgba(attributes, rgba->getWritablePixels(), static_cast<int>(width),
                                                       static_cast<int>(height), 0);
            liq_result* result = nullptr;
            if (liq_image_quantize(picture, attributes, &result) != LIQ_OK)
                return state.SkipWithError("no palette");
            liq_set_dithering_level(result, 0);
            liq_write_remapped_image(result, picture, indices.data(), indices.size());
            state.PauseTiming();
            const liq_palette* palette = liq_get_palette(result);
            double sum = 0;
            for (size_t i = 0; i < indices.size(); ++i)
            {
                const liq_color& color = palette->entries[indices[i]];
                const uint8_t* pixel = rgba->getPixels() + 4 * i;
                sum +=
                    std::pow(color.r - pixel[0], 2) + std::pow(color.g - pixel[1], 2) + std::pow(color.b - pixel[2], 2);
            }
            error += std::sqrt(sum / static_cast<double>(indices.size() * 3)) / static_cast<double>(images.size());
            liq_result_destroy(result);
            liq_image_destroy(picture);
            liq_attr_destroy(attributes);
            state.ResumeTiming();
        }
    }
    state.counters["rms"] = error;
    setRate(state, pixelCountOf(images));
}
BENCHMARK(quantizeReference)->Arg(0)->Arg(10)->Unit(benchmark::kMillisecond);
#endif

// DXT, 1024 x 1024

void convertDxt(benchmark::State& state, KX_GFX_TEXTURE_FORMAT format)
{
    const auto source = makePhoto(1024, rgba_8888_32);
    auto target = kxNew<kxImage>();
    for (auto _ : state)
        target->convert(format, source);
    auto again = kxNew<kxImage>();
    again->convert(rgba_8888_32, target);
    state.counters["dB"] = decibels(again->getPixels(), source->getPixels(), source->getByteSize());
    setRate(state, 1024 * 1024);
}
BENCHMARK_CAPTURE(convertDxt, dxt1, dxt1)->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(convertDxt, dxt3, dxt3)->Unit(benchmark::kMillisecond);

#ifdef KXOPT_BENCH_SQUISH
void convertDxtSquish(benchmark::State& state, int flags)
{
    const auto source = makePhoto(1024, rgba_8888_32);
    std::vector<uint8_t> target(1024 * 1024 / 2), again(1024 * 1024 * 4);
    for (auto _ : state)
        squish::CompressImage(source->getPixels(), 1024, 1024, target.data(), flags);
    squish::DecompressImage(again.data(), 1024, 1024, target.data(), squish::kDxt1);
    state.counters["dB"] = decibels(again.data(), source->getPixels(), again.size());
    setRate(state, 1024 * 1024);
}
BENCHMARK_CAPTURE(convertDxtSquish, range_fit, squish::kDxt1 | squish::kColourRangeFit)->Unit(benchmark::kMillisecond);
#endif

// Conversions, 2048 x 2048, beside a copy of the source's bytes

void convert(benchmark::State& state, KX_GFX_TEXTURE_FORMAT from, KX_GFX_TEXTURE_FORMAT to)
{
    const auto source = makePhoto(2048, from);
    // A new image each time, as the copy makes a new block: memory that is given back is the next one's, for both alike.
    for (auto _ : state)
        kxNew<kxImage>()->convert(to, source);
    const uint64_t targetBytes = getTextureByteSize(to, 2048, 2048);
    state.SetBytesProcessed(state.iterations() * static_cast<int64_t>(source->getByteSize() + targetBytes));
}
void plainCopy(benchmark::State& state)
{
    const auto source = makePhoto(2048, rgba_8888_32);
    for (auto _ : state)
    {
        const auto target = kxMemoryBlock::create(source->getByteSize());
        std::memcpy(target->getWritableData(), source->getPixels(), source->getByteSize());
        benchmark::DoNotOptimize(target->getData());
        benchmark::ClobberMemory();
    }
    state.SetBytesProcessed(state.iterations() * 2 * static_cast<int64_t>(source->getByteSize()));
}
BENCHMARK(plainCopy);

/// Every format of 16 and 32 bits, made of RGBA and, where it has no alpha, of RGB; and RGBA made of them.
void registerConversions()
{
    const auto add = [](KX_GFX_TEXTURE_FORMAT from, KX_GFX_TEXTURE_FORMAT to)
    {
        const auto nameOf = [](KX_GFX_TEXTURE_FORMAT format) { return kxMetaEnumOf(format).getValueName(format); };
        benchmark::RegisterBenchmark(kxFormat("convert/%s/%s", nameOf(from), nameOf(to)).c_str(), convert, from, to);
    };
    for (const kxTextureFormatInfo& info : kTextureFormats)
    {
        if (info.bitsPerPixel < 16 || info.format == rgba_8888_32)
            continue;
        add(rgba_8888_32, info.format);
        add(info.format, rgba_8888_32);
        if (!info.hasAlpha() && info.format != rgb_888_24)
            add(rgb_888_24, info.format);
    }
}

} // namespace

int main(int argumentCount, char** arguments)
{
    Kel::libKXOpt_arkRegister();
    Kel::libKXImageIO_arkRegister();
    registerConversions();
    benchmark::Initialize(&argumentCount, arguments);
    if (benchmark::ReportUnrecognizedArguments(argumentCount, arguments))
        return 1;
    benchmark::RunSpecifiedBenchmarks();
    return 0;
}
