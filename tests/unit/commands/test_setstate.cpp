// Taking paths offline and online: what the daemon and the record script are sent, and what is answered.
#include "commands/setstate.h"

#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "commands/parameter_buffers.h"
#include "tests/support/command_lines.h"
#include "tests/support/fake_host.h"
#include "tests/support/path_list.h"

namespace {

constexpr char ADD_SDB[] = "bash /usr/bin/dravik-script/path_state_record.sh add sdb";
constexpr char DEL_SDB[] = "bash /usr/bin/dravik-script/path_state_record.sh del sdb";
constexpr char FAIL_SDB[] = "dravikd fail path sdb";
constexpr char REINSTATE_SDB[] = "dravikd reinstate path sdb";

// A host with the device mpatha over sdb and nvme0n1, and mpathb over sdc.
class Setstate : public testing::Test {
  protected:
    Setstate() {
        host.answer(QUERY_ALL, listing({readyPath("sdb"), readyPath("nvme0n1")}) +
                                   listing({readyPath("sdc")}, "mpathb", "4"));
    }
    static void ask(const std::string &state, const std::string &path = "sdb",
                    const std::string &alias = "mpatha") {
        give(gParamMpathxVal, alias);
        give(gParamPathVal, path);
        give(gParamStateVal, state);
    }
    FakeHost host;
};

} // namespace

// ---- setstate

TEST_F(Setstate, OfflineFailsThePathAndRecordsIt) {
    ask("offline");
    s_ecItems *result = nullptr;
    EXPECT_EQ("", printed(setpathstate, &result));
    EXPECT_EQ(&EC_ok, result);
    EXPECT_EQ((Calls{START_DAEMON, QUERY_ALL, FAIL_SDB, ADD_SDB}), host.calls);
}

TEST_F(Setstate, OnlineReinstatesThePathAndTakesItOffTheRecord) {
    ask("online");
    EXPECT_EQ(&EC_ok, setpathstate());
    EXPECT_EQ((Calls{START_DAEMON, QUERY_ALL, REINSTATE_SDB, DEL_SDB}), host.calls);
}

TEST_F(Setstate, AnEmptyStateMeansOnline) {
    ask("");
    EXPECT_EQ(&EC_ok, setpathstate());
    EXPECT_EQ((Calls{START_DAEMON, QUERY_ALL, REINSTATE_SDB, DEL_SDB}), host.calls);
}

TEST_F(Setstate, AnyOtherStateIsAnInvalidParameterAndNothingIsRun) {
    for (const char *state : {"Online", "onlin", "onlinee", "offline ", "failed"}) {
        ask(state);
        EXPECT_EQ(&EC_invalid_param, setpathstate());
        EXPECT_EQ(std::string("Error(0105): Invalid command parameter [") + state + "].",
                  shown(&EC_invalid_param));
    }
    EXPECT_EQ(Calls{}, host.calls);
}

TEST_F(Setstate, APathNamedNvme0n1IsHandledLikeSdb) {
    ask("offline", "nvme0n1");
    EXPECT_EQ(&EC_ok, setpathstate());
    ask("online", "nvme0n1");
    EXPECT_EQ(&EC_ok, setpathstate());
    EXPECT_EQ((Calls{START_DAEMON, QUERY_ALL, "dravikd fail path nvme0n1",
                     "bash /usr/bin/dravik-script/path_state_record.sh add nvme0n1", START_DAEMON, QUERY_ALL,
                     "dravikd reinstate path nvme0n1",
                     "bash /usr/bin/dravik-script/path_state_record.sh del nvme0n1"}),
              host.calls);
}

TEST_F(Setstate, SettingAFailedPathOfflineAgainSendsTheCommandAgain) {
    ask("offline");
    EXPECT_EQ(&EC_ok, setpathstate());
    EXPECT_EQ(&EC_ok, setpathstate());
    EXPECT_EQ((Calls{START_DAEMON, QUERY_ALL, FAIL_SDB, ADD_SDB, START_DAEMON, QUERY_ALL, FAIL_SDB, ADD_SDB}),
              host.calls);
}

TEST_F(Setstate, APathOfAnotherDeviceDoesNotExistOnThisOne) {
    ask("offline", "sdc");
    EXPECT_EQ(&EC_no_device_name, setpathstate());
    EXPECT_EQ("Error(0116): Path [sdc] of disk [mpatha] does not exist.", shown(&EC_no_device_name));
    EXPECT_EQ((Calls{START_DAEMON, QUERY_ALL}), host.calls);
}

TEST_F(Setstate, AnUnknownAliasIsTold) {
    ask("online", "sdb", "mpathx");
    EXPECT_EQ(&EC_no_path_alias, setpathstate());
    EXPECT_EQ("Error(0115): This path_alias [mpathx] does not exist.", shown(&EC_no_path_alias));
    EXPECT_EQ((Calls{START_DAEMON, QUERY_ALL}), host.calls);
}

