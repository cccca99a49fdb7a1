// The capture layer: whole outputs, growth, exit statuses, the filter, its log lines, its children.
#include "common/capture.h"

#include "tests/support/children.h"
#include "tests/support/console.h"
#include "tests/support/dumps_redirect.h"
#include "tests/support/rules.h"
#include "tests/support/system_calls.h"

#include <fcntl.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <set>
#include <tuple>

namespace {

using Texts = std::vector<std::string>;
using Runner = int (*)(const char *, char *, int, char **, int *);

constexpr int FLAG_BEFORE = 77;
constexpr int STEP = 20480;

// One run of a command: a buffer of exactly `size` bytes, full of rubbish before, and what came back.
struct Outcome {
    Outcome(Runner runner, const std::string &command, int size)
        : buffer(new char[static_cast<size_t>(size)]) {
        memset(buffer.get(), 'Z', static_cast<size_t>(size));
        result = runner(command.c_str(), buffer.get(), size, &out, &grown);
    }
    ~Outcome() {
        if (out != buffer.get()) {
            free(out);
        }
    }
    Outcome(const Outcome &) = delete;
    Outcome &operator=(const Outcome &) = delete;

    std::string text() const {
        return out != nullptr ? out : "(null)";
    }
    // `length` bytes of the output and its terminator, which may have NUL bytes before it.
    std::string bytes(size_t length) const {
        return out != nullptr ? std::string(out, length + 1) : "(null)";
    }
    bool onHeap() const {
        return out != nullptr && out != buffer.get();
    }

    std::unique_ptr<char[]> buffer;
    char *out = nullptr;
    int grown = FLAG_BEFORE;
    int result = -99;
};

class Capture : public testing::Test {
  protected:
    Capture() {
        unsetenv("DRAVIK_CLI_DEBUG");
    }
    ~Capture() override {
        // every child has been waited for
        errno = 0;
        EXPECT_EQ(waitpid(-1, nullptr, WNOHANG), -1);
        EXPECT_EQ(errno, ECHILD);
        EXPECT_EQ(openDescriptors(), descriptors);
        EXPECT_EQ(blockedSignals(), blocked);
    }

    DumpsFolder dumps;
    std::set<int> descriptors = openDescriptors();
    std::string blocked = blockedSignals();
};

class CaptureRunner : public Capture, public testing::WithParamInterface<Runner> {};
INSTANTIATE_TEST_SUITE_P(Every, CaptureRunner, testing::Values(exe_query, exe_cmd, exe_cmd_nonblocking),
                         [](const testing::TestParamInfo<Runner> &tested) {
                             return tested.param == exe_query ? "exe_query"
                                    : tested.param == exe_cmd ? "exe_cmd"
                                                              : "exe_cmd_nonblocking";
                         });

std::string nameOf(Runner runner) {
    return runner == exe_query ? "exe_query" : runner == exe_cmd ? "exe_cmd" : "exe_cmd_nonblocking";
}

// The command as it is run and logged.
std::string shown(Runner runner, const std::string &command) {
    return runner == exe_query ? command : command + " 2>&1";
}

// The line number of the log's first line, which the code's position decides.
std::string lineNumber(const std::string &log) {
    const size_t begin = log.find(' ', log.find(' ') + 1) + 1;
    return log.substr(begin, log.find(' ', begin) - begin);
}

// A command that prints `count` times the letter x and nothing else.
std::string printX(int count) {
    return "head -c " + std::to_string(count) + " /dev/zero | tr '\\0' x";
}

} // namespace

// ---- outputs and growth

