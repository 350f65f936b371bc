// Image files: real ones against a second decoder, written ones read again, broken ones.
#include "interop/images/libKXImageIO.h"
#include "platform/core/kxFile.h"
#include "platform/core/kxMappedFile.h"
#include "platform/core/kxReport.h"
#include "platform/gfx/kxImageCodec.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <random>

namespace Kel::Gfx
{
namespace
{

namespace fs = std::filesystem;

struct Picture
{
    uint32_t width = 0, height = 0;
    std::vector<uint8_t> rgba;
};

class kxImageCodecTest : public testing::Test
{
protected:
    void SetUp() override { libKXImageIO_arkRegister(); }

    /// Files of a folder of the shared images in order; none when they are not there.
    static std::vector<fs::path> sharedImages(const char* folder)
    {
        const char* named = std::getenv("KXOPT_ASSETS");
        const fs::path assets =
            named ? fs::path(named) : fs::path(KXOPT_SOURCE_DIR).parent_path() / "shared" / "assets";
        std::vector<fs::path> files;
        std::error_code fault;
        for (const auto& entry : fs::directory_iterator(assets / "images" / folder, fault))
            files.push_back(entry.path());
        std::sort(files.begin(), files.end());
        return files;
    }

    static kxSmartPointer<kxImage> load(const fs::path& path)
    {
        auto image = kxNew<kxImage>();
        image->_name = path.filename().string();
        if (const auto file = kxMappedFile::open(path.c_str()))
            image->_encoded = file->getBlock(0, file->getSize());
        return image;
    }

    static Picture pictureOf(kxImage& image)
    {
        Picture picture{image.getWidth(), image.getHeight(), {}};
        image.forEachRgbaRow([&](uint32_t, const uint8_t* row)
                             { picture.rgba.insert(picture.rgba.end(), row, row + size_t(picture.width) * 4); });
        return picture;
    }

    /// What the second decoder makes of a file; its exit status.
    static int decodeElsewhere(const fs::path& path, Picture& picture)
    {
        const std::string command = std::string("/usr/bin/env PYTHONDONTWRITEBYTECODE=1 /usr/bin/python3 '") +
                                    KXOPT_SOURCE_DIR "/tests/images/decodeimage.py' '" + path.string() + "' 2>&1";
        FILE* pipe = popen(command.c_str(), "r");
        std::vector<uint8_t> bytes(8);
        if (!pipe)
            return 77;
        size_t count = std::fread(bytes.data(), 1, 8, pipe);
        if (count == 8)
        {
            std::memcpy(&picture.width, bytes.data(), 4);
            std::memcpy(&picture.height, bytes.data() + 4, 4);
            uint8_t part[4096];
            while ((count = std::fread(part, 1, sizeof part, pipe)) > 0)
                picture.rgba.insert(picture.rgba.end(), part, part + count);
        }
        const int status = pclose(pipe);
        return status < 0 ? 77 : status >> 8;
    }

    static int largestDifference(const Picture& a, const Picture& b)
    {
        if (a.width != b.width || a.height != b.height || a.rgba.size() != b.rgba.size())
            return 256;
        int largest = 0;
        for (size_t i = 0; i < a.rgba.size(); ++i)
            largest = std::max(largest, std::abs(a.rgba[i] - b.rgba[i]));
        return largest;
    }

    static kxSmartPointer<kxImage> makeImage(KX_GFX_TEXTURE_FORMAT format, uint32_t width, uint32_t height)
    {
        std::mt19937 random(9);
        auto image = kxNew<kxImage>();
        image->setSize(width, height, format);
        uint8_t* pixels = image->getWritablePixels();
        for (uint64_t i = 0; i < image->getByteSize(); ++i)
            pixels[i] = static_cast<uint8_t>(random());
        uint8_t colors[256 * 4];
        for (uint8_t& byte : colors)
            byte = static_cast<uint8_t>(random());
        if (kxImage::isIndexed(format))
            image->_clut = kxClut::create(colors, format == x_4 ? 16 : 200);
        return image;
    }

    /// A colour profile as far as a reader looks at it: its head.
    static kxSmartPointer<kxMemoryBlock> profileOf(const char* colorSpace)
    {
        std::vector<uint8_t> bytes(600, 0);
        bytes[2] = 600 >> 8;
        bytes[3] = 600 & 255;
        std::copy_n(colorSpace, 4, bytes.begin() + 16);
        std::copy_n("acsp", 4, bytes.begin() + 36);
        return kxMemoryBlock::copyOf(bytes.data(), bytes.size());
    }

