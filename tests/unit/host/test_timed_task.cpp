// Commands that may hang: the five seconds, what a time-out leaves behind, handlers and timer given back.
#include "host/timed_task.h"

#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstdio>
#include <set>
#include <string>
#include <vector>

#include <sys/time.h>
#include <sys/wait.h>
#include <unistd.h>

#include <gtest/gtest.h>

#include "tests/support/children.h"
#include "tests/support/system_calls.h"
#include "tests/support/task_fixture.h"

using dravik::runTimed;
using dravik::ShellCommand;
using namespace dravik::literals;

namespace {

itimerval timerNow() {
    itimerval now = {};
    getitimer(ITIMER_REAL, &now);
    return now;
}

bool isDisarmed(const itimerval &timer) {
    return timer.it_value.tv_sec == 0 && timer.it_value.tv_usec == 0;
}

void disarm() {
    const itimerval none = {};
    setitimer(ITIMER_REAL, &none, nullptr);
}

class TimedTask : public TaskFixture {
  protected:
    ~TimedTask() override {
        disarm();
    }

    // A time-out leaves its child alone and its pipe open. Closes the pipe, so that a child that still writes
    // into it ends, and waits: no child outlives its test.
    void endAbandonedChildren() const {
        disarm();
        for (int fd = 0; fd < 1024; fd++) {
            if (descriptors.find(fd) == descriptors.end()) {
                close(fd);
            }
        }
        while (waitpid(-1, nullptr, 0) > 0) {
        }
    }

    std::set<int> descriptors = openDescriptors();
};

// A command that raises this process's alarm, as the timer would after five seconds, and goes on for a while.
const std::string ALARM_AND_HANG = "kill -ALRM $PPID; exec sleep 0.5";

} // namespace

// ---- commands that may hang

TEST_F(TimedTask, TimedCopiesTheOutputAndNeedsNoFilter) {
    OutputBuffer out(100);
    EXPECT_EQ(exeLiunxInfoCmd_nonblocking("x=word; echo $x", out.data(), out.size), &EC_info_ok);
    EXPECT_EQ(out.text(), "word\n");
    EXPECT_EQ(dumps.names(), Texts());
    EXPECT_EQ(invoke_count, 0);
    expectAllZero(EC_info_ok);
}

TEST_F(TimedTask, TimedCutsTheOutputToItsBuffer) {
    OutputBuffer out(4);
    EXPECT_EQ(exeLiunxInfoCmd_nonblocking("echo 123456", out.data(), out.size), &EC_info_ok);
    EXPECT_EQ(out.text(), "123");
}

TEST_F(TimedTask, TimedWithoutABufferWritesNothing) {
    OutputBuffer out(0);
    EXPECT_EQ(exeLiunxInfoCmd_nonblocking("echo 123456", out.data(), 0), &EC_info_ok);
    EXPECT_TRUE(out.untouched());
}

TEST_F(TimedTask, TimedCopiesAnOutputOfMoreThanTwoMiB) {
    OutputBuffer out(3000001);
    EXPECT_EQ(exeLiunxInfoCmd_nonblocking(printX(3000000).c_str(), out.data(), out.size), &EC_info_ok);
    EXPECT_TRUE(out.text() == std::string(3000000, 'x'));
}

TEST_F(TimedTask, TimedThatExitsWithAnotherStatusIsExecuteFailedWithItsOutput) {
    OutputBuffer out(100);
    EXPECT_EQ(exeLiunxInfoCmd_nonblocking("echo partly; exit 3", out.data(), out.size), &EC_exe_cmd_failed);
    EXPECT_EQ(out.text(), "partly\n");
    EXPECT_EQ(
        dumps.commandLogLines(),
        (Texts{
            "ERROR exe_cmd_nonblocking # Execute command [echo partly; exit 3 2>&1] failed, exit code [3]\n",
            "ERROR exe_cmd_nonblocking # Error message: partly\n\n",
            "ERROR exeLiunxInfoCmd_nonblocking # Execute command [echo partly; exit 3] failed\n"}));
}

TEST_F(TimedTask, TimedThatFailsWithALargeOutputReleasesIt) {
    OutputBuffer out(100);
    const long before = heldBlocksAfterALine();
    EXPECT_EQ(exeLiunxInfoCmd_nonblocking((printX(3000000) + "; exit 3").c_str(), out.data(), out.size),
              &EC_exe_cmd_failed);
    EXPECT_EQ(heldBlocks(), before);
    EXPECT_EQ(out.text(), std::string(99, 'x'));
}