namespace {

// A command that succeeds, the size of the buffer, what comes back, and whether it had to grow.
struct FitCase {
    const char *command;
    int size;
    std::string text;
    bool grows;
};

const Rule<FitCase> FIT_RULES[] = {
    {"CommandPrintingNothingGivesAnEmptyOutput", {{"true", 100, "", false}}},
    {"OutputThatFitsStaysInTheCallersBuffer", {{"echo one && echo two", 100, "one\ntwo\n", false}}},
    {"ExactFitDoesNotGrow", {{"echo 123456789", 11, "123456789\n", false}}},
    {"OneByteMoreThanTheBufferHoldsGrows", {{"echo 123456789", 10, "123456789\n", true}}},
    {"BufferOfOneByteGrowsWithTheFirstLine", {{"echo a", 1, "a\n", true}}},
    {"BufferOfOneByteHoldsAnEmptyOutput", {{"true", 1, "", false}}},
};

class CaptureFit : public Capture, public testing::WithParamInterface<std::tuple<Runner, Rule<FitCase>>> {};

} // namespace

TEST_P(CaptureFit, DecidesWhereTheOutputIs) {
    const auto &[runner, rule] = GetParam();
    for (const FitCase &row : rule.cases) {
        const Outcome run(runner, row.command, row.size);
        EXPECT_EQ(run.result, runner == exe_cmd_nonblocking && row.grows ? 1 : 0);
        EXPECT_EQ(run.out == run.buffer.get(), !row.grows);
        EXPECT_EQ(run.onHeap(), row.grows);
        EXPECT_EQ(run.text(), row.text);
        EXPECT_EQ(run.grown, row.grows ? 1 : 0);
        EXPECT_EQ(dumps.names(), Texts());
    }
}
INSTANTIATE_TEST_SUITE_P(EveryRule, CaptureFit,
                         testing::Combine(testing::Values(exe_query, exe_cmd, exe_cmd_nonblocking),
                                          testing::ValuesIn(FIT_RULES)),
                         [](const auto &row) {
                             return std::string(std::get<1>(row.param).name) + "_" +
                                    nameOf(std::get<0>(row.param));
                         });

TEST_P(CaptureRunner, OutputsAroundEveryEdgeComeBackWhole) {
    for (const int size : {1, 2, 100, STEP - 1, STEP, STEP + 1, STEP + 2, 50000}) {
        const int capacity = size - 1;
        const int step = std::max(capacity, STEP);
        for (const int length : {capacity - 1, capacity, capacity + 1, step - 1, step, step + 1,
                                 capacity + step - 1, capacity + step, capacity + step + 1, 3 * step}) {
            if (length < 1) {
                continue;
            }
            const Outcome run(GetParam(), printX(length), size);
            const int grown = length > capacity ? 1 : 0;
            ASSERT_EQ(run.result, GetParam() == exe_cmd_nonblocking ? grown : 0) << size << " " << length;
            ASSERT_TRUE(run.text() == std::string(static_cast<size_t>(length), 'x')) << size << " " << length;
            ASSERT_EQ(run.grown, grown) << size << " " << length;
            ASSERT_EQ(run.onHeap(), grown == 1) << size << " " << length;
        }
    }
}

TEST_P(CaptureRunner, LineOfFiveMiBComesBackWhole) {
    constexpr int LENGTH = 5 * 1024 * 1024;
    const Outcome run(GetParam(), printX(LENGTH), 2097152);
    EXPECT_TRUE(run.text() == std::string(LENGTH, 'x'));
    EXPECT_EQ(run.grown, 1);
}

TEST_P(CaptureRunner, ManyLinesComeBackWhole) {
    std::string expected;
    for (int i = 1; i <= 200000; i++) {
        expected += std::to_string(i) + "\n";
    }
    const Outcome run(GetParam(), "seq 1 200000", 4096);
    EXPECT_TRUE(run.text() == expected);
    EXPECT_EQ(run.grown, 1);
}

TEST_P(CaptureRunner, LastLineWithoutNewlineIsKept) {
    const Outcome run(GetParam(), "printf 'one\\ntwo'", 100);
    EXPECT_EQ(run.text(), "one\ntwo");
}

