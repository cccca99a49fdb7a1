// What the ledger remembers of a command: who, what, and the volume and path that it names.
#include "cli/operation.h"

#include <cstdio>
#include <cstdlib>
#include <string>

#include <gtest/gtest.h>

#include "cli/caller.h"
#include "commands/parameter_buffers.h"

namespace {

using dravik::findCommand;
using dravik::Operation;

template <size_t N> void set(char (&field)[N], const std::string &text) {
    snprintf(field, N, "%s", text.c_str());
}

class OperationOfCommand : public testing::Test {
  protected:
    OperationOfCommand() {
        clear();
    }
    ~OperationOfCommand() override {
        clear();
    }
    static void clear() {
        for (char *value : {gParamMpathxVal, gParamPathVal, gParamStateVal, gParamWwidVal, gParamAliasVal}) {
            value[0] = '\0';
        }
    }
    // "command|line|volume|path|detail", and nothing of its course.
    static std::string shown(const Operation &operation) {
        EXPECT_EQ(operation.id, 0);
        EXPECT_EQ(operation.begun, 0);
        EXPECT_EQ(operation.ended, 0);
        EXPECT_EQ(operation.code, 0);
        return operation.command + "|" + operation.line + "|" + operation.volume + "|" + operation.path +
               "|" + operation.detail;
    }
    static std::string made(const char *command) {
        return shown(dravik::operationOf(*findCommand(command), "dravik ..."));
    }
};

} // namespace

TEST_F(OperationOfCommand, SetstateNamesItsVolumeItsPathAndTheStateOnlineWhereNoneWasGiven) {
    set(gParamMpathxVal, "mpatha");
    set(gParamPathVal, "sdb");
    EXPECT_EQ(made("setstate"), "setstate|dravik ...|mpatha|sdb|online");
    set(gParamStateVal, "offline");
    EXPECT_EQ(made("setstate"), "setstate|dravik ...|mpatha|sdb|offline");
}

TEST_F(OperationOfCommand, DeleteNamesItsVolumeAndTheAliasCommandsTheirWwid) {
    set(gParamMpathxVal, "mpatha");
    EXPECT_EQ(made("delete"), "delete|dravik ...|mpatha||");
    clear();
    set(gParamWwidVal, "3600b5d60001a2b3c0000000000000001");
    set(gParamAliasVal, "database");
    EXPECT_EQ(made("setalias"), "setalias|dravik ...|3600b5d60001a2b3c0000000000000001||");
    EXPECT_EQ(made("delalias"), "delalias|dravik ...|3600b5d60001a2b3c0000000000000001||");
}

TEST_F(OperationOfCommand, OtherCommandsNameNothing) {
    EXPECT_EQ(made("scan"), "scan|dravik ...|||");
    EXPECT_EQ(made("mkconfig"), "mkconfig|dravik ...|||");
}

TEST_F(OperationOfCommand, ARefusedOneNamesNothingAndSaysSo) {
    set(gParamMpathxVal, "mpatha");
    EXPECT_EQ(shown(dravik::refusedOperationOf(*findCommand("delete"), "dravik delete a b")),
              "delete|dravik delete a b|||refused");
}

TEST_F(OperationOfCommand, TheUserIsTheOneWhoLoggedInElseTheRunningOne) {
    char running[USER_NAME_SIZE] = "";
    runningUser(running, sizeof(running));
    char login[USER_NAME_SIZE] = "";
    loginUser(login, sizeof(login));
    EXPECT_EQ(dravik::operationOf(*findCommand("scan"), "").user, login[0] == '\0' ? running : login);
    if (login[0] == '\0') { // nobody whom the kernel would contradict
        setenv("SUDO_USER", "alice", 1);
        setenv("SUDO_UID", "4294967295", 1);
        EXPECT_EQ(dravik::operationOf(*findCommand("scan"), "").user, "alice");
        EXPECT_EQ(dravik::refusedOperationOf(*findCommand("scan"), "").user, "alice");
        unsetenv("SUDO_USER");
        unsetenv("SUDO_UID");
    }
}