TEST_F(TimedTask, TimedThatCannotBeRunIsExecuteFailed) {
    for (const char *call : {"pipe2", "posix_spawn", "mmap", "setitimer", "sigaction"}) {
        dumps.forgetLogs();
        OutputBuffer out(100);
        const s_ecItems *result = nullptr;
        {
            const FailingCall failing(call, ENOMEM);
            result = exeLiunxInfoCmd_nonblocking("true", out.data(), out.size);
            EXPECT_GE(failing.count(), 1U) << call;
        }
        EXPECT_EQ(result, &EC_exe_cmd_failed) << call;
        EXPECT_EQ(dumps.commandLogLines().back(),
                  "ERROR exeLiunxInfoCmd_nonblocking # Execute command [true] failed\n")
            << call;
        EXPECT_TRUE(isDisarmed(timerNow())) << call;
    }
}

TEST_F(TimedTask, TimedWithoutMemoryIsExecuteFailed) {
    OutputBuffer out(100);
    const s_ecItems *result = nullptr;
    {
        const FailingCall failing("allocation", ENOMEM);
        result = exeLiunxInfoCmd_nonblocking(printX(2097152).c_str(), out.data(), out.size);
    }
    EXPECT_EQ(result, &EC_exe_cmd_failed);
    EXPECT_TRUE(out.untouched());
    EXPECT_EQ(
        dumps.commandLogLines(),
        (Texts{"ERROR exe_cmd_nonblocking # Malloc 4194303 byte space failed.\n",
               "ERROR exeLiunxInfoCmd_nonblocking # Execute command [" + printX(2097152) + "] failed\n"}));
}

TEST_F(TimedTask, TimedThatTakesLessThanFiveSecondsIsWaitedFor) {
    OutputBuffer out(100);
    EXPECT_EQ(exeLiunxInfoCmd_nonblocking("echo one; sleep 1; echo two", out.data(), out.size), &EC_info_ok);
    EXPECT_EQ(out.text(), "one\ntwo\n");
}

TEST_F(TimedTask, TimedThatSleepsTenSecondsIsGivenUpAfterFive) {
    OutputBuffer out(100);
    const auto before = std::chrono::steady_clock::now();
    const std::string command = "echo $$ >" + dumps.path("pid") + "; echo partly; exec sleep 10";
    EXPECT_EQ(exeLiunxInfoCmd_nonblocking(command.c_str(), out.data(), out.size), &EC_exe_cmd_timeout);
    const std::chrono::duration<double> taken = std::chrono::steady_clock::now() - before;
    EXPECT_GE(taken.count(), 4.9);
    EXPECT_LT(taken.count(), 8.0);
    EXPECT_TRUE(out.untouched());
    EXPECT_EQ(invoke_count, 1);
    EXPECT_EQ(dumps.commandLogLines(),
              Texts{"ERROR exeLiunxInfoCmd_nonblocking # Execute command [" + command + "] timeout\n"});
    // the timer is left armed with its five seconds
    const itimerval timer = timerNow();
    EXPECT_FALSE(isDisarmed(timer));
    EXPECT_EQ(timer.it_interval.tv_sec, 5);
    EXPECT_EQ(timer.it_interval.tv_usec, 0);
    // and the child is left alone
    const auto child = static_cast<pid_t>(std::stol(dumps.read("pid")));
    EXPECT_EQ(kill(child, 0), 0);
    kill(child, SIGKILL);
    endAbandonedChildren();
}

TEST_F(TimedTask, TimedThatClosesItsOutputAndGoesOnIsGivenUpToo) {
    OutputBuffer out(100);
    EXPECT_EQ(exeLiunxInfoCmd_nonblocking(("exec >&- 2>&-; sleep 0.1; " + ALARM_AND_HANG + " #").c_str(),
                                          out.data(), out.size),
              &EC_exe_cmd_timeout);
    EXPECT_TRUE(out.untouched());
    endAbandonedChildren();
}

TEST_F(TimedTask, AnyExpiryOfTheTimerEndsTheCommand) {
    OutputBuffer out(100);
    EXPECT_EQ(exeLiunxInfoCmd_nonblocking(ALARM_AND_HANG.c_str(), out.data(), out.size), &EC_exe_cmd_timeout);
    EXPECT_TRUE(out.untouched());
    endAbandonedChildren();
}

TEST_F(TimedTask, TimeOutAfterALargeOutputReleasesIt) {
    OutputBuffer out(100);
    const long before = heldBlocksAfterALine();
    EXPECT_EQ(
        exeLiunxInfoCmd_nonblocking((printX(3000000) + "; " + ALARM_AND_HANG).c_str(), out.data(), out.size),
        &EC_exe_cmd_timeout);
    EXPECT_EQ(heldBlocks(), before);
    EXPECT_TRUE(out.untouched());
    endAbandonedChildren();
}

