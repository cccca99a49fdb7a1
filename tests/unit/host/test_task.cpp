// The task layer: outcomes of commands as result records, copies of outputs, the five-second timer.

#include "tests/support/children.h"
#include "tests/support/console.h"
#include "tests/support/dumps_redirect.h"
#include "tests/support/system_calls.h"

#include <sys/time.h>
#include <sys/wait.h>
#include <unistd.h>

#include <gtest/gtest.h>

#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <set>

#include "cli/cli_exe.h"
#include "common/comm_util.h"

namespace {

using Texts = std::vector<std::string>;

// The room of an output, full of rubbish before, with rubbish behind it that must stay.
class Room {
  public:
    explicit Room(unsigned int room_size) : size(room_size), bytes(room_size + 8, '#') {}
    char *data() {
        return bytes.data();
    }
    std::string text() const {
        EXPECT_EQ(bytes.substr(size), "########");
        const size_t end = bytes.find('\0');
        return end < size ? bytes.substr(0, end) : "(not terminated)";
    }
    bool untouched() const {
        return bytes == std::string(size + 8, '#');
    }

    unsigned int size;

  private:
    std::string bytes;
};

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

volatile sig_atomic_t own_alarms = 0;

void ownHandler(int /*signal_number*/) {
    own_alarms = own_alarms + 1;
}

class Task : public testing::Test {
  protected:
    Task() {
        unsetenv("DRAVIK_CLI_DEBUG");
        struct sigaction own = {};
        own.sa_handler = ownHandler;
        sigaction(SIGALRM, &own, &handler_before);
        own_alarms = 0;
    }
    ~Task() override {
        disarm();
        EXPECT_EQ(blockedSignals(), blocked);
        struct sigaction now = {};
        sigaction(SIGALRM, nullptr, &now);
        EXPECT_EQ(now.sa_handler, &ownHandler) << "the handler of SIGALRM has not been restored";
        sigaction(SIGALRM, &handler_before, nullptr);
        EXPECT_EQ(own_alarms, expected_alarms);
    }

