// Device deletion: the flush and its attempts, the block devices behind it, and what stays after a failure.
#include "commands/delete.h"

#include <string>
#include <sys/time.h>
#include <vector>

#include <gtest/gtest.h>

#include "commands/parameter_buffers.h"
#include "tests/support/command_lines.h"
#include "tests/support/fake_host.h"

namespace {

constexpr char QUERY_MPATHA[] = "velomux -ll mpatha";
constexpr char FLUSH[] = "timed: velomux -f /dev/dm-3";
constexpr char NODE[] = "/dev/dm-3";
const std::string DELETE_SDB = deletionOf("sdb");
const std::string DELETE_SDC = deletionOf("sdc");
constexpr char IN_USE[] = "Dec 06 10:15:02 | mpatha: map in use\n";
constexpr char NO_ARGUMENT[] = "Dec 06 10:15:02 | '/dev/dm-3' is not a valid argument\n";

// mpatha is dm-3 over sdb and sdc, all of which the host knows; the command is asked to delete it.
class Delete : public testing::Test {
  protected:
    Delete() {
        host.answer(QUERY_MPATHA, listing({readyPath("sdb"), readyPath("sdc")}));
        host.node(NODE);
        host.node("/sys/block/sdb");
        host.node("/sys/block/sdc");
        give(gParamMpathxVal, "mpatha");
    }
    std::function<void()> nodeVanishes() {
        return [this] { host.removeNode(NODE); };
    }
    FakeHost host;
};

bool timerRuns() {
    itimerval now = {};
    getitimer(ITIMER_REAL, &now);
    return now.it_value.tv_sec != 0 || now.it_value.tv_usec != 0;
}

// The command log without its other levels: the topology's records log their allocation.
Calls errorsOf(const FakeHost &host) {
    Calls errors;
    for (const std::string &line : host.dumps.commandLogLines()) {
        if (line.rfind("ERROR", 0) == 0) {
            errors.push_back(line);
        }
    }
    return errors;
}

} // namespace

TEST_F(Delete, TheMapIsFlushedAndThenEveryBlockDeviceDeleted) {
    testing::internal::CaptureStdout();
    EXPECT_EQ(&EC_ok, delete_("mpatha"));
    EXPECT_EQ("", testing::internal::GetCapturedStdout());
    EXPECT_EQ((Calls{QUERY_MPATHA, FLUSH, DELETE_SDB, DELETE_SDC}), host.calls);
}

TEST_F(Delete, AMapThatIsGoneAlreadyIsNotFlushed) {
    host.removeNode(NODE);
    EXPECT_EQ(&EC_ok, delete_("mpatha"));
    EXPECT_EQ((Calls{QUERY_MPATHA, DELETE_SDB, DELETE_SDC}), host.calls);
}

TEST_F(Delete, AMapNodeThatVanishesBetweenTwoAttemptsIsASuccessAndThePathsAreDeleted) {
    host.answer(FLUSH, "error\n", 1, nodeVanishes());
    EXPECT_EQ(&EC_ok, delete_("mpatha"));
    EXPECT_EQ((Calls{QUERY_MPATHA, FLUSH, DELETE_SDB, DELETE_SDC}), host.calls);
    EXPECT_EQ(2, host.askedFor(NODE));
}

TEST_F(Delete, AMapInUseIsTriedThreeTimesWithAPauseAfterTheFirstTwo) {
    host.answer(FLUSH, IN_USE, 1);
    EXPECT_EQ(&EC_del_failed_for_using, delete_("mpatha"));
    EXPECT_EQ((Calls{QUERY_MPATHA, FLUSH, "sleep 1", FLUSH, "sleep 1", FLUSH}), host.calls);
}

