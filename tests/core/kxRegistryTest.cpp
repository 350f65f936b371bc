#include "platform/core/kxRegistry.h"

#include "platform/core/kxReport.h"

#include <gtest/gtest.h>

#include <limits>
#include <random>

namespace Kel::Core
{
namespace
{

// "[section] key=<value> ..." of everything that a registry holds.
std::string contents(const kxRegistry& registry)
{
    std::string text;
    for (int s = 0; s < static_cast<int>(registry.getSectionCount()); ++s)
    {
        text += kxFormat("[%s]", registry.getSectionName(s).c_str());
        for (uint32_t k = 0; k < registry.getKeyCount(s); ++k)
            text += kxFormat(" %s=<%s>", registry.getKey(s, k).c_str(), registry.getKeyText(s, k).c_str());
        text += "\n";
    }
    return text;
}

struct SyntaxCase
{
    const char* name;
    const char* script;
    const char* contents;
    const char* warnings;
};

const SyntaxCase kSyntaxCases[] = {
    {"plain", "[a]\nk=v\nl = w x \n[b]\n", "[a] k=<v> l=<w x>\n[b]\n", ""},
    {"blanks, tabs and CRLF", "\r\n [ a b ] \r\n\tk\t=\t v\t\r\nlast = 1", "[a b] k=<v> last=<1>\n", ""},
    {"byte-order mark and UTF-8", "\xEF\xBB\xBF[\xC3\xA4]\n\xC3\xB6 = \xE2\x82\xAC\n",
     "[\xC3\xA4] \xC3\xB6=<\xE2\x82\xAC>\n", ""},
    {"comment lines", "; x\n  # [y]\n[a] ; z\n;k=v\n#k=w\n", "[a]\n", ""},
    {"comments behind values", "[a]\nk = v ; c\nl = v;c\nm = #fff\nn =; x\no = ; x\np = a\t# b\n",
     "[a] k=<v> l=<v;c> m=<> n=<; x> o=<> p=<a>\n", ""},
    {"signs that follow no blank are values", "[a]\nm=#fff\nn=a#b;c\n", "[a] m=<#fff> n=<a#b;c>\n", ""},
    {"quotes", "[a]\nk = \"  v ; # \" ; c\nl = \"\"\nm = \"a\"\"b\"\nn = \"\"\"\"\n",
     "[a] k=<  v ; # > l=<> m=<a\"b> n=<\">\n", ""},
    {"quotes within a value are part of it",
     "[a]\nk = x \"y ; z\" w ; c\nl = 5\" ; inch\nm = \"a\" b\nn = \"open ; c\n",
     "[a] k=<x \"y ; z\" w> l=<5\"> m=<\"a\" b> n=<\"open>\n", ""},
    {"the first = counts", "[a]\nk = a=b = c\n", "[a] k=<a=b = c>\n", ""},
    {"case counts", "[a]\nk=1\nK=2\n[A]\nk=3\n", "[a] k=<1> K=<2>\n[A] k=<3>\n", ""},
    {"keys in front of the first section", "k = v\n[a]\n", "[] k=<v>\n[a]\n", ""},
    {"the first of repeated keys counts", "[a]\nk=1\nk=2\n", "[a] k=<1>\n",
     "f:3: key k is in line 2 already; the first counts\n"},
    {"the first of repeated sections counts", "[a]\nk=1\n[b]\n[a]\nk=2\nl=3\n", "[a] k=<1>\n[b]\n",
     "f:4: section [a] is in line 1 already; the first counts\n"},
    {"lines that are nothing", "what\n[a]\nis this ; k = v\n= v\n ; fine\nk = v\n", "[a] k=<v>\n",
     "f:1: neither section nor key = value: what\n"
     "f:3: neither section nor key = value: is this ; k = v\n"
     "f:4: neither section nor key = value: = v\n"},
    {"keys below a broken section belong to none", "[a]\nk=1\n[b\nl=2\n[c] d\nm=3\n[]\nn=4\n[e]\n", "[a] k=<1>\n[e]\n",
     "f:3: not a section: [b\nf:5: not a section: [c] d\nf:7: not a section: []\n"},
    {"nothing", "", "", ""},
};

TEST(kxRegistry, Syntax)
{
    for (const SyntaxCase& c : kSyntaxCases)
    {
        SCOPED_TRACE(c.name);
        const kxReportCollector reports;
        const auto registry = kxNew<kxRegistry>();
        EXPECT_TRUE(registry->loadText(c.script, "f"));
        EXPECT_EQ(contents(*registry), c.contents);
        EXPECT_EQ(reports.m_warnings, c.warnings);
        EXPECT_EQ(reports.m_errors, "");
    }
}

template <class T>
std::string valueText(const char* text)
{
    const kxReportCollector reports;
    const auto registry = kxNew<kxRegistry>();
    registry->setValue("s", "k", text);
    T value{};
    const bool found = registry->getValue(0, "k", value, T(77));
    EXPECT_EQ(reports.m_warnings.empty(), found);
    if (!found)
    {
        EXPECT_EQ(value, T(77));
    }
    kxSmartPointer<kxMetaField> field = kxFieldFor<T>::create();
    return found ? field->valueToText(&value) : "-";
}

struct ValueCase
{
    const char* text;
    const char* asInt;
    const char* asBool;
    const char* asFloat;
    const char* asDouble;
};

const ValueCase kValueCases[] = {
    {"1", "1", "true", "1", "1"},
    {"0", "0", "false", "0", "0"},
    {"-0", "0", "-", "-0", "-0"},
    {"+12", "12", "-", "12", "12"},
    {"+-12", "-", "-", "-", "-"},
    {"--1", "-", "-", "-", "-"},
    {"0x7fFFffff", "2147483647", "-", "-", "-"},
    {"-0x80000000", "-2147483648", "-", "-", "-"},
    {"0x80000000", "-", "-", "-", "-"},
    {"0x", "-", "-", "-", "-"},
    {"-2147483648", "-2147483648", "-", "-2147483648", "-2147483648"},
    {"2147483648", "-", "-", "2147483648", "2147483648"},
    {"99999999999999999999", "-", "-", "1e+20", "1e+20"},
    {"12px", "-", "-", "-", "-"},
    {"1.5", "-", "-", "1.5", "1.5"},
    {"1,5", "-", "-", "-", "-"},
    {"1e-3", "-", "-", "0.001", "0.001"},
    {"1e-60", "-", "-", "0", "1e-60"},
    {"1e60", "-", "-", "-", "1e+60"},
    {"nan", "-", "-", "-", "-"},
    {"TRUE", "-", "true", "-", "-"},
    {"No", "-", "false", "-", "-"},
    {"yes", "-", "true", "-", "-"},
    {"on", "-", "-", "-", "-"},
    {"", "-", "-", "-", "-"},
};

TEST(kxRegistry, Values)
{
    for (const ValueCase& c : kValueCases)
    {
        SCOPED_TRACE(c.text);
        EXPECT_EQ(valueText<int32_t>(c.text), c.asInt);
        EXPECT_EQ(valueText<bool>(c.text), c.asBool);
        EXPECT_EQ(valueText<float>(c.text), c.asFloat);
        EXPECT_EQ(valueText<double>(c.text), c.asDouble);
    }
}

TEST(kxRegistry, NotesWhatWasReadAndWarnsOnce)
{
    const auto registry = kxNew<kxRegistry>();
    registry->loadText("[a]\nwidth = wide\nname = x\n[b]\nother = 1\nlast = 2\n", "dir/f.ini");
    kxReportCollector reports;
    int32_t width = 5;
    EXPECT_FALSE(registry->getValue(0, "width", width, 9));
    EXPECT_FALSE(registry->getValue(0, "width", width));
    EXPECT_EQ(width, 0);
    EXPECT_EQ(reports.m_warnings, "dir/f.ini:2: width = wide in section [a] is not an integer of 32 bits\n");

    kxStringRef name;
    EXPECT_TRUE(registry->getValue(registry->findSection("a"), "name", name));
    EXPECT_EQ(name, kxStringRef("x"));
    EXPECT_FALSE(registry->getValue(registry->findSection("none"), "name", name, "default"));
    EXPECT_EQ(name, kxStringRef("default"));
    registry->markRead(1, "last");

    std::string unread;
    registry->forEachUnreadKey([&](kxStringRef section, kxStringRef key, int line)
                               { unread += section.str() + "." + key.str() + ":" + std::to_string(line) + " "; });
    EXPECT_EQ(unread, "b.other:5 ");
}

// Whatever `setValue` accepts comes back from the text, and what it refuses could not.
TEST(kxRegistry, TextGivesEverythingBack)
{
    std::mt19937 random(1);
    static constexpr char kSigns[] = "ab \t;#\"=[]\n\r";
    auto word = [&](size_t most)
    {
        std::string text(random() % (most + 1), ' ');
        for (char& c : text)
            c = kSigns[random() % (sizeof kSigns - 1)];
        return text;
    };
    uint32_t accepted = 0;
    for (int round = 0; round < 2000; ++round)
    {
        const kxReportCollector reports;
        const auto registry = kxNew<kxRegistry>();
        std::string script;
        for (int i = 0; i < 6; ++i)
        {
            const std::string section = word(2), key = word(3), value = word(6);
            accepted += registry->setValue(section, key, value);
        }
        const auto again = kxNew<kxRegistry>();
        again->loadText(registry->toText(), "f");
        // Keys without a section come first in a script.
        const auto sorted = kxNew<kxRegistry>();
        sorted->loadText(again->toText(), "f");
        EXPECT_EQ(contents(*again), contents(*sorted));
        for (int s = 0; s < static_cast<int>(registry->getSectionCount()); ++s)
            for (uint32_t k = 0; k < registry->getKeyCount(s); ++k)
            {
                kxStringRef value;
                EXPECT_TRUE(
                    again->getValue(again->findSection(registry->getSectionName(s)), registry->getKey(s, k), value))
                    << registry->toText();
                EXPECT_EQ(value, registry->getKeyText(s, k)) << registry->toText();
            }
        EXPECT_EQ(reports.m_warnings, "") << registry->toText();
    }
    EXPECT_GT(accepted, 500u);
}

TEST(kxRegistry, FilesThatCannotBeReadAreTheCallersBusiness)
{
    const kxReportCollector reports;
    const auto registry = kxNew<kxRegistry>();
    EXPECT_FALSE(registry->load("/nowhere/at/all.ini"));
    EXPECT_FALSE(registry->load("/"));
    EXPECT_FALSE(registry->load(nullptr));
    EXPECT_EQ(reports.m_errors + reports.m_warnings, "");
}

} // namespace
} // namespace Kel::Core
