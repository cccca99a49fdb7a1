// The example file of the multipath package with the maker's block behind it: every line that is run.
#include "commands/mkconfig.h"

#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "tests/support/command_lines.h"
#include "tests/support/fake_host.h"

namespace {

constexpr char COPY_STOCK[] =
    "\\cp -fp /usr/share/doc/device-mapper-velomux-*/velomux.conf /etc/velomux.conf";

} // namespace

TEST(Mkconfig, ItBacksUpCopiesTheExampleAppendsTheBlockAndSetsTheMode) {
    FakeHost host;
    host.answer(POLICY_QUERY, "multibus\nservice-time\n");
    EXPECT_EQ(&EC_ok, mkconfig());
    EXPECT_EQ((Calls{BACK_UP, COPY_STOCK, POLICY_QUERY, appendScsiBlock("multibus", "service-time"), CHMOD}),
              host.calls);
}

TEST(Mkconfig, WithoutTheExampleItStillAppendsTheBlockAndSetsTheMode) {
    FakeHost host;
    host.answer(COPY_STOCK, "cp: cannot stat\n", 1);
    EXPECT_EQ(&EC_ok, mkconfig());
    EXPECT_EQ((Calls{BACK_UP, COPY_STOCK, POLICY_QUERY, appendScsiBlock("failover", "rount-robin"), CHMOD}),
              host.calls);
}

TEST(Mkconfig, ItEndsAtABackupThatCannotBeRun) {
    FakeHost host;
    host.answer(BACK_UP, "", NOT_STARTED);
    EXPECT_EQ(&EC_exe_cmd_failed, mkconfig());
    EXPECT_EQ(Calls{BACK_UP}, host.calls);
}

TEST(Mkconfig, ItRestoresTheBackupAfterACopyThatCannotBeRun) {
    FakeHost host;
    host.answer(COPY_STOCK, "", NOT_STARTED);
    EXPECT_EQ(&EC_exe_cmd_failed, mkconfig());
    EXPECT_EQ((Calls{BACK_UP, COPY_STOCK, ROLL_BACK}), host.calls);
}

TEST(Mkconfig, ItRestoresTheBackupAfterAFailedBlockAndSucceedsAllTheSame) {
    FakeHost host;
    host.answer(POLICY_QUERY, "", 1);
    EXPECT_EQ(&EC_ok, mkconfig());
    EXPECT_EQ((Calls{BACK_UP, COPY_STOCK, POLICY_QUERY, ROLL_BACK, CHMOD}), host.calls);
}

TEST(Mkconfig, ItRestoresTheBackupWhenTheModeCannotBeSet) {
    FakeHost host;
    host.answer(CHMOD, "", NO_MEMORY);
    EXPECT_EQ(&EC_exe_cmd_failed, mkconfig());
    EXPECT_EQ((Calls{BACK_UP, COPY_STOCK, POLICY_QUERY, appendScsiBlock("failover", "rount-robin"), CHMOD,
                     ROLL_BACK}),
              host.calls);
}

TEST(Mkconfig, TheModeIsSetByOneCommandThatFailsOnlyWhenItCannotBeRun) {
    FakeHost host;
    EXPECT_EQ(&EC_ok, chmodConfFile());
    EXPECT_EQ(Calls{CHMOD}, host.calls);
    host.answer(CHMOD, "", NOT_STARTED);
    EXPECT_EQ(&EC_exe_cmd_failed, chmodConfFile());
}