TEST_F(TimedTask, TimerIsRestoredAfterASuccess) {
    const itimerval hour = {{1000, 0}, {3600, 0}};
    setitimer(ITIMER_REAL, &hour, nullptr);
    OutputBuffer out(100);
    EXPECT_EQ(exeLiunxInfoCmd_nonblocking("echo a", out.data(), out.size), &EC_info_ok);
    const itimerval after = timerNow();
    EXPECT_GE(after.it_value.tv_sec, 3590);
    EXPECT_LE(after.it_value.tv_sec, 3600);
    EXPECT_EQ(after.it_interval.tv_sec, 1000);
    disarm();
    EXPECT_EQ(exeLiunxInfoCmd_nonblocking("echo a", out.data(), out.size), &EC_info_ok);
    EXPECT_TRUE(isDisarmed(timerNow()));
    EXPECT_EQ(exeLiunxInfoCmd_nonblocking("exit 1", out.data(), out.size), &EC_exe_cmd_failed);
    EXPECT_TRUE(isDisarmed(timerNow()));
}

TEST_F(TimedTask, OneTimedCommandAfterAnotherCountsAnew) {
    OutputBuffer out(100);
    for (int round = 0; round < 3; round++) {
        EXPECT_EQ(exeLiunxInfoCmd_nonblocking(ALARM_AND_HANG.c_str(), out.data(), out.size),
                  &EC_exe_cmd_timeout);
        EXPECT_EQ(invoke_count, 1);
        EXPECT_EQ(exeLiunxInfoCmd_nonblocking("echo a", out.data(), out.size), &EC_info_ok);
        EXPECT_EQ(out.text(), "a\n");
        EXPECT_EQ(invoke_count, 0);
        out = OutputBuffer(100);
    }
    endAbandonedChildren();
}

TEST_F(TimedTask, ExpiriesAtAnyInstantCorruptNothing) {
    // The alarm comes at every moment of the run: in the reading, in a growth, in the log, at the end. Whatever
    // the outcome is, it is one of the contract's, and heap, log and signals stay sound.
    int timeouts = 0;
    for (int delay = 0; delay < 40; delay++) {
        char pause[16];
        snprintf(pause, sizeof(pause), "0.%04d", 4 * delay);
        const std::string command = "(sleep " + std::string(pause) + "; kill -ALRM $PPID; echo >" +
                                    dumps.path("rung") + ") >/dev/null 2>&1 & " + printX(3000000) +
                                    "; exit 3";
        OutputBuffer out(100);
        const s_ecItems *result = exeLiunxInfoCmd_nonblocking(command.c_str(), out.data(), out.size);
        disarm();
        const std::string timed = "ERROR exeLiunxInfoCmd_nonblocking # Execute command [" + command + "] ";
        Texts lines = dumps.commandLogLines();
        if (result == &EC_exe_cmd_timeout) {
            timeouts++;
            EXPECT_TRUE(out.untouched());
            EXPECT_EQ(lines.back(), timed + "timeout\n");
        } else {
            EXPECT_EQ(result, &EC_exe_cmd_failed);
            EXPECT_EQ(out.text(), std::string(99, 'x'));
            EXPECT_EQ(lines.size(), 3U);
            EXPECT_EQ(lines.back(), timed + "failed\n");
        }
        dumps.forgetLogs();
        endAbandonedChildren();
        for (int wait = 0; wait < 5000 && !dumps.has("rung"); wait++) {
            usleep(1000);
        }
        ASSERT_EQ(unlink("/dumps/rung"), 0);
    }
    EXPECT_GT(timeouts, 0);
    EXPECT_LT(timeouts, 40);
    // an alarm that came after the run went to this test's own handler
    expected_alarms = own_alarms;
}

TEST_F(TimedTask, CommandNeverStartsWithTheAlarmHeldBack) {
    OutputBuffer out(100);
    const char *command = "exec grep SigBlk /proc/self/status";
    EXPECT_EQ(exeLiunxInfoCmd_nonblocking(command, out.data(), out.size), &EC_info_ok);
    EXPECT_EQ(out.text(), "SigBlk:\t" + blockedSignals() + "\n");
}

TEST_F(TimedTask, NoDescriptorStaysOpenAfterACommandThatEnded) {
    const std::set<int> before = openDescriptors();
    OutputBuffer out(100);
    exeLiunxInfoCmd_nonblocking("echo a", out.data(), out.size);
    exeLiunxInfoCmd_nonblocking("exit 1", out.data(), out.size);
    EXPECT_EQ(openDescriptors(), before);
}

