// Device deletion: the flush and its attempts, the block devices behind it, and what stays after a failure.
#include "cli/cli_exe.h"

#include <string>
#include <sys/time.h>
#include <vector>

#include <gtest/gtest.h>

#include "cli/cli_tags.h"
#include "tests/support/fake_host.h"

namespace {

using Calls = std::vector<std::string>;

constexpr char QUERY_MPATHA[] = "velomux -ll mpatha";
constexpr char FLUSH[] = "timed: velomux -f /dev/dm-3";
constexpr char NODE[] = "/dev/dm-3";
constexpr char DELETE_SDB[] = "echo 1 > /sys/block/sdb/device/delete";
constexpr char DELETE_SDC[] = "echo 1 > /sys/block/sdc/device/delete";
constexpr char IN_USE[] = "Dec 06 10:15:02 | mpatha: map in use\n";
constexpr char NO_ARGUMENT[] = "Dec 06 10:15:02 | '/dev/dm-3' is not a valid argument\n";

std::string pathLine(const std::string &name) {
    return "1:0:0:1 " + name + " 8:16 active ready running";
}

// mpatha is dm-3 over sdb and sdc, all of which the host knows; the command is asked to delete it.
class Deletion : public testing::Test {
  protected:
    Deletion() {
        host.answer(QUERY_MPATHA, listing({pathLine("sdb"), pathLine("sdc")}));
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

// A list with these paths, released when it goes.
class Paths {
  public:
    explicit Paths(const std::vector<std::string> &names) : head(mallocPathDev()) {
        s_path_dev *cursor = head;
        for (const std::string &name : names) {
            s_path_dev *node = getOrMallocNextPathDev(cursor);
            snprintf(node->dev_name, sizeof(node->dev_name), "%s", name.c_str());
            cursor->end = false;
            cursor = node;
        }
    }
    ~Paths() {
        freePathDev(head);
    }
    Paths(const Paths &) = delete;
    Paths &operator=(const Paths &) = delete;

    s_path_dev *head;
};

} // namespace

// ---- delete

TEST_F(Deletion, TheMapIsFlushedAndThenEveryBlockDeviceDeleted) {
    testing::internal::CaptureStdout();
    EXPECT_EQ(&EC_ok, delete_("mpatha"));
    EXPECT_EQ("", testing::internal::GetCapturedStdout());
    EXPECT_EQ((Calls{QUERY_MPATHA, FLUSH, DELETE_SDB, DELETE_SDC}), host.calls);
}

TEST_F(Deletion, AMapThatIsGoneAlreadyIsNotFlushed) {
    host.removeNode(NODE);
    EXPECT_EQ(&EC_ok, delete_("mpatha"));
    EXPECT_EQ((Calls{QUERY_MPATHA, DELETE_SDB, DELETE_SDC}), host.calls);
}

TEST_F(Deletion, AMapNodeThatVanishesBetweenTwoAttemptsIsASuccessAndThePathsAreDeleted) {
    host.answer(FLUSH, "error\n", 1, nodeVanishes());
    EXPECT_EQ(&EC_ok, delete_("mpatha"));
    EXPECT_EQ((Calls{QUERY_MPATHA, FLUSH, DELETE_SDB, DELETE_SDC}), host.calls);
    EXPECT_EQ(2, host.askedFor(NODE));
}

TEST_F(Deletion, AMapInUseIsTriedThreeTimesWithAPauseAfterTheFirstTwo) {
    host.answer(FLUSH, IN_USE, 1);
    EXPECT_EQ(&EC_del_failed_for_using, delete_("mpatha"));
    EXPECT_EQ((Calls{QUERY_MPATHA, FLUSH, "sleep 1", FLUSH, "sleep 1", FLUSH}), host.calls);
}

TEST_F(Deletion, AMapThatIsReleasedAfterAnAttemptIsDeleted) {
    host.answer(FLUSH, IN_USE, 1);
    host.thenAnswer(FLUSH, "");
    EXPECT_EQ(&EC_ok, delete_("mpatha"));
    EXPECT_EQ((Calls{QUERY_MPATHA, FLUSH, "sleep 1", FLUSH, DELETE_SDB, DELETE_SDC}), host.calls);
}

TEST_F(Deletion, NotAValidArgumentWithTheNodeGoneIsASuccessAtOnce) {
    host.answer(FLUSH, NO_ARGUMENT, 1, nodeVanishes());
    EXPECT_EQ(&EC_ok, delete_("mpatha"));
    EXPECT_EQ((Calls{QUERY_MPATHA, FLUSH, DELETE_SDB, DELETE_SDC}), host.calls);
}

TEST_F(Deletion, NotAValidArgumentWhileTheNodeExistsIsAFailedAttempt) {
    host.answer(FLUSH, NO_ARGUMENT, 1);
    EXPECT_EQ(&EC_exe_cmd_failed, delete_("mpatha"));
    EXPECT_EQ((Calls{QUERY_MPATHA, FLUSH, FLUSH, FLUSH}), host.calls);
    // Before each attempt, and once more after each answer.
    EXPECT_EQ(6, host.askedFor(NODE));
}

TEST_F(Deletion, InUseGoesBeforeNotAValidArgument) {
    host.answer(FLUSH, std::string(IN_USE) + NO_ARGUMENT, 1, nodeVanishes());
    EXPECT_EQ(&EC_ok, delete_("mpatha"));
    EXPECT_EQ((Calls{QUERY_MPATHA, FLUSH, "sleep 1", DELETE_SDB, DELETE_SDC}), host.calls);
}

TEST_F(Deletion, TheLastAttemptDecidesTheRecord) {
    host.answer(FLUSH, IN_USE, 1);
    host.thenAnswer(FLUSH, IN_USE, 1);
    host.thenAnswer(FLUSH, "error\n", 1);
    EXPECT_EQ(&EC_exe_cmd_failed, delete_("mpatha"));
}

TEST_F(Deletion, AnAnswerOfOneAttemptNeverDecidesTheNext) {
    // A time-out copies nothing: the "in use" of the attempt before must not be read again.
    host.answer(FLUSH, IN_USE, 1);
    host.thenAnswer(FLUSH, "", HANGS);
    EXPECT_EQ(&EC_exe_cmd_timeout, delete_("mpatha"));
    EXPECT_EQ((Calls{QUERY_MPATHA, FLUSH, "sleep 1", FLUSH, FLUSH}), host.calls);
}

TEST_F(Deletion, AHangingFlushTimesOutAndAllPathsStay) {
    host.answer(FLUSH, "", HANGS);
    EXPECT_EQ(&EC_exe_cmd_timeout, delete_("mpatha"));
    EXPECT_EQ((Calls{QUERY_MPATHA, FLUSH, FLUSH, FLUSH}), host.calls);
    const std::string timeout =
        "ERROR exeLiunxInfoCmd_nonblocking # Execute command [velomux -f /dev/dm-3] timeout\n";
    EXPECT_EQ((Calls{timeout, timeout, timeout}), errorsOf(host));
}

TEST_F(Deletion, AfterATimeOutTheTimerCannotEndTheDeletions) {
    host.answer(FLUSH, "", HANGS);
    host.thenAnswer(FLUSH, "");
    bool runs = true;
    host.answer(DELETE_SDB, "", 0, [&runs] { runs = timerRuns(); });
    EXPECT_EQ(&EC_ok, delete_("mpatha"));
    EXPECT_FALSE(runs);
    EXPECT_EQ((Calls{QUERY_MPATHA, FLUSH, FLUSH, DELETE_SDB, DELETE_SDC}), host.calls);
}

TEST_F(Deletion, ADeviceWhoseFirstPathIsNvmeLosesItsMapOnly) {
    host.answer(QUERY_MPATHA, listing({pathLine("nvme0n1"), pathLine("sdc")}));
    EXPECT_EQ(&EC_ok, delete_("mpatha"));
    EXPECT_EQ((Calls{QUERY_MPATHA, FLUSH}), host.calls);
}

TEST_F(Deletion, OnSuse11Sp4TheFlushNamesTheMapByAliasUnderDevMapper) {
    host.becomeSuse11Sp4();
    host.node("/dev/mapper/mpatha");
    EXPECT_EQ(&EC_ok, delete_("mpatha"));
    EXPECT_EQ((Calls{QUERY_MPATHA, "timed: velomux -f mpatha", DELETE_SDB, DELETE_SDC}), host.calls);
    EXPECT_EQ(1, host.askedFor("/dev/mapper/mpatha"));
    EXPECT_EQ(0, host.askedFor(NODE));
}

TEST_F(Deletion, APathThatCannotBeDeletedEndsTheCommandWithThoseBeforeItGone) {
    host.answer(DELETE_SDB, "", NOT_STARTED);
    EXPECT_EQ(&EC_exe_cmd_failed, delete_("mpatha"));
    EXPECT_EQ((Calls{QUERY_MPATHA, FLUSH, DELETE_SDB}), host.calls);
    EXPECT_EQ("ERROR deleteDrive # Execute command [echo 1 > /sys/block/sdb/device/delete] failed\n",
              host.dumps.commandLogLines().back());
}

TEST_F(Deletion, AFailedQueryIsLoggedAndItsRecordReturned) {
    EXPECT_EQ(&EC_no_this_device, delete_("mpathx"));
    EXPECT_EQ("Error(0133): This device [mpathx] does not exist.", shown(&EC_no_this_device));
    EXPECT_EQ(Calls{"velomux -ll mpathx"}, host.calls);
    EXPECT_EQ(Calls{"ERROR delete_ # Query dravik information failed"}, errorsOf(host));

    host.answer("velomux -ll mpathy", "", NOT_STARTED);
    EXPECT_EQ(&EC_exe_cmd_failed, delete_("mpathy"));
}

TEST_F(Deletion, ADeviceFoundByItsWwidIsUnknownAsAnAlias) {
    const std::string wwid = "360000000000000000000000000000001";
    give(gParamMpathxVal, wwid);
    host.answer("velomux -ll " + wwid, listing({pathLine("sdb")}));
    EXPECT_EQ(&EC_no_path_alias, delete_(wwid.c_str()));
    EXPECT_EQ("Error(0115): This path_alias [" + wwid + "] does not exist.", shown(&EC_no_path_alias));
    EXPECT_EQ(Calls{"velomux -ll " + wwid}, host.calls);
}

TEST_F(Deletion, TheUnknownAliasThatIsToldIsTheHandlersArgument) {
    give(gParamMpathxVal, "mpathz");
    EXPECT_EQ(&EC_no_path_alias, delete_("mpatha"));
    EXPECT_STREQ("mpatha", EC_no_path_alias.items[0]);
}

// ---- words that must not reach a shell

TEST(DeletionWords, AHostileAliasIsNeverFlushed) {
    for (const std::string alias :
         {"a;reboot", "a$(reboot)", "a`reboot`", "a|b", "a&b", "a'b", "a\"b", "a*"}) {
        FakeHost host;
        host.becomeSuse11Sp4();
        give(gParamMpathxVal, alias);
        host.answer("velomux -ll mpatha", listing({pathLine("sdb")}, alias));
        host.node("/dev/mapper/" + alias);
        host.node("/sys/block/sdb");
        EXPECT_EQ(&EC_exe_cmd_failed, delete_("mpatha")) << alias;
        EXPECT_EQ(Calls{"velomux -ll mpatha"}, host.calls) << alias;
        EXPECT_EQ("ERROR delete_ # Execute command [velomux -f " + alias + "] failed\n",
                  host.dumps.commandLogLines().back());
    }
}

TEST(DeletionWords, AHostileDeviceNumberIsNeverFlushed) {
    for (const char *number :
         {"3;reboot", "3$(reboot)", "3`reboot`", "3 4", "3|x", "-1", "\xC3\xBC", "3\n"}) {
        FakeHost host;
        EXPECT_EQ(&EC_exe_cmd_failed, delPathInfo(number)) << number;
        EXPECT_EQ(Calls{}, host.calls) << number;
    }
}

TEST(DeletionWords, AHostileBlockDeviceIsNeverDeletedEvenIfItExists) {
    for (const std::string name :
         {"sd;reboot", "sd$(reboot)", "sd`x`", "sd x", "sd|x", "sd&x", "sd>x", "-sd", "sd'"}) {
        FakeHost host;
        host.node("/sys/block/" + name);
        EXPECT_EQ(&EC_exe_cmd_failed, delOneDrive(name.c_str())) << name;
        const Paths paths({name, "sdb"});
        EXPECT_EQ(&EC_exe_cmd_failed, deleteDrive(paths.head)) << name;
        EXPECT_EQ(Calls{}, host.calls) << name;
        EXPECT_EQ("ERROR deleteDrive # Execute command [echo 1 > /sys/block/" + name +
                      "/device/delete] failed\n",
                  host.dumps.commandLogLines().back());
    }
}

// ---- deleteDrive

TEST(DeletionParts, DeleteDriveOfNoPathsIsASuccess) {
    FakeHost host;
    const Paths empty({});
    EXPECT_EQ(&EC_ok, deleteDrive(nullptr));
    EXPECT_EQ(&EC_ok, deleteDrive(empty.head));
    empty.head->end = false; // a head without a first path
    EXPECT_EQ(&EC_ok, deleteDrive(empty.head));
    EXPECT_EQ(Calls{}, host.calls);
}

TEST(DeletionParts, OnlyTheFirstPathIsTestedForAScsiDisk) {
    FakeHost host;
    host.node("/sys/block/sdb");
    host.node("/sys/block/nvme0n1");
    EXPECT_EQ(&EC_ok, deleteDrive(Paths({"nvme0n1", "sdb"}).head));
    EXPECT_EQ(Calls{}, host.calls);
    EXPECT_EQ(&EC_ok, deleteDrive(Paths({"sdb", "nvme0n1"}).head));
    EXPECT_EQ((Calls{DELETE_SDB, "echo 1 > /sys/block/nvme0n1/device/delete"}), host.calls);
}

TEST(DeletionParts, DeleteDrivePassesOverNamesThatSysfsDoesNotKnow) {
    FakeHost host;
    host.node("/sys/block/sdc");
    EXPECT_EQ(&EC_ok, deleteDrive(Paths({"sdb", "sdc", "sdd"}).head));
    EXPECT_EQ(Calls{DELETE_SDC}, host.calls);
}

TEST(DeletionParts, DeleteDriveStopsAtTheEndFlagAndAtAMissingSuccessor) {
    FakeHost host;
    host.node("/sys/block/sdb");
    host.node("/sys/block/sdc");
    const Paths paths({"sdb", "sdc"});
    paths.head->next->end = true; // sdc is a spare node now
    EXPECT_EQ(&EC_ok, deleteDrive(paths.head));
    EXPECT_EQ(Calls{DELETE_SDB}, host.calls);
    paths.head->next->end = false;
    paths.head->next->next->end = false; // no node carries the flag
    host.calls.clear();
    EXPECT_EQ(&EC_ok, deleteDrive(paths.head));
    EXPECT_EQ((Calls{DELETE_SDB, DELETE_SDC}), host.calls);
}

TEST(DeletionParts, AnEchoThatExitsWithAnErrorIsNoFailure) {
    FakeHost host;
    host.node("/sys/block/sdb");
    host.node("/sys/block/sdc");
    host.answer(DELETE_SDB, "sh: write error\n", 1);
    EXPECT_EQ(&EC_ok, deleteDrive(Paths({"sdb", "sdc"}).head));
    EXPECT_EQ((Calls{DELETE_SDB, DELETE_SDC}), host.calls);
}

// ---- delPathInfo, delOneDrive

TEST(DeletionParts, DelPathInfoFlushesByNumberWithoutTheTimer) {
    FakeHost host;
    EXPECT_EQ(&EC_info_ok, delPathInfo("3"));
    EXPECT_EQ(Calls{"velomux -f /dev/dm-3"}, host.calls);
}

TEST(DeletionParts, DelPathInfoOfAnEmptyOrNullNumberIsASuccess) {
    FakeHost host;
    EXPECT_EQ(&EC_ok, delPathInfo(""));
    EXPECT_EQ(&EC_ok, delPathInfo(nullptr));
    EXPECT_EQ(Calls{}, host.calls);
}

TEST(DeletionParts, DelPathInfoTellsAMapInUseFromAnyOtherFailure) {
    FakeHost host;
    host.answer("velomux -f /dev/dm-3", IN_USE, 1);
    EXPECT_EQ(&EC_del_failed_for_using, delPathInfo("3"));
    host.answer("velomux -f /dev/dm-4", NO_ARGUMENT, 1);
    EXPECT_EQ(&EC_exe_cmd_failed, delPathInfo("4"));
    host.answer("velomux -f /dev/dm-5", IN_USE, 0);
    EXPECT_EQ(&EC_info_ok, delPathInfo("5"));
    host.answer("velomux -f /dev/dm-6", "", NOT_STARTED);
    EXPECT_EQ(&EC_exe_cmd_failed, delPathInfo("6"));
}

TEST(DeletionParts, DelOneDriveDeletesOnlyWhatSysfsKnows) {
    FakeHost host;
    host.node("/sys/block/sdb");
    EXPECT_EQ(&EC_ok, delOneDrive("sdb"));
    EXPECT_EQ(&EC_ok, delOneDrive("sdc"));
    EXPECT_EQ(&EC_ok, delOneDrive(""));
    EXPECT_EQ(&EC_ok, delOneDrive(nullptr));
    EXPECT_EQ(Calls{DELETE_SDB}, host.calls);
}

TEST(DeletionParts, DelOneDriveReturnsTheRunnersRecord) {
    FakeHost host;
    host.node("/sys/block/sdb");
    host.answer(DELETE_SDB, "", NOT_STARTED);
    EXPECT_EQ(&EC_exe_cmd_failed, delOneDrive("sdb"));
}