TEST_P(CaptureRunner, NulBytesOfTheOutputAreData) {
    const Outcome small(GetParam(), "printf 'a\\0b\\n\\0c'", 100);
    EXPECT_EQ(small.bytes(6), std::string("a\0b\n\0c\0", 7));
    const Outcome large(GetParam(), "head -c 50000 /dev/zero", 100);
    EXPECT_TRUE(large.bytes(50000) == std::string(50001, '\0'));
    EXPECT_EQ(large.grown, 1);
}

TEST_P(CaptureRunner, SlowOutputIsWaitedFor) {
    const Outcome run(GetParam(), "echo one && sleep 0.2 && echo two", 100);
    EXPECT_EQ(run.text(), "one\ntwo\n");
}

TEST_P(CaptureRunner, ChildThatReadsItsInputIsNotFedTheOutput) {
    const Outcome run(GetParam(), "echo one | cat", 100);
    EXPECT_EQ(run.text(), "one\n");
}

// ---- error output

TEST_F(Capture, QueryLeavesErrorOutputWhereThisProcesssGoes) {
    std::string text;
    const std::string complained = complainedBy([&] {
        const Outcome run(exe_query, "sh -c 'echo out && echo err 1>&2'", 100);
        text = run.text();
    });
    EXPECT_EQ(text, "out\n");
    EXPECT_EQ(complained, "err\n");
}

TEST_F(Capture, CmdCapturesErrorOutputToo) {
    for (const Runner runner : {exe_cmd, exe_cmd_nonblocking}) {
        std::string text;
        const std::string complained = complainedBy([&] {
            const Outcome run(runner, "sh -c 'echo out && echo err 1>&2'", 100);
            text = run.text();
        });
        EXPECT_EQ(text, "out\nerr\n");
        EXPECT_EQ(complained, "");
    }
}

// ---- the filter and the command's length

TEST_F(Capture, SemicolonReachesTheShellAsAPercentSign) {
    const Outcome query(exe_query, "echo a;echo b", 100);
    EXPECT_EQ(query.text(), "a%echo b\n");
    const Outcome cmd(exe_cmd, "echo a;echo b", 100);
    EXPECT_EQ(cmd.text(), "a%echo b\n");
    const Outcome input(exe_cmd, "echo <x =y `z` !", 100);
    EXPECT_EQ(input.text(), "%x %y %z% %\n");
}

TEST_F(Capture, NonblockingRunsTheCommandUnfiltered) {
    const Outcome run(exe_cmd_nonblocking, "echo a;x=b;echo $x", 100);
    EXPECT_EQ(run.text(), "a\nb\n");
}

TEST_F(Capture, FilteredCommandIsCutAt1023CharactersAndLoggedBeyond) {
    const std::string letters(1100, 'a');
    {
        const Outcome query(exe_query, "echo " + letters, 4096);
        EXPECT_EQ(query.text(), std::string(1023 - 5, 'a') + "\n");
        const Outcome cmd(exe_cmd, "echo " + letters, 4096);
        EXPECT_EQ(cmd.text(), std::string(1023 - 5, 'a') + "\n");
    }
    EXPECT_EQ(dumps.names(), Texts());
    // what was cut away is not run, and is in the log
    const std::string failing = "false" + std::string(900, ' ') + "with some words " + std::string(110, 'w');
    ASSERT_GT(failing.size(), 1023U);
    const Outcome run(exe_query, failing + "|true", 4096);
    EXPECT_EQ(run.result, 1);
    EXPECT_EQ(dumps.commandLog().substr(0, 950),
              ("ERROR exe_query " + lineNumber(dumps.commandLog()) + " Execute command [" + failing)
                  .substr(0, 950));
}

TEST_F(Capture, CommandOf1023CharactersIsRunWhole) {
    const std::string letters(1023 - 5, 'a');
    const Outcome query(exe_query, "echo " + letters, 4096);
    EXPECT_EQ(query.text(), letters + "\n");
    const std::string fewer(1023 - 5 - 5, 'a');
    const Outcome cmd(exe_cmd, "echo " + fewer, 4096);
    EXPECT_EQ(cmd.text(), fewer + "\n");
}

