// From a command line to its result: the checks, the turn, the audit line, the answer.
#include "cli/run_command.h"

#include <cjson/cJSON.h>
#include <csignal>
#include <new>
#include <string>
#include <sys/wait.h>
#include <unistd.h>
#include <vector>

#include <gtest/gtest.h>

#include "cli/caller.h"
#include "cli/command_lock.h"
#include "common/exit_status.h"
#include "host/interruption.h"
#include "tests/support/console.h"
#include "tests/support/dumps_redirect.h"

namespace {

std::vector<std::string> calls;
int turn = COMMAND_LOCK_TAKEN;
s_ecItems *check_answers = nullptr;
s_ecItems *last_check_answers = nullptr;
s_ecItems *command_answers = nullptr;

} // namespace

// In the place of the lock, whose files are the machine's.
const char *const COMMAND_LOCK_FILES[] = {nullptr};
int takeCommandLock(const char *command_line, const char *const * /*files*/, unsigned int /*seconds*/) {
    calls.push_back(std::string("lock ") + command_line);
    return turn;
}
void releaseCommandLock() {}

namespace {

using Calls = std::vector<std::string>;
using dravik::Command;
using dravik::CommandKind;
using dravik::EXIT_DONE;
using dravik::EXIT_FAILED;
using dravik::Json;

s_ecItems *checkParameters(int argc, const char *const *argv) {
    calls.push_back("check " + std::to_string(argc) + " " + argv[1]);
    return check_answers;
}
s_ecItems *checkLast() {
    calls.emplace_back("last check");
    return last_check_answers;
}
s_ecItems *runIt(int argc) {
    calls.push_back("run " + std::to_string(argc));
    puts("shown to people");
    return command_answers;
}
s_ecItems *runOutOfMemory(int /*argc*/) {
    throw std::bad_alloc();
}
s_ecItems *describeIt(int argc, Json *document) {
    calls.push_back("describe " + std::to_string(argc));
    document->set("answer", "known");
    return command_answers;
}

constexpr char LINE[] = "------------------------------------------------------------------------------------"
                        "----------------------------------------"
                        "------\n";
const char *const LOOK[] = {"dravik", "look"};
const char *const CHANGE[] = {"dravik", "change"};

class RunCommand : public testing::Test {
  protected:
    RunCommand() {
        unsetenv("SUDO_USER");
        unsetenv("SUDO_UID");
        calls.clear();
        turn = COMMAND_LOCK_TAKEN;
        check_answers = last_check_answers = command_answers = &EC_ok;
        if (geteuid() != 0) {
            throw std::runtime_error("these tests run as root, as the commands do");
        }
        char user[USER_NAME_SIZE] = "";
        runningUser(user, sizeof(user));
        char login[USER_NAME_SIZE] = "";
        loginUser(login, sizeof(login));
        who = std::string("user ") + user + (login[0] == '\0' ? "" : std::string(" (login ") + login + ")");
    }
    ~RunCommand() override {
        dravik::restoreEndingSignals();
    }

    static Command look() {
        Command command = {};
        command.name = "look";
        command.kind = CommandKind::LISTED;
        command.check_parameters = checkParameters;
        command.check_last = checkLast;
        command.run = runIt;
        return command;
    }
    static Command change() {
        Command command = look();
        command.name = "change";
        command.changes_host = true;
        return command;
    }
    // What it prints; the exit status is in `status`.
    std::string run(const Command &command, bool json = false) {
        const char *const *argv = command.changes_host ? CHANGE : LOOK;
        return printedBy([&] { status = dravik::runCommand(command, {2, argv}, {2, argv}, json); });
    }
    std::string audited(const std::string &end) const {
        return "INFO  audit # " + who + " ran [dravik change]: " + end;
    }

    DumpsFolder dumps;
    std::string who;
    int status = -1;
};

std::string record(const std::string &text) {
    return LINE + text + "\n" + LINE;
}

// The members of the document's one line but for those that every document has; the line must be whole.
std::string members(const std::string &printed) {
    EXPECT_EQ(printed.find('\n'), printed.size() - 1);
    cJSON *document = cJSON_Parse(printed.c_str());
    EXPECT_NE(document, nullptr) << printed;
    for (const char *head : {"format_version", "host", "time"}) {
        EXPECT_TRUE(cJSON_HasObjectItem(document, head)) << head;
        cJSON_DeleteItemFromObject(document, head);
    }
    char *text = cJSON_PrintUnformatted(document);
    const std::string result = text;
    cJSON_free(text);
    cJSON_Delete(document);
    return result;
}

} // namespace

