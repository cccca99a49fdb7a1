// A child that does not end: killed with all that it has started, and told as one that could not be run.
#include "common/capture.h"

#include <chrono>
#include <csignal>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "tests/support/dumps_redirect.h"
#include "tests/support/system_calls.h"

using namespace dravik;

namespace {

using Lines = std::vector<std::string>;

class CaptureDeadline : public testing::Test {
  protected:
    ~CaptureDeadline() override {
        setChildDeadline(0, nullptr);
    }
    int run(const char *command) {
        int grown = 0;
        const auto begun = std::chrono::steady_clock::now();
        const int result = exe_query(command, buffer, sizeof(buffer), &out, &grown);
        seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - begun).count();
        return result;
    }
    // A script's text reaches its shell as it is; a command line passes the character filter.
    int runScript(const char *text) {
        dumps.write("script", text);
        return run(("sh " + dumps.path("script")).c_str());
    }
    DumpsFolder dumps;
    char buffer[4096] = "";
    char *out = nullptr;
    double seconds = 0;
};

int calls = 0;
void count() {
    ++calls;
}

} // namespace

TEST_F(CaptureDeadline, AChildThatEndsInTimeIsAsWithoutOne) {
    setChildDeadline(60, nullptr);
    EXPECT_EQ(run("echo listing"), 0);
    EXPECT_STREQ(out, "listing\n");
    EXPECT_TRUE(lastChildEnd().started);
    EXPECT_FALSE(lastChildEnd().deadline_passed);
    EXPECT_EQ(lastChildEnd().exit_status, 0);
    EXPECT_EQ(lastChildEnd().signal_number, 0);
    EXPECT_EQ(run("exit 7"), 7);
    EXPECT_EQ(lastChildEnd().exit_status, 7);
    EXPECT_EQ(run("kill -9 $$"), 0);
    EXPECT_EQ(lastChildEnd().signal_number, SIGKILL);
    EXPECT_EQ(lastChildEnd().exit_status, 0);
}

TEST_F(CaptureDeadline, AChildThatHangsIsKilledAndCountsAsNotStarted) {
    setChildDeadline(1, nullptr);
    EXPECT_EQ(run("echo half a listing && sleep 77"), EXE_NOT_STARTED);
    EXPECT_EQ(out, nullptr);
    EXPECT_LT(seconds, 30);
    EXPECT_TRUE(lastChildEnd().started);
    EXPECT_TRUE(lastChildEnd().deadline_passed);
    EXPECT_GE(lastChildEnd().duration_ms, 1000);
    EXPECT_EQ(dumps.commandLogLines(), Lines{"ERROR exe_query # Command [echo half a listing && sleep 77] "
                                             "did not end within 1 seconds: it has "
                                             "been killed.\n"});
}

TEST_F(CaptureDeadline, AChildThatCannotBeKilledIsLeftAloneAndNotStartedAgainBeforeItHasEnded) {
    setChildDeadline(1, count);
    calls = 0;
    int stuck = 0;
    {
        const ChildrenNeverEnd never;
        EXPECT_EQ(run("echo $$ && sleep 77"), EXE_NOT_STARTED);
        EXPECT_GE(seconds, 6);
        EXPECT_LT(seconds, 30);
        EXPECT_GE(calls, 5); // somebody is called all the while
        EXPECT_TRUE(lastChildEnd().deadline_passed);
        stuck = lastChildEnd().stuck_process;
        EXPECT_EQ(stuck, atoi(buffer));
        EXPECT_EQ(run("echo $$ && sleep 77"), EXE_NOT_STARTED);
        EXPECT_LT(seconds, 1);
        EXPECT_FALSE(lastChildEnd().started);
        EXPECT_FALSE(lastChildEnd().deadline_passed);
        EXPECT_EQ(lastChildEnd().stuck_process, stuck);
    }
    EXPECT_EQ(run("echo another"), 0);
    EXPECT_EQ(lastChildEnd().stuck_process, 0);
    EXPECT_EQ(run("echo $$ && sleep 77"), EXE_NOT_STARTED); // it has ended meanwhile
    EXPECT_EQ(lastChildEnd().stuck_process, 0);
    const std::string killed =
        "ERROR exe_query # Command [echo $$ && sleep 77] did not end within 1 seconds: it has been killed.\n";
    EXPECT_EQ(dumps.commandLogLines(),
              (Lines{killed,
                     "ERROR exe_query # Command [echo $$ && sleep 77] is not started: process " +
                         std::to_string(stuck) + ", which has been killed, has not ended.\n",
                     killed}));
}

