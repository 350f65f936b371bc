#include "platform/core/kxPlugInRepository.h"

#include "platform/core/kxReport.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>

namespace Kel::Core
{
namespace
{

// The folder holds, beside a library that fits: one for another version of the interface, one without the function, one that
// fails while it registers, and a text file.
TEST(kxPlugInRepository, LoadsWhatFitsAndSaysWhyTheRestDoesNot)
{
    const std::string folder = KXOPT_BINARY_DIR "/tests/core/plugins";
    kxPlugInRepository& repository = kxPlugInRepository::get();
    {
        const kxReportCollector reports;
        EXPECT_EQ(repository.addRepository("Optimizations", folder.c_str()), 1u);
        ASSERT_EQ(repository.getPlugIns().size(), 1u);
        EXPECT_EQ(repository.getPlugIns()[0].name, "Test");
        EXPECT_EQ(repository.getPlugIns()[0].repository, "Optimizations");
        EXPECT_EQ(repository.getPlugIns()[0].file, folder + "/fits.so");
        const auto begins = [&](const char* file, const std::string& reason)
        { EXPECT_NE(reports.m_warnings.find(folder + "/" + file + ": " + reason), std::string::npos) << file; };
        begins("broken.so", "does not load: ");
        begins("empty.so", "has no function kxPlugInRegister; the plug-in is left out\n");
        begins("fails.so", "fails while it registers its classes: no licence; the plug-in is left out\n");
        begins("old.so", "is built for version 999 of the plug-in interface, this is version " +
                             std::to_string(kPlugInAbiVersion) + "; the plug-in is left out\n");
        EXPECT_EQ(std::count(reports.m_warnings.begin(), reports.m_warnings.end(), '\n'), 4);
    }
    const kxMetaObject* type = kxMetaObject::find("kxTestPlugInThing");
    ASSERT_NE(type, nullptr);
    EXPECT_NE(type->createInstance(), nullptr);
    EXPECT_EQ(kxMetaObject::find("kxTestOldThing"), nullptr) << "a refused plug-in has registered classes";

    const kxReportCollector reports;
    EXPECT_EQ(repository.addRepository("Optimizations", folder.c_str()), 0u);
    EXPECT_EQ(repository.addRepository("Optimizations", "no/such/folder"), 0u);
    EXPECT_EQ(reports.m_warnings, "");
    ::setenv("KXOPT_PLUGINS", (":no/such:" + folder).c_str(), 1);
    EXPECT_EQ(repository.addDefaultRepository(), 0u);
    ::unsetenv("KXOPT_PLUGINS");
    EXPECT_EQ(reports.m_warnings, "no/such: is not a folder of plug-ins (KXOPT_PLUGINS)\n");
    EXPECT_EQ(repository.getPlugIns().size(), 1u);
}

} // namespace
} // namespace Kel::Core