TEST_F(RunCommand, AReadingCommandIsCheckedRunAndAnswered) {
    EXPECT_EQ(run(look()), "shown to people\n" + record("Command executed successfully."));
    EXPECT_EQ(status, EXIT_DONE);
    EXPECT_EQ(calls, (Calls{"check 2 look", "last check", "run 2"}));
    EXPECT_EQ(dumps.names(), Calls());
}

TEST_F(RunCommand, ARefusedParameterEndsItBeforeTheNextCheck) {
    check_answers = &EC_no_config_info;
    run(look());
    EXPECT_EQ(status, EXIT_FAILED);
    EXPECT_EQ(calls, Calls{"check 2 look"});
}

TEST_F(RunCommand, ARefusedValueEndsItBeforeItRuns) {
    last_check_answers = &EC_no_config_info;
    run(look());
    EXPECT_EQ(status, EXIT_FAILED);
    EXPECT_EQ(calls, (Calls{"check 2 look", "last check"}));
}

TEST_F(RunCommand, LackOfMemoryIsAResult) {
    Command command = look();
    command.run = runOutOfMemory;
    char text[256] = "";
    getErrorMsg(&EC_molloc_failed, text, sizeof(text));
    EXPECT_EQ(run(command), record(text));
    EXPECT_EQ(status, EXIT_FAILED);
}

TEST_F(RunCommand, ADocumentHoldsTheResultAndNothingThatIsShownToPeople) {
    EXPECT_EQ(members(run(look(), true)),
              R"({"command":"look","result":{"code":0,"message":"Command executed successfully."}})");
    EXPECT_EQ(status, EXIT_DONE);
    Command described = look();
    described.describe = describeIt;
    EXPECT_EQ(
        members(run(described, true)),
        R"({"command":"look","answer":"known","result":{"code":0,"message":"Command executed successfully."}})");
    EXPECT_EQ(calls.back(), "describe 2");
}

TEST_F(RunCommand, WhatAFailedCommandDoesNotKnowIsNull) {
    static const char *const ANSWER[] = {"answer", "more", nullptr};
    Command command = look();
    command.answer = ANSWER;
    check_answers = &EC_exe_cmd_failed;
    const std::string printed = members(run(command, true));
    EXPECT_EQ(status, EXIT_FAILED);
    EXPECT_EQ(printed.substr(0, printed.find("\"message\"")),
              R"({"command":"look","answer":null,"more":null,"result":{"code":)" +
                  std::to_string(EC_exe_cmd_failed.code) + ",");
}

TEST_F(RunCommand, AChangingCommandTakesItsTurnBehindItsChecksAndLeavesItsLine) {
    EXPECT_EQ(run(change()), "shown to people\n" + record("Command executed successfully."));
    EXPECT_EQ(status, EXIT_DONE);
    EXPECT_EQ(calls, (Calls{"check 2 change", "last check", "lock dravik change", "run 2"}));
    EXPECT_EQ(dumps.commandLogLines(), Calls{audited("Command executed successfully.")});
}

TEST_F(RunCommand, ARefusedChangeTakesNoTurnAndLeavesItsLine) {
    last_check_answers = &EC_exe_cmd_failed;
    char text[256] = "";
    getErrorMsg(&EC_exe_cmd_failed, text, sizeof(text));
    run(change());
    EXPECT_EQ(status, EXIT_FAILED);
    EXPECT_EQ(calls, (Calls{"check 2 change", "last check"}));
    EXPECT_EQ(dumps.commandLogLines(), Calls{audited(text)});
}

TEST_F(RunCommand, WithoutItsTurnAChangeIsNotRun) {
    turn = COMMAND_LOCK_BUSY;
    EXPECT_EQ(run(change()), "");
    EXPECT_EQ(status, EXIT_FAILED);
    EXPECT_EQ(calls.back(), "lock dravik change");
    EXPECT_EQ(dumps.commandLogLines(), Calls{audited("not run, another command was still running.")});
}

TEST_F(RunCommand, ADocumentSaysThatAChangeWasNotRunAndThatItHasNoCode) {
    for (const int no_turn : {COMMAND_LOCK_BUSY, COMMAND_LOCK_INTERRUPTED}) {
        turn = no_turn;
        EXPECT_EQ(
            members(run(change(), true)),
            R"({"command":"change","result":{"code":null,"message":"not run, another command was still running"}})");
        EXPECT_EQ(status, EXIT_FAILED);
        EXPECT_EQ(calls.back(), "lock dravik change");
    }
    const std::string line = audited("not run, another command was still running.");
    EXPECT_EQ(dumps.commandLogLines(), (Calls{line, line}));
}