TEST_F(Delete, AMapThatIsReleasedAfterAnAttemptIsDeleted) {
    host.answer(FLUSH, IN_USE, 1);
    host.thenAnswer(FLUSH, "");
    EXPECT_EQ(&EC_ok, delete_("mpatha"));
    EXPECT_EQ((Calls{QUERY_MPATHA, FLUSH, "sleep 1", FLUSH, DELETE_SDB, DELETE_SDC}), host.calls);
}

TEST_F(Delete, NotAValidArgumentWithTheNodeGoneIsASuccessAtOnce) {
    host.answer(FLUSH, NO_ARGUMENT, 1, nodeVanishes());
    EXPECT_EQ(&EC_ok, delete_("mpatha"));
    EXPECT_EQ((Calls{QUERY_MPATHA, FLUSH, DELETE_SDB, DELETE_SDC}), host.calls);
}

TEST_F(Delete, NotAValidArgumentWhileTheNodeExistsIsAFailedAttempt) {
    host.answer(FLUSH, NO_ARGUMENT, 1);
    EXPECT_EQ(&EC_exe_cmd_failed, delete_("mpatha"));
    EXPECT_EQ((Calls{QUERY_MPATHA, FLUSH, FLUSH, FLUSH}), host.calls);
    // Before each attempt, and once more after each answer.
    EXPECT_EQ(6, host.askedFor(NODE));
}

TEST_F(Delete, InUseGoesBeforeNotAValidArgument) {
    host.answer(FLUSH, std::string(IN_USE) + NO_ARGUMENT, 1, nodeVanishes());
    EXPECT_EQ(&EC_ok, delete_("mpatha"));
    EXPECT_EQ((Calls{QUERY_MPATHA, FLUSH, "sleep 1", DELETE_SDB, DELETE_SDC}), host.calls);
}

TEST_F(Delete, TheLastAttemptDecidesTheRecord) {
    host.answer(FLUSH, IN_USE, 1);
    host.thenAnswer(FLUSH, IN_USE, 1);
    host.thenAnswer(FLUSH, "error\n", 1);
    EXPECT_EQ(&EC_exe_cmd_failed, delete_("mpatha"));
}

TEST_F(Delete, AnAnswerOfOneAttemptNeverDecidesTheNext) {
    // A time-out copies nothing: the "in use" of the attempt before must not be read again.
    host.answer(FLUSH, IN_USE, 1);
    host.thenAnswer(FLUSH, "", HANGS);
    EXPECT_EQ(&EC_exe_cmd_timeout, delete_("mpatha"));
    EXPECT_EQ((Calls{QUERY_MPATHA, FLUSH, "sleep 1", FLUSH, FLUSH}), host.calls);
}

TEST_F(Delete, AHangingFlushTimesOutAndAllPathsStay) {
    host.answer(FLUSH, "", HANGS);
    EXPECT_EQ(&EC_exe_cmd_timeout, delete_("mpatha"));
    EXPECT_EQ((Calls{QUERY_MPATHA, FLUSH, FLUSH, FLUSH}), host.calls);
    const std::string timeout =
        "ERROR exeLiunxInfoCmd_nonblocking # Execute command [velomux -f /dev/dm-3] timeout\n";
    EXPECT_EQ((Calls{timeout, timeout, timeout}), errorsOf(host));
}

TEST_F(Delete, AfterATimeOutTheTimerCannotEndTheDeletions) {
    host.answer(FLUSH, "", HANGS);
    host.thenAnswer(FLUSH, "");
    bool runs = true;
    host.answer(DELETE_SDB, "", 0, [&runs] { runs = timerRuns(); });
    EXPECT_EQ(&EC_ok, delete_("mpatha"));
    EXPECT_FALSE(runs);
    EXPECT_EQ((Calls{QUERY_MPATHA, FLUSH, FLUSH, DELETE_SDB, DELETE_SDC}), host.calls);
}