TEST_F(Capture, UnfilteredCommandIsCutAt20479Characters) {
    const std::string fits(20479 - 5 - 5, 'a');
    const Outcome whole(exe_cmd_nonblocking, "echo " + fits, 30000);
    EXPECT_EQ(whole.text(), fits + "\n");
    const Outcome cut(exe_cmd_nonblocking, "echo " + std::string(25000, 'a'), 30000);
    EXPECT_EQ(cut.text(), std::string(20479 - 5, 'a') + "\n");
}

// ---- exit statuses

TEST_F(Capture, ExitStatusIsReturned) {
    for (const Runner runner : {exe_query, exe_cmd}) {
        for (const int status : {0, 1, 2, 126, 127, 254, 255}) {
            const Outcome run(runner, "exit " + std::to_string(status), 100);
            EXPECT_EQ(run.result, status);
        }
    }
}

TEST_F(Capture, ExitStatusIsEightBitsWide) {
    const Outcome run(exe_cmd, "exit 256", 100);
    EXPECT_EQ(run.result, 0);
    const Outcome next(exe_cmd, "exit 258", 100);
    EXPECT_EQ(next.result, 2);
}

TEST_P(CaptureRunner, CommandKilledByASignalCountsAsSuccess) {
    const Outcome run(GetParam(), "echo before && kill -9 $$", 100);
    EXPECT_EQ(run.result, 0);
    EXPECT_EQ(run.text(), "before\n");
    EXPECT_EQ(run.grown, 0);
    EXPECT_EQ(dumps.names(), Texts());
}

TEST_F(Capture, UnknownCommandIsStatus127WithTheShellsWords) {
    const Outcome run(exe_cmd, "/nonexistent/tool", 200);
    EXPECT_EQ(run.result, 127);
    EXPECT_NE(run.text().find("/nonexistent/tool: not found"), std::string::npos) << run.text();
}

TEST_F(Capture, FailingCommandKeepsItsOutputAndTheCallersFlag) {
    for (const Runner runner : {exe_query, exe_cmd}) {
        const Outcome small(runner, "echo out && exit 3", 100);
        EXPECT_EQ(small.result, 3);
        EXPECT_EQ(small.text(), "out\n");
        EXPECT_EQ(small.out, small.buffer.get());
        EXPECT_EQ(small.grown, FLAG_BEFORE);
        const Outcome large(runner, printX(500) + " && exit 3", 100);
        EXPECT_EQ(large.result, 3);
        EXPECT_EQ(large.text(), std::string(500, 'x'));
        EXPECT_TRUE(large.onHeap());
        EXPECT_EQ(large.grown, FLAG_BEFORE);
    }
}

TEST_F(Capture, FailingCommandIsMinusOneForNonblockingInResultAndFlag) {
    const Outcome small(exe_cmd_nonblocking, "echo out; exit 3", 100);
    EXPECT_EQ(small.result, EXE_NOT_STARTED);
    EXPECT_EQ(small.grown, EXE_NOT_STARTED);
    EXPECT_EQ(small.text(), "out\n");
    const Outcome large(exe_cmd_nonblocking, printX(500) + "; exit 3", 100);
    EXPECT_EQ(large.result, EXE_NOT_STARTED);
    EXPECT_EQ(large.grown, EXE_NOT_STARTED);
    EXPECT_EQ(large.text(), std::string(500, 'x'));
}

// ---- log lines

TEST_P(CaptureRunner, FailureIsLoggedWithTheUnfilteredCommandAndTheOutput) {
    const std::string name = nameOf(GetParam());
    const std::string command = "printf 'one\\ntwo' && exit 3 # ;<x";
    // the filter makes "%%x" of the comment's end, which changes nothing but the text that runs
    const Outcome run(GetParam(), command, 100);
    EXPECT_EQ(dumps.commandLogLines(), (Texts{"ERROR " + name + " # Execute command [" +
                                                  shown(GetParam(), command) + "] failed, exit code [3]\n",
                                              "ERROR " + name + " # Error message: one\ntwo\n"}));
}