TEST_F(RunCommand, WithoutItsTurnASignalEndsAChangeBehindItsDocument) {
    FILE *out = tmpfile();
    const pid_t child = fork();
    if (child == 0) {
        signal(SIGTERM, SIG_DFL);
        turn = COMMAND_LOCK_INTERRUPTED;
        dup2(fileno(out), STDOUT_FILENO);
        Command command = change();
        command.check_last = []() -> s_ecItems * {
            raise(SIGTERM); // while it waits
            return &EC_ok;
        };
        dravik::runCommand(command, {2, CHANGE}, {2, CHANGE}, true);
        _exit(0);
    }
    int ended = 0;
    ASSERT_EQ(waitpid(child, &ended, 0), child);
    EXPECT_TRUE(WIFSIGNALED(ended) && WTERMSIG(ended) == SIGTERM);
    rewind(out);
    char printed[1024] = "";
    printed[fread(printed, 1, sizeof(printed) - 1, out)] = '\0';
    fclose(out);
    EXPECT_EQ(
        members(printed),
        R"({"command":"change","result":{"code":null,"message":"not run, another command was still running"}})");
}

TEST_F(RunCommand, WhereNoLockCanBeMadeAChangeIsRunAllTheSame) {
    turn = COMMAND_LOCK_IMPOSSIBLE;
    run(change());
    EXPECT_EQ(calls.back(), "run 2");
}

TEST_F(RunCommand, AnotherUserThanRootChangesNothing) {
    const pid_t child = fork();
    if (child == 0) {
        const bool left = seteuid(12345) == 0;
        const std::string complaint = complainedBy([&] { run(change()); });
        const bool right = complaint == "dravik: change changes the host: run it as root\n" &&
                           status == EXIT_FAILED && calls.empty();
        _exit(left && right ? 0 : 1);
    }
    int ended = 0;
    ASSERT_EQ(waitpid(child, &ended, 0), child);
    EXPECT_EQ(ended, 0);
    EXPECT_EQ(dumps.names(), Calls());
}

TEST_F(RunCommand, ADocumentSaysThatAnotherUserThanRootChangesNothing) {
    const pid_t child = fork();
    if (child == 0) {
        const bool left = seteuid(12345) == 0;
        const std::string printed = members(run(change(), true));
        const bool right =
            printed ==
                R"({"command":"change","result":{"code":null,"message":"not run, only root changes the host"}})" &&
            status == EXIT_FAILED && calls.empty();
        _exit(left && right ? 0 : 1);
    }
    int ended = 0;
    ASSERT_EQ(waitpid(child, &ended, 0), child);
    EXPECT_EQ(ended, 0);
    EXPECT_EQ(dumps.names(), Calls());
}

TEST_F(RunCommand, AnotherUserIsToldThatALookMayFail) {
    const pid_t child = fork();
    if (child == 0) {
        const bool left = seteuid(12345) == 0;
        const std::string complaint = complainedBy([&] { run(look()); });
        _exit(left && complaint == "dravik: not running as root: what needs root will fail\n" &&
                      status == EXIT_DONE
                  ? 0
                  : 1);
    }
    int ended = 0;
    ASSERT_EQ(waitpid(child, &ended, 0), child);
    EXPECT_EQ(ended, 0);
}

TEST_F(RunCommand, ASignalEndsAChangeBehindItsLineAndItsResult) {
    const pid_t child = fork();
    if (child == 0) {
        signal(SIGTERM, SIG_DFL);
        Command command = change();
        command.run = [](int /*argc*/) -> s_ecItems * {
            raise(SIGTERM);
            return &EC_ok;
        };
        testing::internal::CaptureStdout();
        dravik::runCommand(command, {2, CHANGE}, {2, CHANGE}, false);
        _exit(0);
    }
    int ended = 0;
    ASSERT_EQ(waitpid(child, &ended, 0), child);
    EXPECT_TRUE(WIFSIGNALED(ended) && WTERMSIG(ended) == SIGTERM);
    EXPECT_EQ(dumps.commandLogLines(),
              Calls{audited("interrupted by signal 15, Command executed successfully.")});
}

TEST_F(RunCommand, ARecordWithoutACommandIsAnsweredInEitherForm) {
    EXPECT_EQ(printedBy([&] { status = dravik::answerWith(&EC_ok, "look", false); }),
              record("Command executed successfully."));
    EXPECT_EQ(members(printedBy([&] { status = dravik::answerWith(&EC_ok, "look", true); })),
              R"({"command":"look","result":{"code":0,"message":"Command executed successfully."}})");
}
