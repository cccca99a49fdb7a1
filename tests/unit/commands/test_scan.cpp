// The rescan: which scripts run, and whose outcome counts.
#include "commands/scan.h"

#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "tests/support/command_lines.h"
#include "tests/support/fake_host.h"

TEST(Scan, ItRescansAndThenDiscovers) {
    FakeHost host;
    s_ecItems *result = nullptr;
    EXPECT_EQ("", printed(scan, &result));
    EXPECT_EQ(&EC_ok, result);
    EXPECT_EQ((Calls{SCAN, DISCOVER}), host.calls);
}

TEST(Scan, OnlyItsSecondScriptCounts) {
    FakeHost host;
    host.answer(SCAN, "", NOT_STARTED);
    host.answer(DISCOVER, "", 1);
    EXPECT_EQ(&EC_ok, scan());
    EXPECT_EQ((Calls{SCAN, DISCOVER}), host.calls);
    host.answer(DISCOVER, "", NOT_STARTED);
    EXPECT_EQ(&EC_exe_cmd_failed, scan());
}