TEST_F(Setstate, ATopologyThatCannotBeHadIsAFailedCommand) {
    for (const int outcome : {127, NOT_STARTED, NO_MEMORY}) {
        host.calls.clear();
        host.dumps.forgetLogs();
        host.answer(QUERY_ALL, "", outcome);
        ask("offline");
        EXPECT_EQ(&EC_exe_cmd_failed, setpathstate());
        EXPECT_EQ((Calls{START_DAEMON, QUERY_ALL}), host.calls);
        EXPECT_EQ("ERROR checkPathstateAndParam # Query dravik information failed",
                  host.dumps.commandLogLines().back());
    }
}

TEST_F(Setstate, ADaemonThatCannotBeReachedIsAFailedCommandAndNothingIsRecorded) {
    host.answer(FAIL_SDB, "timeout\n", 1);
    ask("offline");
    EXPECT_EQ(&EC_exe_cmd_failed, setpathstate());
    EXPECT_EQ((Calls{START_DAEMON, QUERY_ALL, FAIL_SDB}), host.calls);
    EXPECT_EQ("ERROR setPathOffline # Execute command [dravikd fail path sdb] failed\n",
              host.dumps.commandLogLines().back());

    host.answer(REINSTATE_SDB, "", NOT_STARTED);
    ask("online");
    EXPECT_EQ(&EC_exe_cmd_failed, setpathstate());
    EXPECT_EQ("ERROR setPathOnline # Execute command [dravikd reinstate path sdb] failed\n",
              host.dumps.commandLogLines().back());
}

TEST_F(Setstate, ADaemonThatAnswersFailLeavesTheRecordUntouched) {
    host.answer(FAIL_SDB, "fail\n");
    ask("offline");
    EXPECT_EQ(&EC_offline_path_fail, setpathstate());
    EXPECT_EQ("Error(0137): Fail this path [sdb] failed.", shown(&EC_offline_path_fail));
    EXPECT_EQ((Calls{START_DAEMON, QUERY_ALL, FAIL_SDB}), host.calls);
    EXPECT_EQ("ERROR setPathOffline # fail path [sdb] failed\n", host.dumps.commandLogLines().back());

    host.answer(REINSTATE_SDB, "device failed\n");
    ask("online");
    EXPECT_EQ(&EC_online_path_fail, setpathstate());
    EXPECT_EQ("Error(0138): Reinstate this path [sdb] failed.", shown(&EC_online_path_fail));
    EXPECT_EQ("ERROR setPathOnline # reinstate path [sdb] failed\n", host.dumps.commandLogLines().back());
}

TEST_F(Setstate, TheOutcomeOfTheScriptsAroundTheChangeIsIgnored) {
    host.answer(START_DAEMON, "", NOT_STARTED);
    host.answer(ADD_SDB, "", NOT_STARTED);
    ask("offline");
    EXPECT_EQ(&EC_ok, setpathstate());
    EXPECT_EQ((Calls{START_DAEMON, QUERY_ALL, FAIL_SDB, ADD_SDB}), host.calls);
}

// ---- words that must not reach a shell

TEST(SetstateWords, OnlyTheNameThatTheTopologyHoldsIsSentNeverTheArgumentsTail) {
    const std::string name30 = std::string(30, 'a');
    FakeHost host;
    host.answer(QUERY_ALL, listing({readyPath(name30 + "tail")}));
    EXPECT_EQ(&EC_ok, setPathOffline("mpatha", (name30 + ";reboot").c_str()));
    EXPECT_EQ((Calls{START_DAEMON, QUERY_ALL, "dravikd fail path " + name30,
                     "bash /usr/bin/dravik-script/path_state_record.sh add " + name30}),
              host.calls);
}

TEST(SetstateWords, AHostileNameOfTheListingIsNeverSent) {
    for (const char *name : {"sd;reboot", "sd$(reboot)", "sd`reboot`", "sd|reboot", "sd&reboot", "sd>x",
                             "sd\"", "sd'", "-sdb", "sd*", "sd\x01", "sd\xC3\xBC", "sd\\x", "sd%x"}) {
        FakeHost host;
        host.answer(QUERY_ALL, listing({readyPath(name)}));
        EXPECT_EQ(&EC_exe_cmd_failed, setPathOffline("mpatha", name)) << name;
        EXPECT_EQ(&EC_exe_cmd_failed, setPathOnline("mpatha", name)) << name;
        EXPECT_EQ(&EC_exe_cmd_failed, failPath(name)) << name;
        unsigned int flag = 7;
        EXPECT_EQ(&EC_exe_cmd_failed, checkPathOnlineState(name, &flag)) << name;
        EXPECT_EQ(&EC_exe_cmd_failed, checkPathOfflineState(name, &flag)) << name;
        EXPECT_EQ(7U, flag);
        EXPECT_EQ((Calls{START_DAEMON, QUERY_ALL, START_DAEMON, QUERY_ALL}), host.calls) << name;
    }
}