TEST_P(CaptureRunner, FailureWithoutOutputIsLoggedWithAnEmptyOne) {
    const Outcome run(GetParam(), "false", 100);
    const std::string name = nameOf(GetParam());
    EXPECT_EQ(dumps.commandLogLines(), (Texts{"ERROR " + name + " # Execute command [" +
                                                  shown(GetParam(), "false") + "] failed, exit code [1]\n",
                                              "ERROR " + name + " # Error message: \n"}));
}

TEST_P(CaptureRunner, LongErrorOutputIsLoggedAsFarAsALineGoes) {
    const Outcome run(GetParam(), printX(100000) + " && false", 2097152);
    const Texts lines = dumps.commandLogMessages();
    ASSERT_EQ(lines.size(), 2U);
    EXPECT_EQ(lines[1].substr(0, 500), "ERROR Error message: " + std::string(500 - 21, 'x'));
    EXPECT_EQ(run.text().size(), 100000U);
}

TEST_P(CaptureRunner, SuccessIsLoggedWhileDebugging) {
    setenv("DRAVIK_CLI_DEBUG", "1", 1);
    const Outcome run(GetParam(), "echo a", 100);
    unsetenv("DRAVIK_CLI_DEBUG");
    EXPECT_EQ(dumps.commandLogLines(), Texts{"DEBUG " + nameOf(GetParam()) + " # Execute command [" +
                                             shown(GetParam(), "echo a") + "] successfully.\n"});
}

// ---- no shell, no memory

TEST_P(CaptureRunner, ShellThatCannotBeStartedIsMinusOne) {
    for (const char *call : {"pipe2", "posix_spawn"}) {
        dumps.forgetLogs();
        std::unique_ptr<Outcome> run;
        {
            const FailingCall failing(call, EAGAIN);
            run = std::make_unique<Outcome>(GetParam(), "echo a;", 100);
            EXPECT_EQ(failing.count(), 1U) << call;
        }
        EXPECT_EQ(run->result, EXE_NOT_STARTED);
        EXPECT_EQ(run->grown, GetParam() == exe_cmd_nonblocking ? EXE_NOT_STARTED : FLAG_BEFORE);
        EXPECT_EQ(dumps.commandLogLines(), Texts{"ERROR " + nameOf(GetParam()) + " # Popen command [" +
                                                 shown(GetParam(), "echo a;") + "] failed\n"});
    }
}

TEST_P(CaptureRunner, RunningOutOfDescriptorsIsMinusOneAndLogged) {
    const Runner runner = GetParam();
    EXPECT_EQ(inChild([runner] {
                  // one descriptor is left: enough for the log, not for a pipe
                  const int next = dup(0);
                  close(next);
                  for (int fd = next + 1; fd < 256; fd++) {
                      close(fd);
                  }
                  const rlimit limit = {static_cast<rlim_t>(next) + 1, static_cast<rlim_t>(next) + 1};
                  setrlimit(RLIMIT_NOFILE, &limit);
                  char buffer[100];
                  char *out = nullptr;
                  int grown = FLAG_BEFORE;
                  return runner("echo a", buffer, sizeof(buffer), &out, &grown) == EXE_NOT_STARTED ? 0 : 1;
              }),
              0);
    EXPECT_EQ(dumps.commandLogLines(), Texts{"ERROR " + nameOf(runner) + " # Popen command [" +
                                             shown(runner, "echo a") + "] failed\n"});
}