TEST_F(CaptureDeadline, WhatWasStuckIsCollectedOnceItHasEnded) {
    setChildDeadline(1, nullptr);
    {
        const ChildrenNeverEnd never;
        run("sleep 77");
    }
    const int stuck = lastChildEnd().stuck_process;
    EXPECT_NE(stuck, 0);
    EXPECT_EQ(run("echo another"), 0);
    EXPECT_EQ(kill(stuck, 0), -1);
}

TEST_F(CaptureDeadline, EverythingThatItHasStartedIsKilledWithIt) {
    setChildDeadline(1, nullptr);
    EXPECT_EQ(runScript("sleep 77 & echo $!; wait"), EXE_NOT_STARTED);
    setChildDeadline(0, nullptr);
    const pid_t grandchild = atoi(buffer);
    ASSERT_GT(grandchild, 1);
    for (int waited = 0; waited < 500 && kill(grandchild, 0) == 0; ++waited) {
        // What init has not reaped yet is dead, too.
        const std::string state =
            "test \"$(cut -d ' ' -f 3 /proc/" + std::to_string(grandchild) + "/stat)\" = Z";
        if (system(state.c_str()) == 0) { // NOLINT(cert-env33-c)
            return;
        }
        usleep(10000);
    }
    EXPECT_NE(kill(grandchild, 0), 0);
}

TEST_F(CaptureDeadline, AChildThatPrintsForEverIsKilledToo) {
    setChildDeadline(1, nullptr);
    EXPECT_EQ(runScript("while sleep 0.01; do echo x; done"), EXE_NOT_STARTED);
    EXPECT_LT(seconds, 30);
}

TEST_F(CaptureDeadline, AChildThatClosesItsOutputAndGoesOnIsKilledToo) {
    setChildDeadline(1, nullptr);
    EXPECT_EQ(runScript("exec >&-; sleep 77"), EXE_NOT_STARTED);
    EXPECT_TRUE(lastChildEnd().deadline_passed);
    EXPECT_LT(seconds, 30);
}

TEST_F(CaptureDeadline, WhoeverAsksIsCalledAboutOnceASecond) {
    calls = 0;
    setChildDeadline(0, count);
    EXPECT_EQ(run("sleep 2.5"), 0);
    EXPECT_GE(calls, 2);
    EXPECT_LE(calls, 20);
    calls = 0;
    setChildDeadline(60, count);
    EXPECT_EQ(runScript("exec >&-; sleep 2.5"), 0);
    EXPECT_GE(calls, 2);
    EXPECT_LE(calls, 20);
}

TEST_F(CaptureDeadline, WhoeverAsksIsCalledWhileAChildPrintsWithoutAPauseAndBetweenManyShortOnes) {
    calls = 0;
    setChildDeadline(60, count);
    EXPECT_EQ(runScript("for i in 1 2 3 4 5 6 7 8 9 10 11 12 13; do echo x; sleep 0.2; done"), 0);
    EXPECT_GE(calls, 2);
    EXPECT_LE(calls, 20);
    calls = 0;
    for (int i = 0; i < 13; ++i) {
        EXPECT_EQ(run("sleep 0.2"), 0);
    }
    EXPECT_GE(calls, 2);
    EXPECT_LE(calls, 20);
}
