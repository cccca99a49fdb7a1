// The audit line of the commands that change the host.
#include "cli/audit.h"

#include <algorithm>
#include <csignal>
#include <cstdlib>
#include <string>
#include <sys/wait.h>
#include <unistd.h>
#include <vector>

#include <gtest/gtest.h>

#include "cli/caller.h"
#include "tests/support/dumps_redirect.h"

namespace {

// No sudo, whatever started the tests.
class Audit : public testing::Test {
  protected:
    void SetUp() override {
        unsetenv("SUDO_USER");
        unsetenv("SUDO_UID");
        char login[USER_NAME_SIZE] = "";
        loginUser(login, sizeof(login));
        if (login[0] != '\0') {
            GTEST_SKIP() << "the kernel knows who logged in here: " << login;
        }
        char user[USER_NAME_SIZE] = "";
        runningUser(user, sizeof(user));
        name = user;
    }
    DumpsFolder dumps;
    std::string name;
};

} // namespace

TEST_F(Audit, ASuccessLeavesOneLineAtLevel2) {
    const char *argv[] = {"dravik", "delete", "mpatha"};
    beginAudit(3, argv);
    auditResult(&EC_ok);
    EXPECT_EQ(dumps.commandLogLines(),
              (std::vector<std::string>{"INFO  audit # user " + name +
                                        " ran [dravik delete mpatha]: Command executed successfully."}));
}

TEST_F(Audit, TheLoginUserStandsBesideTheRunningOne) {
    setenv("SUDO_USER", "alice\n[", 1);
    const char *argv[] = {"dravik", "scan"};
    beginAudit(2, argv);
    unsetenv("SUDO_USER");
    auditResult(&EC_info_ok);
    EXPECT_EQ(dumps.commandLogLines(),
              (std::vector<std::string>{"INFO  audit # user " + name +
                                        " (login alice\\x0a[) ran [dravik scan]: Command executed "
                                        "successfully."}));
}

TEST_F(Audit, AFailureIsToldWithItsWordsMadeVisible) {
    const char *argv[] = {"dravik", "delete", "mpatha"};
    beginAudit(3, argv);
    initEcItems1(&EC_no_path_alias, "a\nb");
    auditResult(&EC_no_path_alias);
    EXPECT_EQ(dumps.commandLogLines(),
              (std::vector<std::string>{"INFO  audit # user " + name +
                                        " ran [dravik delete mpatha]: Error(0115): This path_alias [a\\x0ab] "
                                        "does not exist."}));
}

TEST_F(Audit, NoArgumentCanForgeALineOrCutTheNewlineOff) {
    const std::string hostile(5000, '\n');
    const std::string forged = "x\n[2026-01-01 00:00:00.000] INFO  audit 1 user root ran [dravik scan]: ok";
    const char *argv[] = {"dravik", "delete", forged.c_str(), hostile.c_str()};
    beginAudit(4, argv);
    auditText(hostile.c_str());
    beginAudit(2, argv);
    auditText("the next");
    const std::string log = dumps.read("dravik_cli.log");
    EXPECT_EQ(std::count(log.begin(), log.end(), '\n'), 2);
    EXPECT_EQ(log.back(), '\n');
    EXPECT_EQ(dumps.commandLogLines().back(),
              "INFO  audit # user " + name + " ran [dravik delete]: the next");
}

TEST_F(Audit, ASignalThatEndsTheProcessLeavesTheLineToo) {
    for (const int number : {SIGINT, SIGTERM, SIGHUP, SIGQUIT}) {
        dumps.forgetLogs();
        const pid_t child = fork();
        ASSERT_GE(child, 0);
        if (child == 0) {
            signal(number, SIG_DFL);
            const char *argv[] = {"dravik", "scan"};
            beginAudit(2, argv);
            raise(number);
            _exit(0);
        }
        int status = 0;
        ASSERT_EQ(waitpid(child, &status, 0), child);
        EXPECT_TRUE(WIFSIGNALED(status) && WTERMSIG(status) == number) << status;
        EXPECT_EQ(dumps.commandLogLines(), (std::vector<std::string>{"INFO  audit # user " + name +
                                                                     " ran [dravik scan]: ended by signal " +
                                                                     std::to_string(number)}));
    }
}

TEST_F(Audit, AfterTheResultASignalLeavesNoSecondLine) {
    const pid_t child = fork();
    ASSERT_GE(child, 0);
    if (child == 0) {
        signal(SIGTERM, SIG_DFL);
        const char *argv[] = {"dravik", "scan"};
        beginAudit(2, argv);
        auditResult(&EC_ok);
        raise(SIGTERM);
        _exit(0);
    }
    int status = 0;
    ASSERT_EQ(waitpid(child, &status, 0), child);
    EXPECT_TRUE(WIFSIGNALED(status) && WTERMSIG(status) == SIGTERM);
    EXPECT_EQ(dumps.commandLogLines().size(), 1U);
}

TEST_F(Audit, ASignalThatIsIgnoredStaysIgnored) {
    const pid_t child = fork();
    ASSERT_GE(child, 0);
    if (child == 0) {
        signal(SIGHUP, SIG_IGN); // as nohup does
        const char *argv[] = {"dravik", "scan"};
        beginAudit(2, argv);
        raise(SIGHUP);
        auditResult(&EC_ok);
        raise(SIGHUP);
        _exit(7);
    }
    int status = 0;
    ASSERT_EQ(waitpid(child, &status, 0), child);
    EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 7);
    EXPECT_EQ(dumps.commandLogLines().size(), 1U);
}