TEST_P(CaptureRunner, FailedGrowthIsMinusTwoAndLogsTheSizeAskedFor) {
    struct Case {
        int size;
        int length;
        unsigned int spared; // growths that succeed before
        int asked;
    };
    const Case cases[] = {
        {1, 5, 0, STEP + 1},
        {100, 500, 0, 99 + STEP + 1},
        {100, 30000, 1, 99 + 2 * STEP + 1},
        {100, 50000, 2, 99 + 3 * STEP + 1},
        {STEP + 1, 20481, 0, 2 * STEP + 1},
        {30000, 30000, 0, 2 * 29999 + 1},
        {30000, 70000, 1, 3 * 29999 + 1},
    };
    for (const Case &each : cases) {
        SCOPED_TRACE("size " + std::to_string(each.size) + " length " + std::to_string(each.length));
        dumps.forgetLogs();
        std::unique_ptr<Outcome> run;
        {
            const FailingCall failing("allocation", ENOMEM, each.spared);
            run = std::make_unique<Outcome>(GetParam(), printX(each.length), each.size);
            EXPECT_EQ(failing.count(), 1U);
            EXPECT_EQ(failing.size(), static_cast<size_t>(each.asked));
        }
        EXPECT_EQ(run->result, EXE_NO_MEMORY);
        EXPECT_EQ(run->out, nullptr);
        EXPECT_EQ(run->grown, GetParam() == exe_cmd_nonblocking ? EXE_NO_MEMORY : FLAG_BEFORE);
        EXPECT_EQ(dumps.commandLogLines(), Texts{"ERROR " + nameOf(GetParam()) + " # Malloc " +
                                                 std::to_string(each.asked) + " byte space failed.\n"});
    }
}

// ---- the child's surroundings

TEST_P(CaptureRunner, ChildInheritsNoDescriptorOfTheCapture) {
    const Outcome run(GetParam(), "ls /proc/self/fd", 1000);
    // `ls` itself has the directory open: the lowest free number
    EXPECT_EQ(run.text(), inheritedDescriptorsAndOneMore());
}

TEST_P(CaptureRunner, ChildStartsWithTheCallersSignalMask) {
    // some shells clear the mask for what they fork, so the shell itself becomes the one that looks
    const char *command = "exec grep SigBlk /proc/self/status";
    const Outcome open(GetParam(), command, 100);
    EXPECT_EQ(open.text(), "SigBlk:\t" + blockedSignals() + "\n");
    const std::string mine = blockedSignals();
    for (const int number : {SIGUSR2, SIGALRM}) {
        sigset_t set;
        sigset_t old;
        sigemptyset(&set);
        sigaddset(&set, number);
        sigprocmask(SIG_BLOCK, &set, &old);
        const Outcome blocking(GetParam(), command, 100);
        // a caller of the timed variant may hold the alarm back for itself, never for the command
        const bool let_in = number == SIGALRM && GetParam() == exe_cmd_nonblocking;
        EXPECT_EQ(blocking.text(), "SigBlk:\t" + (let_in ? mine : blockedSignals()) + "\n");
        sigprocmask(SIG_SETMASK, &old, nullptr);
    }
}

TEST_P(CaptureRunner, ChildSeesTheEnvironmentAndTheInput) {
    setenv("DRAVIK_TEST_WORD", "word", 1);
    const Outcome run(GetParam(), "echo $DRAVIK_TEST_WORD", 100);
    unsetenv("DRAVIK_TEST_WORD");
    EXPECT_EQ(run.text(), "word\n");
    const Outcome input(GetParam(), "readlink /proc/self/fd/0", 200);
    char here[200] = "";
    ASSERT_GT(readlink("/proc/self/fd/0", here, sizeof(here) - 1), 0);
    EXPECT_EQ(input.text(), std::string(here) + "\n");
}

TEST_P(CaptureRunner, ConstantAlarmsLoseNothingOfTheOutput) {
    const AlarmEveryMillisecond alarm;
    std::string expected;
    for (int i = 1; i <= 50000; i++) {
        expected += std::to_string(i) + "\n";
    }
    for (int round = 0; round < 5; round++) {
        const Outcome run(GetParam(), "seq 1 25000 && sleep 0.02 && seq 25001 50000", 100);
        ASSERT_TRUE(run.text() == expected);
        ASSERT_EQ(run.grown, 1);
    }
    EXPECT_GT(alarm.count(), 20);
}
