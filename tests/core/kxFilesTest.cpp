// Files: mapped, plain and atomic.
#include "platform/core/kxAtomicFile.h"
#include "platform/core/kxFile.h"
#include "platform/core/kxFileFormat.h"
#include "platform/core/kxMappedFile.h"
#include "platform/core/kxReport.h"
#include "platform/core/kxTimer.h"

#include <gtest/gtest.h>

#include <csignal>
#include <filesystem>

#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

namespace Kel::Core
{
namespace
{

namespace fs = std::filesystem;

/// An empty folder for the length of a test.
class kxFiles : public testing::Test
{
protected:
    kxFiles()
    {
        std::string pattern = fs::temp_directory_path() / "kxFilesXXXXXX";
        m_folder = ::mkdtemp(pattern.data());
    }
    ~kxFiles() override { fs::remove_all(m_folder); }

    std::string path(const std::string& name) const { return m_folder + "/" + name; }
    static void put(const std::string& file, std::string_view text)
    {
        kxFile out;
        ASSERT_TRUE(out.open(file.c_str(), kxFile::WRITE) && out.write(text.data(), text.size()) && out.close());
    }
    static std::string get(const std::string& file)
    {
        kxFile in;
        std::string text(fs::file_size(file) + 10, 0);
        EXPECT_TRUE(in.open(file.c_str(), kxFile::READ));
        text.resize(static_cast<size_t>(in.read(text.data(), text.size())));
        return text;
    }
    size_t fileCount() const
    {
        return static_cast<size_t>(std::distance(fs::directory_iterator(m_folder), fs::directory_iterator()));
    }