    /// Writes an image and reads it again.
    static kxSmartPointer<kxImage> writeAndRead(kxImage& image, bool commonOnly, kxImageFileForm& form)
    {
        EXPECT_TRUE(kxImageCodec::encodeForFile(image, commonOnly, form));
        auto again = kxNew<kxImage>();
        again->_encoded = form.bytes;
        EXPECT_TRUE(again->ensurePixels());
        return again;
    }
};

TEST_F(kxImageCodecTest, ReadsRealFilesAsAnotherDecoder)
{
    const struct
    {
        const char* folder;
        int tolerance; // of lossy kinds decoders differ by a little
    } folders[] = {{"pngsuite", 0}, {"alpha", 0}, {"jpeg", 3}, {"dds", 9}};
    int compared = 0;
    for (const auto& folder : folders)
        for (const fs::path& path : sharedImages(folder.folder))
        {
            if (fs::file_size(path) > 500000)
                continue; // the second decoder takes its time
            Picture theirs;
            const kxReportCollector collector;
            auto image = load(path);
            const bool isRead = image->ensurePixels();
            const int status = decodeElsewhere(path, theirs);
            if (status == 77)
                continue;
            SCOPED_TRACE(path.filename());
            if (!isRead) // kinds of blocks that are no format of ours
            {
                EXPECT_NE(collector.m_errors.find(": DDS: "), std::string::npos) << collector.m_errors;
                continue;
            }
            // Inks become colours by more than one rule, and the second decoder knows few 16-bit layouts.
            if (path.string().find("cmyk") != std::string::npos || (status && path.extension() == ".dds"))
                continue;
            EXPECT_LE(largestDifference(pictureOf(*image), theirs), status == 0 ? folder.tolerance : -1);
            ++compared;
        }
    if (!compared)
        GTEST_SKIP() << "no shared images, or no Python";
}

TEST_F(kxImageCodecTest, RefusesBrokenFilesWithOneLineAndKeepsThem)
{
    for (const fs::path& path : sharedImages("malformed"))
    {
        SCOPED_TRACE(path.filename());
        const kxReportCollector collector;
        auto image = load(path);
        image->ensurePixels();
        image->ensurePixels();
        EXPECT_LE(std::count(collector.m_errors.begin(), collector.m_errors.end(), '\n'), 1);
        EXPECT_EQ(image->hasPixels(), collector.m_errors.empty());
        kxImageFileForm form;
        EXPECT_TRUE(kxImageCodec::encodeForFile(*image, false, form));
        EXPECT_EQ(form.bytes, image->_encoded);
        // A checksum behind the last pixel counts as well.
        EXPECT_TRUE(path.filename() != "xcsn0g01.png" || !image->hasPixels());
    }
}

TEST_F(kxImageCodecTest, ReadsGreysWithRepeatedMasks)
{
    auto image = makeImage(la_88_16, 6, 4);
    image->_mimeType = "image/vnd-ms.dds";
    kxImageFileForm form;
    ASSERT_TRUE(kxImageCodec::encodeForFile(*image, false, form));
    std::vector<uint8_t> bytes(form.bytes->getData(), form.bytes->getData() + form.bytes->getSize());
    bytes[96] = bytes[100] = 0xff; // the masks of green and blue, as of red
    auto again = kxNew<kxImage>();
    again->_encoded = kxMemoryBlock::copyOf(bytes.data(), bytes.size());
    EXPECT_EQ(again->getFormat(), la_88_16);
    EXPECT_EQ(largestDifference(pictureOf(*again), pictureOf(*image)), 0);
}

/// Files may give the same thinning of colours in more than one way.
TEST_F(kxImageCodecTest, SubsamplingIsThatOfTheColors)
{
    const struct
    {
        uint8_t factors[3]; // in the file: across and down, four bits each
        uint32_t wanted;
    } cases[] = {{{0x11, 0x11, 0x11}, 11}, {{0x21, 0x11, 0x11}, 21}, {{0x22, 0x11, 0x11}, 22},
                 {{0x21, 0x21, 0x21}, 11}, {{0x22, 0x22, 0x22}, 11}, {{0x22, 0x12, 0x12}, 21}};
    for (const auto& c : cases)
    {
        auto image = makeImage(rgb_888_24, 8, 8);
        image->_mimeType = "image/jpeg";
        image->_quality = 90;
        image->_subsampling = 11;
        kxImageFileForm form;
        ASSERT_TRUE(kxImageCodec::encodeForFile(*image, false, form));
        std::vector<uint8_t> bytes(form.bytes->getData(), form.bytes->getData() + form.bytes->getSize());
        // Behind the frame's marker: length, depth, height, width, number of components, then three bytes for each.
        const uint8_t marker[] = {0xff, 0xc0};
        const auto frame = std::search(bytes.begin(), bytes.end(), marker, marker + 2);
        ASSERT_NE(frame, bytes.end());
        for (int i = 0; i < 3; ++i)
            frame[11 + 3 * i] = c.factors[i];
        auto again = kxNew<kxImage>();
        again->_encoded = kxMemoryBlock::copyOf(bytes.data(), bytes.size());
        const kxReportCollector collector; // the blocks are those of other factors
        again->ensurePixels();
        if (again->hasPixels())
        {
            EXPECT_EQ(again->_subsampling, c.wanted) << int(c.factors[0]) << " " << int(c.factors[1]);
        }
    }
}

/// Faults beside the pixels: a piece of a profile that says it is the second of two, and a scan whose range of coefficients
/// reads 0 to 0, as some cameras write it.
TEST_F(kxImageCodecTest, StrangeButWholeFilesAreRead)
{
    auto image = makeImage(rgb_888_24, 16, 16);
    image->_mimeType = "image/jpeg";
    image->_quality = 90;
    kxImageFileForm form;
    const auto wanted = writeAndRead(*image, false, form);
    const std::vector<uint8_t> bytes(form.bytes->getData(), form.bytes->getData() + form.bytes->getSize());
    std::vector<uint8_t> withProfile = bytes, withRange = bytes;
    const std::string_view piece("\xff\xe2\0\x12ICC_PROFILE\0\2\2xx", 20);
    withProfile.insert(withProfile.begin() + 2, piece.begin(), piece.end());
    const uint8_t marker[] = {0xff, 0xda};
    const auto scan = std::search(withRange.begin(), withRange.end(), marker, marker + 2);
    ASSERT_NE(scan, withRange.end());
    scan[12] = 0; // behind length, number of components and two bytes for each of three: first and last coefficient
    for (const std::vector<uint8_t>& strange : {withProfile, withRange})
    {
        const kxReportCollector collector;
        auto again = kxNew<kxImage>();
        again->_encoded = kxMemoryBlock::copyOf(strange.data(), strange.size());
        EXPECT_EQ(largestDifference(pictureOf(*again), pictureOf(*wanted)), 0) << collector.m_errors;
        EXPECT_EQ(again->_colorProfile, nullptr);
    }
}

TEST_F(kxImageCodecTest, ProfilesThatDoNotFitTheComponentsAreLeftOut)
{
    for (const char* space : {"RGB ", "GRAY"})
        for (const KX_GFX_TEXTURE_FORMAT format : {rgb_888_24, l_8, la_88_16, rgba_8888_32, x_8})
            for (const char* mimeType : {"", "image/jpeg", "image/webp"})
            {
                auto image = makeImage(format, 8, 8);
                image->_mimeType = mimeType;
                image->_quality = *mimeType ? 80 : 0;
                image->_colorProfile = profileOf(space);
                kxImageFileForm form;
                auto again = writeAndRead(*image, false, form);
                const bool isGray = (format == l_8 || format == la_88_16) && form.mimeType.view() != "image/webp";
                EXPECT_EQ(again->_colorProfile != nullptr, isGray == (std::string_view(space) == "GRAY"))
                    << space << " " << format << " " << form.mimeType.c_str();
            }
}

/// Every format as the file that holds it best: the same pixels in the same format come back.
TEST_F(kxImageCodecTest, WritesEveryFormatAsTheKindThatHoldsIt)
{
    for (const kxTextureFormatInfo& info : kTextureFormats)
    {
        SCOPED_TRACE(info.format);
        auto image = makeImage(info.format, 13, 6);
        kxImageFileForm form;
        auto again = writeAndRead(*image, false, form);
        EXPECT_EQ(largestDifference(pictureOf(*again), pictureOf(*image)), 0);
        const bool isHeld = !info.isTiled() && info.kind != kxTextureFormatInfo::TWO_WAY;
        EXPECT_EQ(form.isExact, isHeld);
        EXPECT_EQ(again->getFormat(), isHeld ? info.format : info.unpacked);
        const bool isPng = !isHeld || (!info.isPacked() && info.format != a_8);
        EXPECT_EQ(form.mimeType.str(), isPng ? "image/png" : "image/vnd-ms.dds");

        auto common = writeAndRead(*image, true, form);
        EXPECT_EQ(form.mimeType.str(), "image/png");
        EXPECT_TRUE(form.isCommon);
        EXPECT_EQ(largestDifference(pictureOf(*common), pictureOf(*image)), 0);
    }
}

TEST_F(kxImageCodecTest, WrittenFilesAreReadByAnotherDecoder)
{
    int compared = 0;
    const struct
    {
        KX_GFX_TEXTURE_FORMAT format;
        const char* mimeType;
    } cases[] = {{l_8, ""},
                 {la_88_16, ""},
                 {rgb_888_24, ""},
                 {rgba_8888_32, ""},
                 {x_8, ""},
                 {x_4, ""},
                 {dxt1, ""},
                 {dxt3, ""},
                 {rgba_8888_32, "image/vnd-ms.dds"},
                 {rgba_8888_32, "image/webp"}};
    for (const auto& c : cases)
    {
        auto image = makeImage(c.format, 16, 8);
        image->_mimeType = c.mimeType;
        kxImageFileForm form;
        ASSERT_TRUE(kxImageCodec::encodeForFile(*image, false, form));
        const fs::path path = fs::path(testing::TempDir()) / ("kxWritten." + form.extension.str());
        kxFile file;
        ASSERT_TRUE(file.open(path.c_str(), kxFile::WRITE));
        ASSERT_TRUE(file.write(form.bytes->getData(), form.bytes->getSize()));
        file.close();
        Picture theirs;
        const int status = decodeElsewhere(path, theirs);
        if (status == 77)
            continue;
        ++compared;
        // Decoders of blocks round the colours between the ends in their own ways.
        EXPECT_LE(largestDifference(pictureOf(*image), theirs), kxImage::isPacked(c.format) ? 9 : 0)
            << c.format << " " << c.mimeType;
    }
    if (!compared)
        GTEST_SKIP() << "no Python";
}

TEST_F(kxImageCodecTest, LossyFilesAreWrittenAsTheyCame)
{
    int written = 0;
    for (const fs::path& path : sharedImages("jpeg"))
    {
        SCOPED_TRACE(path.filename());
        auto image = load(path);
        ASSERT_TRUE(image->ensurePixels());
        const Picture before = pictureOf(*image);
        const size_t oldBytes = image->_encoded->getSize();
        const uint32_t quality = image->_quality;
        EXPECT_GT(quality, 0u);
        image->getWritablePixels();
        kxImageFileForm form;
        auto again = writeAndRead(*image, false, form);
        EXPECT_EQ(form.mimeType.str(), "image/jpeg");
        EXPECT_EQ(again->_quality, quality);
        EXPECT_LT(form.bytes->getSize(), oldBytes * 3 / 2 + 1000);
        // With an alpha a JPEG cannot hold it any more.
        EXPECT_TRUE(image->convert(rgba_8888_32, image));
        writeAndRead(*image, false, form);
        EXPECT_EQ(form.mimeType.str(), "image/png");
        ++written;
    }
    if (!written)
        GTEST_SKIP() << "no shared images";
}

TEST_F(kxImageCodecTest, ColorInformationTravels)
{
    const auto profile = profileOf("RGB ");
    const uint32_t chromaticities[8] = {31270, 32900, 64000, 33000, 30000, 60000, 15000, 6000};
    for (const char* mimeType : {"", "image/jpeg", "image/webp"})
    {
        auto image = makeImage(rgb_888_24, 8, 8);
        image->_mimeType = mimeType;
        image->_quality = *mimeType ? 80 : 0;
        image->_gamma = 45455;
        image->_colorProfile = profile;
        image->_chromaticities = kxMemoryBlock::copyOf(chromaticities, sizeof chromaticities);
        kxImageFileForm form;
        auto again = writeAndRead(*image, false, form);
        if (*mimeType)
        {
            EXPECT_EQ(form.mimeType.str(), mimeType);
        }
        else
        {
            EXPECT_EQ(again->_gamma, 45455u);
            ASSERT_TRUE(again->_chromaticities);
            EXPECT_EQ(std::memcmp(again->_chromaticities->getData(), chromaticities, sizeof chromaticities), 0);
        }
        ASSERT_TRUE(again->_colorProfile) << mimeType;
        EXPECT_EQ(std::memcmp(again->_colorProfile->getData(), profile->getData(), profile->getSize()), 0) << mimeType;
    }
    auto image = makeImage(rgb_888_24, 8, 8);
    image->_srgbIntent = 2;
    kxImageFileForm form;
    EXPECT_EQ(writeAndRead(*image, false, form)->_srgbIntent, 2u);
}

/// What a viewer turns before, it turns after.
TEST_F(kxImageCodecTest, OrientationTravels)
{
    for (const char* mimeType : {"", "image/jpeg"})
    {
        auto image = makeImage(rgb_888_24, 8, 8);
        image->_mimeType = mimeType;
        image->_quality = *mimeType ? 80 : 0;
        image->_orientation = 6;
        kxImageFileForm form;
        EXPECT_EQ(writeAndRead(*image, false, form)->_orientation, 6u) << mimeType;
    }
    for (const fs::path& path : sharedImages("jpeg"))
        if (path.string().find("orientation_6") != std::string::npos)
        {
            auto image = load(path);
            ASSERT_TRUE(image->ensurePixels());
            EXPECT_EQ(image->_orientation, 6u);
        }
}

TEST_F(kxImageCodecTest, LimitsHoldBeforeMemoryIsTaken)
{
    // Heads that promise far more than there is.
    auto png = makeImage(l_8, 1, 1);
    kxImageFileForm form;
    ASSERT_TRUE(kxImageCodec::encodeForFile(*png, false, form));
    std::vector<uint8_t> bytes(form.bytes->getData(), form.bytes->getData() + form.bytes->getSize());
    bytes[16] = 0x00;
    bytes[17] = 0xff; // a width of 16 million
    auto dds = makeImage(rgb_565_16, 4, 4);
    ASSERT_TRUE(kxImageCodec::encodeForFile(*dds, false, form));
    std::vector<uint8_t> ddsBytes(form.bytes->getData(), form.bytes->getData() + form.bytes->getSize());
    ddsBytes[14] = 1; // a height of 65540
    for (const std::vector<uint8_t>& broken : {bytes, ddsBytes})
    {
        const kxReportCollector collector;
        auto image = kxNew<kxImage>();
        image->_encoded = kxMemoryBlock::copyOf(broken.data(), broken.size());
        EXPECT_FALSE(image->ensurePixels());
        EXPECT_EQ(std::count(collector.m_errors.begin(), collector.m_errors.end(), '\n'), 1);
    }
}

/// Files cut short and with changed bytes: refused or read, but never past their end.
TEST_F(kxImageCodecTest, DamagedFilesAreSurvived)
{
    const kxReportCollector collector;
    std::mt19937 random(4);
    for (const char* mimeType : {"", "image/jpeg", "image/webp", "image/vnd-ms.dds"})
    {
        auto image = makeImage(rgb_888_24, 24, 16);
        image->_mimeType = mimeType;
        image->_quality = *mimeType ? 80 : 0;
        kxImageFileForm form;
        ASSERT_TRUE(kxImageCodec::encodeForFile(*image, false, form));
        for (int n = 0; n < 400; ++n)
        {
            std::vector<uint8_t> bytes(form.bytes->getData(), form.bytes->getData() + form.bytes->getSize());
            if (n % 2)
                bytes.resize(random() % bytes.size());
            for (int i = 0; i < 3 && bytes.size() > 4; ++i)
                bytes[4 + random() % (bytes.size() - 4)] = static_cast<uint8_t>(random());
            auto broken = kxNew<kxImage>();
            broken->_encoded = kxMemoryBlock::copyOf(bytes.data(), bytes.size());
            broken->convert(rgba_8888_32, broken);
        }
    }
}

} // namespace
} // namespace Kel::Gfx