TEST_F(Delete, ADeviceWhoseFirstPathIsNvmeLosesItsMapOnly) {
    host.answer(QUERY_MPATHA, listing({readyPath("nvme0n1"), readyPath("sdc")}));
    EXPECT_EQ(&EC_ok, delete_("mpatha"));
    EXPECT_EQ((Calls{QUERY_MPATHA, FLUSH}), host.calls);
}

TEST_F(Delete, OnSuse11Sp4TheFlushNamesTheMapByAliasUnderDevMapper) {
    host.becomeSuse11Sp4();
    host.node("/dev/mapper/mpatha");
    EXPECT_EQ(&EC_ok, delete_("mpatha"));
    EXPECT_EQ((Calls{QUERY_MPATHA, "timed: velomux -f mpatha", DELETE_SDB, DELETE_SDC}), host.calls);
    EXPECT_EQ(1, host.askedFor("/dev/mapper/mpatha"));
    EXPECT_EQ(0, host.askedFor(NODE));
}

TEST_F(Delete, APathThatCannotBeDeletedEndsTheCommandWithThoseBeforeItGone) {
    host.answer(DELETE_SDB, "", NOT_STARTED);
    EXPECT_EQ(&EC_exe_cmd_failed, delete_("mpatha"));
    EXPECT_EQ((Calls{QUERY_MPATHA, FLUSH, DELETE_SDB}), host.calls);
    EXPECT_EQ("ERROR deleteDrive # Execute command [echo 1 > /sys/block/sdb/device/delete] failed\n",
              host.dumps.commandLogLines().back());
}

TEST_F(Delete, AFailedQueryIsLoggedAndItsRecordReturned) {
    EXPECT_EQ(&EC_no_this_device, delete_("mpathx"));
    EXPECT_EQ("Error(0133): This device [mpathx] does not exist.", shown(&EC_no_this_device));
    EXPECT_EQ(Calls{"velomux -ll mpathx"}, host.calls);
    EXPECT_EQ(Calls{"ERROR delete_ # Query dravik information failed"}, errorsOf(host));

    host.answer("velomux -ll mpathy", "", NOT_STARTED);
    EXPECT_EQ(&EC_exe_cmd_failed, delete_("mpathy"));
}

TEST_F(Delete, ADeviceFoundByItsWwidIsUnknownAsAnAlias) {
    const std::string wwid = "360000000000000000000000000000001";
    give(gParamMpathxVal, wwid);
    host.answer("velomux -ll " + wwid, listing({readyPath("sdb")}));
    EXPECT_EQ(&EC_no_path_alias, delete_(wwid.c_str()));
    EXPECT_EQ("Error(0115): This path_alias [" + wwid + "] does not exist.", shown(&EC_no_path_alias));
    EXPECT_EQ(Calls{"velomux -ll " + wwid}, host.calls);
}

TEST_F(Delete, TheUnknownAliasThatIsToldIsTheHandlersArgument) {
    give(gParamMpathxVal, "mpathz");
    EXPECT_EQ(&EC_no_path_alias, delete_("mpatha"));
    EXPECT_STREQ("mpatha", EC_no_path_alias.items[0]);
}

// ---- words that must not reach a shell

TEST(DeleteWords, AHostileAliasIsNeverFlushed) {
    for (const std::string alias :
         {"a;reboot", "a$(reboot)", "a`reboot`", "a|b", "a&b", "a'b", "a\"b", "a*"}) {
        FakeHost host;
        host.becomeSuse11Sp4();
        give(gParamMpathxVal, alias);
        host.answer("velomux -ll mpatha", listing({readyPath("sdb")}, alias));
        host.node("/dev/mapper/" + alias);
        host.node("/sys/block/sdb");
        EXPECT_EQ(&EC_exe_cmd_failed, delete_("mpatha")) << alias;
        EXPECT_EQ(Calls{"velomux -ll mpatha"}, host.calls) << alias;
        EXPECT_EQ("ERROR delete_ # Execute command [velomux -f " + alias + "] failed\n",
                  host.dumps.commandLogLines().back());
    }
}
