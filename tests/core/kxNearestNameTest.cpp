#include "platform/core/kxNearestName.h"

#include <gtest/gtest.h>

using namespace Kel::Core;

TEST(kxNearestName, FindsWhatWasMeantAndNothingElse)
{
    const std::string names[] = {"maxWidth", "maxHeight", "level", "_nodeType", "maxWidths"};
    const struct
    {
        const char* name;
        const char* nearest;
    } cases[] = {
        {"maxWidht", "maxWidth"},  // two letters changed places
        {"_MAXWIDTH", "maxWidth"}, // as a field is called, in capitals
        {"nodetype", "_nodeType"}, // the candidate's underscore does not count either
        {"maxWidthz", "maxWidth"}, // as near as maxWidths, which stands behind it
        {"lvl", "level"},          // short, two letters missing
        {"lv", ""},                // three of five are missing
        {"stats", ""},             // as long as level, another word
        {"", ""},                  // nobody means anything by nothing
    };
    for (const auto& c : cases)
        EXPECT_EQ(findNearestName(c.name, names), c.nearest) << c.name;
    EXPECT_EQ(findNearestName("level", {}), "");
}