    // Records keep neither words nor codes of their own.
    void expectAllZero(const s_ecItems &record) const {
        const s_ecItems zero = {};
        EXPECT_EQ(memcmp(&record, &zero, sizeof(zero)), 0);
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

    DumpsFolder dumps;
    std::string blocked = blockedSignals();
    std::set<int> descriptors = openDescriptors();
    int expected_alarms = 0;

  private:
    struct sigaction handler_before = {};
};

std::string printX(int count) {
    return "head -c " + std::to_string(count) + " /dev/zero | tr '\\0' x";
}

// A command that raises this process's alarm, as the timer would after five seconds, and goes on for a while.
const std::string ALARM_AND_HANG = "kill -ALRM $PPID; exec sleep 0.5";

} // namespace

// ---- commands run for their effect

TEST_F(Task, TaskThatSucceedsIsOk) {
    EXPECT_EQ(exeLiunxTaskCmd("true"), &EC_ok);
    EXPECT_EQ(dumps.names(), Texts());
}

TEST_F(Task, TaskThatExitsWithStatusOneIsStillOkAndOnlyTheLogTells) {
    EXPECT_EQ(exeLiunxTaskCmd("echo why && exit 1"), &EC_ok);
    EXPECT_EQ(dumps.commandLogLines(),
              (Texts{"ERROR exe_cmd # Execute command [echo why && exit 1 2>&1] failed, exit code [1]\n",
                     "ERROR exe_cmd # Error message: why\n\n"}));
}

TEST_F(Task, TaskRunsThroughTheFilter) {
    EXPECT_EQ(exeLiunxTaskCmd(("touch " + dumps.path("a") + ";touch " + dumps.path("b")).c_str()), &EC_ok);
    EXPECT_EQ(dumps.names(), (Texts{"a%touch", "b"}));
}

TEST_F(Task, TaskWithoutAShellIsExecuteFailed) {
    const s_ecItems *result = nullptr;
    {
        const FailingCall failing("posix_spawn", EAGAIN);
        result = exeLiunxTaskCmd("true");
    }
    EXPECT_EQ(result, &EC_exe_cmd_failed);
    EXPECT_EQ(dumps.commandLogLines(), (Texts{"ERROR exe_cmd # Popen command [true 2>&1] failed\n",
                                              "ERROR exeLiunxTaskCmd # Execute command [true] failed\n"}));
}

TEST_F(Task, TaskWithoutMemoryIsExecuteFailed) {
    const s_ecItems *result = nullptr;
    {
        const FailingCall failing("allocation", ENOMEM);
        result = exeLiunxTaskCmd(printX(2097152).c_str());
        EXPECT_EQ(failing.count(), 1U);
    }
    EXPECT_EQ(result, &EC_exe_cmd_failed);
    EXPECT_EQ(dumps.commandLogLines(),
              (Texts{"ERROR exe_cmd # Malloc 4194303 byte space failed.\n",
                     "ERROR exeLiunxTaskCmd # Execute command [" + printX(2097152) + "] failed\n"}));
}

TEST_F(Task, TaskWhoseBufferCannotBeHadIsExecuteFailed) {
    const s_ecItems *result = nullptr;
    {
        const FailingCall failing("mmap", ENOMEM);
        result = exeLiunxTaskCmd("true");
        EXPECT_EQ(failing.count(), 1U);
        EXPECT_EQ(failing.size(), 2097152U);
    }
    EXPECT_EQ(result, &EC_exe_cmd_failed);
    EXPECT_EQ(dumps.commandLogLines(), Texts{"ERROR exeLiunxTaskCmd # Execute command [true] failed\n"});
}

TEST_F(Task, TaskWithALargeOutputReleasesIt) {
    // the sanitizer's leak check is the judge
    EXPECT_EQ(exeLiunxTaskCmd(printX(3000000).c_str()), &EC_ok);
    EXPECT_EQ(exeLiunxTaskCmd((printX(3000000) + " && false").c_str()), &EC_ok);
}

// ---- commands run for their output

TEST_F(Task, InfoCopiesTheOutput) {
    Room out(100);
    EXPECT_EQ(exeLiunxInfoCmd("echo one && echo two", out.data(), out.size), &EC_info_ok);
    EXPECT_EQ(out.text(), "one\ntwo\n");
    EXPECT_EQ(dumps.names(), Texts());
    expectAllZero(EC_info_ok);
}

TEST_F(Task, InfoCopiesErrorOutputToo) {
    Room out(100);
    EXPECT_EQ(exeLiunxInfoCmd("sh -c 'echo err 1>&2'", out.data(), out.size), &EC_info_ok);
    EXPECT_EQ(out.text(), "err\n");
}

TEST_F(Task, InfoWithoutOutputIsAnEmptyText) {
    Room out(100);
    EXPECT_EQ(exeLiunxInfoCmd("true", out.data(), out.size), &EC_info_ok);
    EXPECT_EQ(out.text(), "");
}

TEST_F(Task, InfoCutsTheOutputToItsRoom) {
    struct Case {
        unsigned int size;
        const char *expected;
    };
    for (const Case &each :
         {Case{8, "123456\n"}, Case{7, "123456"}, Case{6, "12345"}, Case{2, "1"}, Case{1, ""}}) {
        Room out(each.size);
        EXPECT_EQ(exeLiunxInfoCmd("echo 123456", out.data(), out.size), &EC_info_ok);
        EXPECT_EQ(out.text(), each.expected);
    }
}

TEST_F(Task, InfoWithoutRoomWritesNothing) {
    Room out(0);
    EXPECT_EQ(exeLiunxInfoCmd("echo 123456", out.data(), 0), &EC_info_ok);
    EXPECT_TRUE(out.untouched());
    EXPECT_EQ(exeLiunxInfoCmd_nonblocking("echo 123456", out.data(), 0), &EC_info_ok);
    EXPECT_TRUE(out.untouched());
}

TEST_F(Task, InfoCopiesAnOutputOfMoreThanTwoMiB) {
    Room out(3000001);
    EXPECT_EQ(exeLiunxInfoCmd(printX(3000000).c_str(), out.data(), out.size), &EC_info_ok);
    EXPECT_TRUE(out.text() == std::string(3000000, 'x'));
}

TEST_F(Task, InfoThatExitsWithStatusOneIsExecuteFailedWithItsEmptyOutput) {
    Room out(100);
    EXPECT_EQ(exeLiunxInfoCmd("exit 1", out.data(), out.size), &EC_exe_cmd_failed);
    EXPECT_EQ(out.text(), "");
    EXPECT_EQ(dumps.commandLogLines(),
              (Texts{"ERROR exe_cmd # Execute command [exit 1 2>&1] failed, exit code [1]\n",
                     "ERROR exe_cmd # Error message: \n",
                     "ERROR exeLiunxInfoCmd # Command [exit 1] failed, exitcode:[1]\n"}));
}

TEST_F(Task, InfoThatFailsStillCopiesItsOutput) {
    Room out(100);
    EXPECT_EQ(exeLiunxInfoCmd("echo partly && exit 42", out.data(), out.size), &EC_exe_cmd_failed);
    EXPECT_EQ(out.text(), "partly\n");
    EXPECT_EQ(dumps.commandLogLines()[2],
              "ERROR exeLiunxInfoCmd # Command [echo partly && exit 42] failed, exitcode:[42]\n");
}

TEST_F(Task, InfoThatFailsWithALargeOutputReleasesIt) {
    Room out(100);
    EXPECT_EQ(exeLiunxInfoCmd((printX(3000000) + " && exit 2").c_str(), out.data(), out.size),
              &EC_exe_cmd_failed);
    EXPECT_EQ(out.text(), std::string(99, 'x'));
}

TEST_F(Task, InfoKilledByASignalIsASuccess) {
    Room out(100);
    EXPECT_EQ(exeLiunxInfoCmd("echo before && kill -9 $$", out.data(), out.size), &EC_info_ok);
    EXPECT_EQ(out.text(), "before\n");
}

TEST_F(Task, InfoThatCannotBeRunIsExecuteFailedAndCopiesNothing) {
    for (const char *call : {"pipe2", "posix_spawn", "mmap"}) {
        dumps.forgetLogs();
        Room out(100);
        const s_ecItems *result = nullptr;
        {
            const FailingCall failing(call, ENOMEM);
            result = exeLiunxInfoCmd("true", out.data(), out.size);
        }
        EXPECT_EQ(result, &EC_exe_cmd_failed);
        EXPECT_TRUE(out.untouched()) << call;
        EXPECT_EQ(dumps.commandLogLines().back(), "ERROR exeLiunxInfoCmd # Execute command [true] failed\n");
    }
}

TEST_F(Task, OutputEndsAtANulByteForTextFunctions) {
    Room out(100);
    EXPECT_EQ(exeLiunxInfoCmd("printf 'one\\0two'", out.data(), out.size), &EC_info_ok);
    EXPECT_EQ(out.text(), "one");
}

// ---- commands that may hang

TEST_F(Task, TimedCopiesTheOutputAndNeedsNoFilter) {
    Room out(100);
    EXPECT_EQ(exeLiunxInfoCmd_nonblocking("x=word; echo $x", out.data(), out.size), &EC_info_ok);
    EXPECT_EQ(out.text(), "word\n");
    EXPECT_EQ(dumps.names(), Texts());
    EXPECT_EQ(invoke_count, 0);
    expectAllZero(EC_info_ok);
}

TEST_F(Task, TimedCutsTheOutputToItsRoom) {
    Room out(4);
    EXPECT_EQ(exeLiunxInfoCmd_nonblocking("echo 123456", out.data(), out.size), &EC_info_ok);
    EXPECT_EQ(out.text(), "123");
}

TEST_F(Task, TimedCopiesAnOutputOfMoreThanTwoMiB) {
    Room out(3000001);
    EXPECT_EQ(exeLiunxInfoCmd_nonblocking(printX(3000000).c_str(), out.data(), out.size), &EC_info_ok);
    EXPECT_TRUE(out.text() == std::string(3000000, 'x'));
}

TEST_F(Task, TimedThatExitsWithAnotherStatusIsExecuteFailedWithItsOutput) {
    Room out(100);
    EXPECT_EQ(exeLiunxInfoCmd_nonblocking("echo partly; exit 3", out.data(), out.size), &EC_exe_cmd_failed);
    EXPECT_EQ(out.text(), "partly\n");
    EXPECT_EQ(
        dumps.commandLogLines(),
        (Texts{
            "ERROR exe_cmd_nonblocking # Execute command [echo partly; exit 3 2>&1] failed, exit code [3]\n",
            "ERROR exe_cmd_nonblocking # Error message: partly\n\n",
            "ERROR exeLiunxInfoCmd_nonblocking # Execute command [echo partly; exit 3] failed\n"}));
}

TEST_F(Task, TimedThatFailsWithALargeOutputReleasesIt) {
    Room out(100);
    EXPECT_EQ(exeLiunxInfoCmd_nonblocking((printX(3000000) + "; exit 3").c_str(), out.data(), out.size),
              &EC_exe_cmd_failed);
    EXPECT_EQ(out.text(), std::string(99, 'x'));
}

TEST_F(Task, TimedThatCannotBeRunIsExecuteFailed) {
    for (const char *call : {"pipe2", "posix_spawn", "mmap", "setitimer", "sigaction"}) {
        dumps.forgetLogs();
        Room out(100);
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

TEST_F(Task, TimedWithoutMemoryIsExecuteFailed) {
    Room out(100);
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

TEST_F(Task, TimedThatTakesLessThanFiveSecondsIsWaitedFor) {
    Room out(100);
    EXPECT_EQ(exeLiunxInfoCmd_nonblocking("echo one; sleep 1; echo two", out.data(), out.size), &EC_info_ok);
    EXPECT_EQ(out.text(), "one\ntwo\n");
}

TEST_F(Task, TimedThatSleepsTenSecondsIsGivenUpAfterFive) {
    Room out(100);
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

TEST_F(Task, TimedThatClosesItsOutputAndGoesOnIsGivenUpToo) {
    Room out(100);
    EXPECT_EQ(exeLiunxInfoCmd_nonblocking(("exec >&- 2>&-; sleep 0.1; " + ALARM_AND_HANG + " #").c_str(),
                                          out.data(), out.size),
              &EC_exe_cmd_timeout);
    EXPECT_TRUE(out.untouched());
    endAbandonedChildren();
}

TEST_F(Task, AnyExpiryOfTheTimerEndsTheCommand) {
    Room out(100);
    EXPECT_EQ(exeLiunxInfoCmd_nonblocking(ALARM_AND_HANG.c_str(), out.data(), out.size), &EC_exe_cmd_timeout);
    EXPECT_TRUE(out.untouched());
    endAbandonedChildren();
}

TEST_F(Task, TimeOutAfterALargeOutputReleasesIt) {
    Room out(100);
    EXPECT_EQ(
        exeLiunxInfoCmd_nonblocking((printX(3000000) + "; " + ALARM_AND_HANG).c_str(), out.data(), out.size),
        &EC_exe_cmd_timeout);
    EXPECT_TRUE(out.untouched());
    endAbandonedChildren();
}

TEST_F(Task, TimerIsRestoredAfterASuccess) {
    const itimerval hour = {{1000, 0}, {3600, 0}};
    setitimer(ITIMER_REAL, &hour, nullptr);
    Room out(100);
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

TEST_F(Task, OneTimedCommandAfterAnotherCountsAnew) {
    Room out(100);
    for (int round = 0; round < 3; round++) {
        EXPECT_EQ(exeLiunxInfoCmd_nonblocking(ALARM_AND_HANG.c_str(), out.data(), out.size),
                  &EC_exe_cmd_timeout);
        EXPECT_EQ(invoke_count, 1);
        EXPECT_EQ(exeLiunxInfoCmd_nonblocking("echo a", out.data(), out.size), &EC_info_ok);
        EXPECT_EQ(out.text(), "a\n");
        EXPECT_EQ(invoke_count, 0);
        out = Room(100);
    }
    endAbandonedChildren();
}

TEST_F(Task, ExpiriesAtAnyInstantCorruptNothing) {
    // The alarm comes at every moment of the run: in the reading, in a growth, in the log, at the end. Whatever
    // the outcome is, it is one of the contract's, and heap, log and signals stay sound.
    int timeouts = 0;
    for (int delay = 0; delay < 40; delay++) {
        char pause[16];
        snprintf(pause, sizeof(pause), "0.%04d", 4 * delay);
        const std::string command = "(sleep " + std::string(pause) + "; kill -ALRM $PPID; echo >" +
                                    dumps.path("rung") + ") >/dev/null 2>&1 & " + printX(3000000) +
                                    "; exit 3";
        Room out(100);
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

TEST_F(Task, CommandNeverStartsWithTheAlarmHeldBack) {
    Room out(100);
    const char *command = "exec grep SigBlk /proc/self/status";
    EXPECT_EQ(exeLiunxInfoCmd_nonblocking(command, out.data(), out.size), &EC_info_ok);
    EXPECT_EQ(out.text(), "SigBlk:\t" + blockedSignals() + "\n");
    EXPECT_EQ(exeLiunxInfoCmd(command, out.data(), out.size), &EC_info_ok);
    EXPECT_EQ(out.text(), "SigBlk:\t" + blockedSignals() + "\n");
}

// ---- handlers

TEST_F(Task, MySignalReturnsThePreviousHandler) {
    EXPECT_EQ(my_signal(SIGUSR1, ownHandler), SIG_DFL);
    EXPECT_EQ(my_signal(SIGUSR1, SIG_IGN), &ownHandler);
    EXPECT_EQ(my_signal(SIGUSR1, SIG_DFL), SIG_IGN);
}

TEST_F(Task, MySignalThatCannotInstallReturnsTheErrorValue) {
    EXPECT_EQ(my_signal(SIGKILL, ownHandler), SIG_ERR);
    EXPECT_EQ(my_signal(0, ownHandler), SIG_ERR);
    EXPECT_EQ(my_signal(9999, ownHandler), SIG_ERR);
}

TEST_F(Task, MySignalLetsSigalrmInterruptAndOthersRestart) {
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

TEST_F(Task, TimersHandlerCountsAndJumpsBackWithOne) {
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

TEST_F(Task, HandlerOfTheCallerIsRestoredAfterEveryOutcome) {
    Room out(100);
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

TEST_F(Task, NoDescriptorStaysOpenAfterACommandThatEnded) {
    const std::set<int> before = openDescriptors();
    Room out(100);
    exeLiunxTaskCmd("echo a");
    exeLiunxInfoCmd("exit 1", out.data(), out.size);
    exeLiunxInfoCmd_nonblocking("echo a", out.data(), out.size);
    exeLiunxInfoCmd_nonblocking("exit 1", out.data(), out.size);
    EXPECT_EQ(openDescriptors(), before);
}
