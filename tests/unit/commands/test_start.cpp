// Starting the daemon: what is seen to first, and which tool is asked.
#include "commands/start.h"

#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "tests/support/command_lines.h"
#include "tests/support/fake_host.h"

TEST(Start, TheLvmFilesAreSeenToBeforeTheServiceTool) {
    FakeHost host;
    s_ecItems *result = nullptr;
    EXPECT_EQ("", printed(dravik::startDaemon, &result));
    EXPECT_EQ(&EC_ok, result);
    EXPECT_EQ((Calls{CHECK_LVM, SOFTLINK, "systemctl start dravikd.service"}), host.calls);
}

TEST(Start, ASysVHostHasItsOwnTool) {
    FakeHost host;
    host.becomeRhel6();
    EXPECT_EQ(&EC_ok, dravik::startDaemon());
    EXPECT_EQ((Calls{CHECK_LVM, "service dravikd start"}), host.calls);
}

TEST(Start, OnlyAToolThatCannotBeRunIsAFailure) {
    FakeHost host;
    host.answer(CHECK_LVM, "", NOT_STARTED);
    host.answer(SOFTLINK, "", 1);
    host.answer("systemctl start dravikd.service", "Job failed\n", 1);
    EXPECT_EQ(&EC_ok, dravik::startDaemon());
    host.answer("systemctl start dravikd.service", "", NOT_STARTED);
    EXPECT_EQ(&EC_exe_cmd_failed, dravik::startDaemon());
    EXPECT_EQ("ERROR Execute command [systemctl start dravikd.service] failed\n",
              host.dumps.commandLogMessages().back());
}