// ---- a command line as a type

TEST_F(TimedTask, PlainCommandIsRunAsTheTextIs) {
    OutputBuffer out(100);
    EXPECT_EQ(runTimed("delete_", ShellCommand("echo "_sh, "mpatha", "; exit 0"_sh), out.data(), out.size),
              &EC_info_ok);
    EXPECT_EQ(out.text(), "mpatha\n");
    EXPECT_EQ(runTimed("delete_", ShellCommand("exit 3"_sh), out.data(), out.size), &EC_exe_cmd_failed);
    EXPECT_EQ(dumps.commandLogLines().back(),
              "ERROR exeLiunxInfoCmd_nonblocking # Execute command [exit 3] failed\n");
    EXPECT_EQ(runTimed("delete_", ShellCommand(), out.data(), out.size), &EC_info_ok);
    EXPECT_EQ(out.text(), "");
}

TEST_F(TimedTask, CommandWithAWordThatIsNotPlainIsNeverRunAndTheTimerNotStarted) {
    const std::string word = "mpatha;touch " + dumps.path("made");
    OutputBuffer out(100);
    const s_ecItems *result = nullptr;
    {
        const FailingCall failing("setitimer", EINVAL);
        result = runTimed("delete_", ShellCommand("velomux -f "_sh, word.c_str()), out.data(), out.size);
        EXPECT_EQ(failing.count(), 0U);
    }
    EXPECT_EQ(result, &EC_exe_cmd_failed);
    EXPECT_TRUE(out.untouched());
    EXPECT_EQ(dumps.commandLogLines(),
              Texts{"ERROR delete_ # Execute command [velomux -f " + word + "] failed\n"});
    EXPECT_EQ(dumps.names(), Texts{"dravik_cli.log"});
}

// ---- handlers

TEST_F(TimedTask, MySignalReturnsThePreviousHandler) {
    EXPECT_EQ(my_signal(SIGUSR1, ownHandler), SIG_DFL);
    EXPECT_EQ(my_signal(SIGUSR1, SIG_IGN), &ownHandler);
    EXPECT_EQ(my_signal(SIGUSR1, SIG_DFL), SIG_IGN);
}

TEST_F(TimedTask, MySignalThatCannotInstallReturnsTheErrorValue) {
    EXPECT_EQ(my_signal(SIGKILL, ownHandler), SIG_ERR);
    EXPECT_EQ(my_signal(0, ownHandler), SIG_ERR);
    EXPECT_EQ(my_signal(9999, ownHandler), SIG_ERR);
}

TEST_F(TimedTask, MySignalLetsSigalrmInterruptAndOthersRestart) {
    my_signal(SIGALRM, ownHandler);
    struct sigaction installed = {};
    sigaction(SIGALRM, nullptr, &installed);
    EXPECT_EQ(installed.sa_flags & SA_RESTART, 0);
    my_signal(SIGUSR1, ownHandler);
    sigaction(SIGUSR1, nullptr, &installed);
    EXPECT_EQ(installed.sa_flags & SA_RESTART, SA_RESTART);
    for (int number = 1; number < 32; number++) {
        EXPECT_EQ(sigismember(&installed.sa_mask, number), 0) << number;
    }
    my_signal(SIGUSR1, SIG_DFL);
}

TEST_F(TimedTask, TimersHandlerCountsAndJumpsBackWithOne) {
    invoke_count = 5;
    const int jumped = sigsetjmp(invoke_env, 1);
    if (jumped == 0) {
        timeout_signal_handler(SIGALRM);
        FAIL() << "the handler came back";
    }
    EXPECT_EQ(jumped, 1);
    EXPECT_EQ(invoke_count, 6);
    invoke_count = 0;
}

TEST_F(TimedTask, HandlerOfTheCallerIsRestoredAfterEveryOutcome) {
    OutputBuffer out(100);
    // the fixture's end looks at the handler; here at what it does
    exeLiunxInfoCmd_nonblocking("true", out.data(), out.size);
    raise(SIGALRM);
    EXPECT_EQ(own_alarms, 1);
    exeLiunxInfoCmd_nonblocking("false", out.data(), out.size);
    raise(SIGALRM);
    EXPECT_EQ(own_alarms, 2);
    exeLiunxInfoCmd_nonblocking(ALARM_AND_HANG.c_str(), out.data(), out.size);
    raise(SIGALRM);
    EXPECT_EQ(own_alarms, 3);
    expected_alarms = 3;
    endAbandonedChildren();
}
