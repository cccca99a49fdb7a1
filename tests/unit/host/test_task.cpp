// The task layer: outcomes of commands as result records, copies of outputs, commands that are refused.
#include "host/task.h"

#include <cerrno>
#include <set>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "tests/support/children.h"
#include "tests/support/system_calls.h"
#include "tests/support/task_fixture.h"

using dravik::isRefused;
using dravik::runForOutput;
using dravik::runScript;
using dravik::runTask;
using dravik::ShellCommand;
using namespace dravik::literals;

namespace {

class Task : public TaskFixture {};

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
    const long before = heldBlocksAfterALine();
    EXPECT_EQ(exeLiunxTaskCmd(printX(3000000).c_str()), &EC_ok);
    EXPECT_EQ(exeLiunxTaskCmd((printX(3000000) + " && false").c_str()), &EC_ok);
    EXPECT_EQ(heldBlocks(), before);
}

// ---- commands run for their output

TEST_F(Task, InfoCopiesTheOutput) {
    OutputBuffer out(100);
    EXPECT_EQ(exeLiunxInfoCmd("echo one && echo two", out.data(), out.size), &EC_info_ok);
    EXPECT_EQ(out.text(), "one\ntwo\n");
    EXPECT_EQ(dumps.names(), Texts());
    expectAllZero(EC_info_ok);
}

TEST_F(Task, InfoCopiesErrorOutputToo) {
    OutputBuffer out(100);
    EXPECT_EQ(exeLiunxInfoCmd("sh -c 'echo err 1>&2'", out.data(), out.size), &EC_info_ok);
    EXPECT_EQ(out.text(), "err\n");
}

TEST_F(Task, InfoWithoutOutputIsAnEmptyText) {
    OutputBuffer out(100);
    EXPECT_EQ(exeLiunxInfoCmd("true", out.data(), out.size), &EC_info_ok);
    EXPECT_EQ(out.text(), "");
}

TEST_F(Task, InfoCutsTheOutputToItsBuffer) {
    struct Case {
        unsigned int size;
        const char *expected;
    };
    for (const Case &each :
         {Case{8, "123456\n"}, Case{7, "123456"}, Case{6, "12345"}, Case{2, "1"}, Case{1, ""}}) {
        OutputBuffer out(each.size);
        EXPECT_EQ(exeLiunxInfoCmd("echo 123456", out.data(), out.size), &EC_info_ok);
        EXPECT_EQ(out.text(), each.expected);
    }
}

TEST_F(Task, InfoWithoutABufferWritesNothing) {
    OutputBuffer out(0);
    EXPECT_EQ(exeLiunxInfoCmd("echo 123456", out.data(), 0), &EC_info_ok);
    EXPECT_TRUE(out.untouched());
}

TEST_F(Task, InfoCopiesAnOutputOfMoreThanTwoMiB) {
    OutputBuffer out(3000001);
    EXPECT_EQ(exeLiunxInfoCmd(printX(3000000).c_str(), out.data(), out.size), &EC_info_ok);
    EXPECT_TRUE(out.text() == std::string(3000000, 'x'));
}

TEST_F(Task, InfoThatExitsWithStatusOneIsExecuteFailedWithItsEmptyOutput) {
    OutputBuffer out(100);
    EXPECT_EQ(exeLiunxInfoCmd("exit 1", out.data(), out.size), &EC_exe_cmd_failed);
    EXPECT_EQ(out.text(), "");
    EXPECT_EQ(dumps.commandLogLines(),
              (Texts{"ERROR exe_cmd # Execute command [exit 1 2>&1] failed, exit code [1]\n",
                     "ERROR exe_cmd # Error message: \n",
                     "ERROR exeLiunxInfoCmd # Command [exit 1] failed, exitcode:[1]\n"}));
}

TEST_F(Task, InfoThatFailsStillCopiesItsOutput) {
    OutputBuffer out(100);
    EXPECT_EQ(exeLiunxInfoCmd("echo partly && exit 42", out.data(), out.size), &EC_exe_cmd_failed);
    EXPECT_EQ(out.text(), "partly\n");
    EXPECT_EQ(dumps.commandLogLines()[2],
              "ERROR exeLiunxInfoCmd # Command [echo partly && exit 42] failed, exitcode:[42]\n");
}

TEST_F(Task, InfoThatFailsWithALargeOutputReleasesIt) {
    OutputBuffer out(100);
    const long before = heldBlocksAfterALine();
    EXPECT_EQ(exeLiunxInfoCmd((printX(3000000) + " && exit 2").c_str(), out.data(), out.size),
              &EC_exe_cmd_failed);
    EXPECT_EQ(heldBlocks(), before);
    EXPECT_EQ(out.text(), std::string(99, 'x'));
}

TEST_F(Task, InfoKilledByASignalIsASuccess) {
    OutputBuffer out(100);
    EXPECT_EQ(exeLiunxInfoCmd("echo before && kill -9 $$", out.data(), out.size), &EC_info_ok);
    EXPECT_EQ(out.text(), "before\n");
}