TEST(SetstateWords, ARefusalIsLoggedAsACommandThatCouldNotBeRun) {
    FakeHost host;
    EXPECT_EQ(&EC_exe_cmd_failed, failPath("sd;x"));
    EXPECT_EQ((Calls{"ERROR failPath # Execute command [dravikd fail path sd;x] failed\n"}),
              host.dumps.commandLogLines());
}

// ---- checkPathstateAndParam

TEST_F(Setstate, TheCheckAnswersOkForAPathOfTheDevice) {
    EXPECT_EQ(&EC_ok, checkPathstateAndParam("mpatha", "nvme0n1"));
    EXPECT_EQ(&EC_ok, checkPathstateAndParam("mpathb", "sdc"));
    EXPECT_EQ((Calls{QUERY_ALL, QUERY_ALL}), host.calls);
}

TEST_F(Setstate, TheCheckOfAMalformedListingIsAFailedCommand) {
    host.answer(QUERY_ALL, listing({readyPath("sdb")}) + "|-+- nonsense\n");
    EXPECT_EQ(&EC_exe_cmd_failed, checkPathstateAndParam("mpatha", "sdb"));
}

TEST_F(Setstate, TheCheckOfNullNamesFindsNothing) {
    EXPECT_EQ(&EC_no_path_alias, checkPathstateAndParam(nullptr, "sdb"));
    EXPECT_EQ(&EC_no_device_name, checkPathstateAndParam("mpatha", nullptr));
}

// ---- the operations that no command uses

TEST(SetstateParts, FailPathSendsAndRecordsWithoutAnyCheck) {
    FakeHost host;
    EXPECT_EQ(&EC_ok, failPath("sdb"));
    EXPECT_EQ((Calls{FAIL_SDB, ADD_SDB}), host.calls);
    host.answer(FAIL_SDB, "fail\n");
    EXPECT_EQ(&EC_offline_path_fail, failPath("sdb"));
    EXPECT_EQ("ERROR failPath # fail path [sdb] failed\n", host.dumps.commandLogLines().back());
}

TEST(SetstateParts, FailDriveFailsEveryPathInOrderWhateverBecomesOfIt) {
    FakeHost host;
    host.answer("dravikd fail path sdb", "fail\n");
    host.answer("dravikd fail path sdc", "", NOT_STARTED);
    EXPECT_EQ(&EC_ok, failDrive(PathList({"sdb", "sdc", "sdd"}).head));
    EXPECT_EQ((Calls{"dravikd fail path sdb", "dravikd fail path sdc", "dravikd fail path sdd",
                     "bash /usr/bin/dravik-script/path_state_record.sh add sdd"}),
              host.calls);
}

TEST(SetstateParts, FailDriveStopsAtTheEndFlagAndAtAMissingSuccessor) {
    FakeHost host;
    const PathList paths({"sdb", "sdc"});
    s_path_dev *head = paths.head;
    head->next->end = true; // sdc is a spare node now
    EXPECT_EQ(&EC_ok, failDrive(head));
    EXPECT_EQ((Calls{FAIL_SDB, ADD_SDB}), host.calls);
    head->next->end = false;
    head->next->next->end = false; // no node carries the flag
    host.calls.clear();
    EXPECT_EQ(&EC_ok, failDrive(head));
    EXPECT_EQ((Calls{FAIL_SDB, ADD_SDB, "dravikd fail path sdc",
                     "bash /usr/bin/dravik-script/path_state_record.sh add sdc"}),
              host.calls);
}

TEST(SetstateParts, FailDriveOfNoPathsDoesNothing) {
    FakeHost host;
    const PathList empty({});
    EXPECT_EQ(&EC_ok, failDrive(nullptr));
    EXPECT_EQ(&EC_ok, failDrive(empty.head));
    empty.head->end = false; // a head without a first path
    EXPECT_EQ(&EC_ok, failDrive(empty.head));
    EXPECT_EQ(Calls{}, host.calls);
}

TEST(SetstateParts, TheKernelsStateSetsTheFlagOrLeavesIt) {
    constexpr char STATE[] = "cat /sys/block/sdb/device/state";
    struct Case {
        const char *output;
        int outcome;
        bool online;
        bool offline;
    };
    for (const Case &row : {Case{"running\n", 0, true, false}, Case{"offline\n", 0, false, true},
                            Case{"transport-offline\n", 0, false, true}, Case{"", 0, false, false},
                            Case{"running offline\n", 1, false, false}}) {
        FakeHost host;
        host.answer(STATE, row.output, row.outcome);
        s_ecItems *expected = row.outcome == 0 ? &EC_info_ok : &EC_exe_cmd_failed;
        unsigned int online = 7;
        unsigned int offline = 7;
        EXPECT_EQ(expected, checkPathOnlineState("sdb", &online));
        EXPECT_EQ(expected, checkPathOfflineState("sdb", &offline));
        EXPECT_EQ(row.online ? 1U : 7U, online) << row.output;
        EXPECT_EQ(row.offline ? 1U : 7U, offline) << row.output;
        EXPECT_EQ((Calls{STATE, STATE}), host.calls);
    }
}
