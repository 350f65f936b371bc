#include "tests/support/kxGolden.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>

namespace Kel::Test
{

namespace
{

std::vector<std::string> splitLines(const std::string& text)
{
    std::vector<std::string> lines;
    std::istringstream stream(text);
    for (std::string line; std::getline(stream, line);)
        lines.push_back(line);
    return lines;
}

} // namespace

void expectGolden(const char* name, const std::string& text)
{
    const std::filesystem::path path = std::filesystem::path(KXOPT_SOURCE_DIR) / "tests" / "golden" / name;
    const char* accept = std::getenv("KXOPT_ACCEPT");
    if (accept && std::string(accept) == "1")
    {
        std::filesystem::create_directories(path.parent_path());
        std::ofstream(path, std::ios::binary) << text;
        return;
    }
    std::ifstream file(path, std::ios::binary);
    if (!file)
    {
        ADD_FAILURE() << "there is no golden file " << name << "; scripts/test --accept makes it from:\n" << text;
        return;
    }
    std::stringstream golden;
    golden << file.rdbuf();
    if (golden.str() == text)
        return;
    const std::vector<std::string> wanted = splitLines(golden.str());
    const std::vector<std::string> found = splitLines(text);
    size_t line = 0;
    while (line < wanted.size() && line < found.size() && wanted[line] == found[line])
        ++line;
    const auto lineOf = [&](const std::vector<std::string>& lines)
    { return line < lines.size() ? lines[line] : std::string("(the end)"); };
    ADD_FAILURE() << name << ":" << line + 1
                  << ": the text differs from the golden file; scripts/test --accept takes it over"
                  << "\n  wanted: " << lineOf(wanted) << "\n  found:  " << lineOf(found) << "\nThe whole text:\n"
                  << text;
}

} // namespace Kel::Test
