// The daemon's state as `status` prints it.
#include "commands/status.h"

#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "tests/support/command_lines.h"
#include "tests/support/fake_host.h"

TEST(Status, ItPrintsTheStateInABox) {
    FakeHost host;
    host.answer(SYSTEMD_STATUS, SYSTEMD_RUNNING);
    s_ecItems *result = nullptr;
    EXPECT_EQ(boxed("Service status: active\n"), printed(status, &result));
    EXPECT_EQ(&EC_info_ok, result);
    EXPECT_EQ((Calls{SOFTLINK, SYSTEMD_STATUS}), host.calls);
}

TEST(Status, AStoppedDaemonIsInactiveAndASuccess) {
    FakeHost host;
    host.answer(SYSTEMD_STATUS, SYSTEMD_STOPPED, 3);
    s_ecItems *result = nullptr;
    EXPECT_EQ(boxed("Service status: inactive\n"), printed(status, &result));
    EXPECT_EQ(&EC_info_ok, result);
}

TEST(Status, AHostWhoseKernelDoesNotAnswerSaysSoFirst) {
    FakeHost host;
    host.kernelDoesNotAnswer();
    s_ecItems *result = nullptr;
    EXPECT_EQ("get os version error\n" + boxed("Service status: inactive\n"), printed(status, &result));
    EXPECT_EQ(&EC_info_ok, result);
    EXPECT_EQ((Calls{SOFTLINK, SYSTEMD_STATUS}), host.calls);
}
