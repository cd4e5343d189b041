#include <gtest/gtest.h>

#include "framework/LogBase.h"
#include "tests/support/CapturedLog.h"

namespace {

// Runs first in this module, whose counter starts with the process: every test has a process of its own.
TEST(Log, CountsItsMessagesInTheCode) {
    TakeLog();
    for (int i = 0; i < 4097; ++i) {
        SetLogLevel(i > 1 && i < 4096 ? LOG_LEV_NOTICE : LOG_LEV_INFO); // what is not logged is counted, too
        LOGBASE(LOG_LEV_INFO, "Tag", "%d%%s\n", i);
    }
    const auto lines = TakeLog();
    ASSERT_EQ(lines.size(), 3U);
    EXPECT_EQ(lines[0].code, 0x4E33);
    EXPECT_EQ(lines[1].code, 0x104E33);
    EXPECT_EQ(lines[2].code, 0x4E33);
    EXPECT_EQ(lines[1].severity, 5);
    EXPECT_EQ(lines[1].text, "_Melvane_[Tag]-1%s");
}

TEST(Log, CutsALongMessageAt511Characters) {
    TakeLog();
    LOGBASE(LOG_LEV_ERROR, "Tag", "%s", std::string(600, 'x').c_str());
    LOGBASE(LOG_LEV_ERROR, std::string(600, 'y').c_str(), "message");
    const auto lines = TakeLog();
    EXPECT_EQ(lines[0].text, "_Melvane_[Tag]-" + std::string(511 - 15, 'x'));
    EXPECT_EQ(lines[1].text.size(), 511U);
}

} // namespace