    std::string m_folder;
};

TEST_F(kxFiles, PlainFiles)
{
    put(path("a"), "12");
    kxFile file;
    EXPECT_TRUE(file.open(path("a").c_str(), kxFile::APPEND) && file.write("3", 1) && file.close());
    EXPECT_EQ(get(path("a")), "123");
    put(path("a"), "");
    EXPECT_EQ(get(path("a")), "");
    EXPECT_FALSE(file.open(path("none").c_str(), kxFile::READ));
    EXPECT_EQ(file.getFault(), "No such file or directory");
    EXPECT_FALSE(file.open(m_folder.c_str(), kxFile::READ));
    EXPECT_EQ(file.getFault(), "Is a directory");
    EXPECT_FALSE(file.isOpen());
}

TEST_F(kxFiles, MappedFilesLiveAsLongAsTheirBlocks)
{
    put(path("empty"), "");
    EXPECT_EQ(kxMappedFile::open(path("empty").c_str())->getSize(), 0u);
    put(path("a"), "0123456789");
    kxSmartPointer<kxMemoryBlock> block;
    {
        const auto file = kxMappedFile::open(path("a").c_str());
        block = file->getBlock(2, 5)->slice(1, 3);
    }
    // Replaced, not changed: the block shows the file as it was.
    kxAtomicFile replacement;
    EXPECT_TRUE(replacement.open(path("a").c_str()) && replacement.write("x") && replacement.commit());
    EXPECT_EQ(std::string(reinterpret_cast<const char*>(block->getData()), block->getSize()), "345");
    block->getWritableData()[0] = 'y';
    EXPECT_EQ(get(path("a")), "x");
    std::string fault;
    EXPECT_EQ(kxMappedFile::open(m_folder.c_str(), &fault), nullptr);
    EXPECT_EQ(fault, "is a folder");
}

TEST_F(kxFiles, AtomicFilesAppearWholeOrNotAtAll)
{
    std::string big(3 << 20, 'b');
    for (const std::string& text : {std::string("new"), std::string(), big + "end"})
    {
        put(path("target"), "old");
        ::chmod(path("target").c_str(), 0640);
        {
            kxAtomicFile file;
            EXPECT_TRUE(file.open(path("target").c_str()));
            EXPECT_TRUE(file.write(std::string_view(text).substr(0, text.size() / 3)));
            EXPECT_EQ(get(path("target")), "old");
        } // not committed
        EXPECT_EQ(get(path("target")), "old");
        EXPECT_EQ(fileCount(), 1u);

        kxAtomicFile file;
        EXPECT_TRUE(file.open(path("target").c_str()));
        for (size_t at = 0; at < text.size(); at += text.size() / 5 + 1)
            EXPECT_TRUE(file.write(std::string_view(text).substr(at, text.size() / 5 + 1)));
        EXPECT_EQ(file.getSize(), text.size());
        EXPECT_TRUE(file.commit());
        EXPECT_FALSE(file.commit());
        EXPECT_TRUE(get(path("target")) == text);
        EXPECT_EQ(fs::status(path("target")).permissions(), fs::perms(0640));
        EXPECT_EQ(fileCount(), 1u);
    }
}

TEST_F(kxFiles, AtomicFilesFollowLinksAndLeaveDevicesWhereTheyAre)
{
    fs::create_directory(path("folder"));
    fs::create_symlink("folder/real", path("link"));
    kxAtomicFile file;
    EXPECT_TRUE(file.open(path("link").c_str()) && file.write("1") && file.commit());
    EXPECT_TRUE(fs::is_symlink(path("link")));
    EXPECT_EQ(get(path("folder/real")), "1");

    EXPECT_TRUE(file.open("/dev/null") && file.write("1") && file.commit());
    EXPECT_TRUE(fs::is_character_file("/dev/null"));
}

TEST_F(kxFiles, AtomicFilesSayOnceWhatIsWrong)
{
    struct Case
    {
        std::string target;
        std::string reason;
    };
    put(path("file"), "old");
    for (const Case& c : {Case{m_folder, "cannot be written: it is a folder"},
                          Case{path("none/file"), "cannot be written: No such file or directory"},
                          Case{path("file/file"), "cannot be written: Not a directory"}})
    {
        const kxReportCollector reports;
        kxAtomicFile file;
        EXPECT_FALSE(file.open(c.target.c_str()));
        EXPECT_FALSE(file.write("x"));
        EXPECT_FALSE(file.commit());
        EXPECT_EQ(reports.m_errors, c.target + ": " + c.reason + "\n");
    }

    // A disk that fills up: the limit on file sizes stands for it.
    const kxReportCollector reports;
    struct rlimit before;
    ::getrlimit(RLIMIT_FSIZE, &before);
    const struct rlimit small = {4096, before.rlim_max};
    const auto oldHandler = std::signal(SIGXFSZ, SIG_IGN);
    ::setrlimit(RLIMIT_FSIZE, &small);
    {
        kxAtomicFile file;
        EXPECT_TRUE(file.open(path("file").c_str()));
        EXPECT_TRUE(file.write(std::string(5000, 'x')));
        EXPECT_FALSE(file.commit());
    }
    ::setrlimit(RLIMIT_FSIZE, &before);
    std::signal(SIGXFSZ, oldHandler);
    EXPECT_EQ(reports.m_errors, path("file") + ": cannot be written: File too large\n");
    EXPECT_EQ(get(path("file")), "old");
    EXPECT_EQ(fileCount(), 1u);
}

TEST(kxFileFormat, Extensions)
{
    const std::pair<const char*, const char*> cases[] = {{"a.GLB", "glb"},     {"a.b/c", ""},   {"a.b.Kxb", "kxb"},
                                                         {".hidden", ""},      {"x/.h.b", "b"}, {"a.", ""},
                                                         {"/p.q/file.x", "x"}, {"", ""}};
    for (const auto& [path, extension] : cases)
        EXPECT_EQ(getLowerCaseExtension(path), extension) << path;
    const kxReportCollector reports;
    EXPECT_EQ(kxFileFormat::findWriter("scene.xyz"), nullptr);
    EXPECT_EQ(kxFileFormat::findWriter("scene"), nullptr);
    EXPECT_NE(kxFileFormat::findWriter("scene.KXB"), nullptr);
    EXPECT_EQ(reports.m_errors, "scene.xyz: no format writes files with the extension .xyz\n"
                                "scene: has no extension that names a format to write\n");
}

TEST(kxTimer, StandsStillWhenFrozen)
{
    kxTimer timer;
    EXPECT_EQ(timer.getSeconds(), 0);
    timer.start();
    while (timer.getSeconds() == 0)
        ;
    timer.stop();
    const double seconds = timer.getSeconds();
    EXPECT_GT(seconds, 0);
    kxTimer::setFrozen(true);
    EXPECT_EQ(timer.getSeconds(), 0);
    kxTimer::setFrozen(false);
    EXPECT_EQ(timer.getSeconds(), seconds);
}

} // namespace
} // namespace Kel::Core