TEST_F(Task, InfoThatCannotBeRunIsExecuteFailedAndCopiesNothing) {
    for (const char *call : {"pipe2", "posix_spawn", "mmap"}) {
        dumps.forgetLogs();
        OutputBuffer out(100);
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
    OutputBuffer out(100);
    EXPECT_EQ(exeLiunxInfoCmd("printf 'one\\0two'", out.data(), out.size), &EC_info_ok);
    EXPECT_EQ(out.text(), "one");
}

// ---- commands that may hang

TEST_F(Task, CommandStartsWithTheCallersSignalMask) {
    OutputBuffer out(100);
    const char *command = "exec grep SigBlk /proc/self/status";
    EXPECT_EQ(exeLiunxInfoCmd(command, out.data(), out.size), &EC_info_ok);
    EXPECT_EQ(out.text(), "SigBlk:\t" + blockedSignals() + "\n");
}

// ---- handlers

TEST_F(Task, NoDescriptorStaysOpenAfterACommandThatEnded) {
    const std::set<int> before = openDescriptors();
    OutputBuffer out(100);
    exeLiunxTaskCmd("echo a");
    exeLiunxInfoCmd("exit 1", out.data(), out.size);
    EXPECT_EQ(openDescriptors(), before);
}

// ---- command lines as a type

TEST_F(Task, PlainCommandIsNotRefusedAndNothingIsLogged) {
    EXPECT_FALSE(isRefused("operation", ShellCommand("tool "_sh, "sdb")));
    EXPECT_FALSE(isRefused("operation", ShellCommand()));
    EXPECT_EQ(dumps.names(), Texts());
}

TEST_F(Task, RefusedCommandIsLoggedInTheNameOfTheOperation) {
    EXPECT_TRUE(isRefused("deleteDrive", ShellCommand("tool "_sh, "sd;b")));
    EXPECT_EQ(dumps.commandLogLines(), Texts{"ERROR deleteDrive # Execute command [tool sd;b] failed\n"});
}

TEST_F(Task, PlainCommandIsRunAsTheTextIs) {
    const std::string file = dumps.path("made");
    EXPECT_EQ(runTask("operation", ShellCommand("echo word > "_sh, file.c_str())), &EC_ok);
    EXPECT_EQ(dumps.read("made"), "word\n");
    OutputBuffer out(100);
    EXPECT_EQ(runForOutput("operation", ShellCommand("cat "_sh, file.c_str()), out.data(), out.size),
              &EC_info_ok);
    EXPECT_EQ(out.text(), "word\n");
    EXPECT_EQ(dumps.names(), Texts{"made"});
}

TEST_F(Task, EmptyCommandRunsNothingAndSucceeds) {
    EXPECT_EQ(runTask("operation", ShellCommand()), &EC_ok);
    OutputBuffer out(100);
    EXPECT_EQ(runForOutput("operation", ShellCommand(), out.data(), out.size), &EC_info_ok);
    EXPECT_EQ(out.text(), "");
}

TEST_F(Task, CommandWithAWordThatIsNotPlainIsNeverRun) {
    const std::string made = dumps.path("made");
    for (const std::string &word : {";touch " + made, "$(touch " + made + ")", "`touch " + made + "`",
                                    "|touch " + made, "&touch " + made, "\ntouch " + made, "> " + made}) {
        dumps.forgetLogs();
        OutputBuffer out(100);
        const ShellCommand command("echo "_sh, word.c_str());
        EXPECT_EQ(runTask("setstate", command), &EC_exe_cmd_failed) << word;
        EXPECT_EQ(runForOutput("setstate", command, out.data(), out.size), &EC_exe_cmd_failed) << word;
        EXPECT_TRUE(out.untouched()) << word;
        const std::string line = "ERROR setstate # Execute command [echo " + word + "] failed\n";
        EXPECT_EQ(dumps.commandLogLines(), (Texts{line, line}));
    }
    EXPECT_EQ(dumps.names(), Texts{"dravik_cli.log"});
}

TEST_F(Task, FailuresOfACommandAreThoseOfTheTextInItsOwnName) {
    EXPECT_EQ(runTask("operation", ShellCommand("exit 3"_sh)), &EC_ok);
    OutputBuffer out(100);
    EXPECT_EQ(runForOutput("operation", ShellCommand("echo partly && exit 3"_sh), out.data(), out.size),
              &EC_exe_cmd_failed);
    EXPECT_EQ(out.text(), "partly\n");
    EXPECT_EQ(dumps.commandLogLines().back(),
              "ERROR exeLiunxInfoCmd # Command [echo partly && exit 3] failed, exitcode:[3]\n");
}

TEST_F(Task, ScriptIsRunWithBashForItsEffect) {
    // The other shell on many hosts knows no arrays.
    dumps.write("script.sh",
                "words=(one two)\necho \"${words[1]} $#\" > " + dumps.path("made") + "\nexit 1\n");
    EXPECT_EQ(runScript("operation", dumps.path("script.sh").c_str()), &EC_ok);
    EXPECT_EQ(dumps.read("made"), "two 0\n");
    dumps.forgetLogs();
    EXPECT_EQ(runScript("operation", "/x;reboot"), &EC_exe_cmd_failed);
    EXPECT_EQ(dumps.commandLogLines(), Texts{"ERROR operation # Execute command [bash /x;reboot] failed\n"});
}
