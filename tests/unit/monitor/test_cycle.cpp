// The monitor's cycle: what it asks, compares, logs, remembers and sleeps.
#include "monitor/cycle.h"

#include <ctime>
#include <stdexcept>
#include <string>
#include <sys/stat.h>
#include <vector>

#include <gtest/gtest.h>

#include "common/log.h"
#include "common/text.h"
#include "tests/support/cycle_fixture.h"
#include "tests/support/dumps_redirect.h"
#include "tests/support/fake_host.h"
#include "tests/support/lun_list_maker.h"

namespace {

time_t time_passed = 0; // what the tests add to the wall clock

} // namespace

// The linker's name for the wall clock in seconds.
// NOLINTBEGIN(readability-identifier-naming)
extern "C" {
time_t __real_time(time_t *seconds);
time_t __wrap_time(time_t *seconds);
time_t __wrap_time(time_t *seconds) {
    const time_t now = __real_time(nullptr) + time_passed;
    if (seconds != nullptr) {
        *seconds = now;
    }
    return now;
}
}
// NOLINTEND(readability-identifier-naming)

namespace {

class Cycle : public testing::Test {
  protected:
    ~Cycle() override {
        time_passed = 0;
        forgetMonitor();
    }

    void listingIs(const std::string &text) {
        host.answer(QUERY_ALL, text);
    }
    void restart() {
        forgetMonitor();
        initMonitor();
    }
    // One cycle: the change log it wrote, and the command log but for the allocations of nodes.
    void run() {
        host.dumps.forgetLogs();
        oneMonitor();
        changes = host.dumps.changeLogLines();
        complaints = logged();
    }
    Lines logged() const {
        Lines found;
        for (const std::string &line : host.dumps.commandLogLines()) {
            if (line.find("# Malloc struct ") == std::string::npos) {
                found.push_back(line);
            }
        }
        return found;
    }
    std::string snapshot() const {
        return host.dumps.read("data.dravik");
    }

    FakeHost host;
    Lines changes;
    Lines complaints;
};

} // namespace

// ---- the pause

TEST(CyclePause, IsWhatIsLeftOfTenSecondsAndOneWhenNothingIsLeft) {
    EXPECT_EQ(pauseAfterCycle(0), 10U);
    EXPECT_EQ(pauseAfterCycle(1), 9U);
    EXPECT_EQ(pauseAfterCycle(8), 2U);
    EXPECT_EQ(pauseAfterCycle(9), 1U);
    EXPECT_EQ(pauseAfterCycle(10), 1U);
    EXPECT_EQ(pauseAfterCycle(11), 1U);
    EXPECT_EQ(pauseAfterCycle(12), 1U);
    EXPECT_EQ(pauseAfterCycle(1000000), 1U);
}

TEST(CyclePause, TruncatesTheElapsedTimeTowardZero) {
    EXPECT_EQ(pauseAfterCycle(0.99), 10U);
    EXPECT_EQ(pauseAfterCycle(9.99), 1U);
    EXPECT_EQ(pauseAfterCycle(-0.99), 10U);
}

TEST(CyclePause, IsLongerThanTenSecondsWhenTheClockWasSetBack) {
    EXPECT_EQ(pauseAfterCycle(-1), 11U);
    EXPECT_EQ(pauseAfterCycle(-3600), 3610U);
}

// ---- the start

TEST_F(Cycle, TheMonitorStartsWithThreeEmptyListsAndLogsAMissingSnapshot) {
    initMonitor();
    EXPECT_STREQ(lunPathFile, "/dumps/data.dravik");
    EXPECT_TRUE(g_pLunPath->end);
    EXPECT_TRUE(g_pOldLunPath->end);
    EXPECT_TRUE(g_pDravik->end);
    EXPECT_EQ(host.dumps.commandLogLines(),
              (Lines{"INFO  mallocLunpath # Malloc struct s_lunPath.",
                     "INFO  mallocLunpath # Malloc struct s_lunPath.",
                     "INFO  mallocDravik # Malloc struct s_dravik.",
                     "ERROR readLunPathToFile # Open file failed. file: /dumps/data.dravik."}));
    EXPECT_EQ(host.calls, Lines());
}

TEST_F(Cycle, ThePreviousListIsReadFromTheSnapshot) {
    host.dumps.write("data.dravik", SNAPSHOT_B + SNAPSHOT_A);
    initMonitor();
    EXPECT_EQ(lunListText(g_pOldLunPath), "mpathb|36b|8:48|xad|ready|active|running\n"
                                          "mpatha|36a|8:16|xab|ready|active|running\n"
                                          "mpatha|36a|8:32|xac|ready|enabled|running\n");
    EXPECT_EQ(logged(), Lines());
}

TEST_F(Cycle, ADamagedSnapshotIsUsedUpToItsDamage) {
    host.dumps.write("data.dravik", SNAPSHOT_A + "broken\n" + SNAPSHOT_B);
    initMonitor();
    listingIs(VOLUME_A);
    run();
    EXPECT_EQ(changes, Lines());
}

// ---- cycles

TEST_F(Cycle, TheFirstCycleWithoutASnapshotReportsAllAsCreatedAndWritesTheFirstSnapshot) {
    initMonitor();
    listingIs(VOLUME_A + VOLUME_B);
    run();
    EXPECT_EQ(changes, (Lines{lunLine("created", "mpatha", "36a"), lunLine("created", "mpathb", "36b"),
                              pathLine("created", "mpatha", "36a", "xab", "active"),
                              pathLine("created", "mpatha", "36a", "xac", "enabled"),
                              pathLine("created", "mpathb", "36b", "xad", "active")}));
    EXPECT_EQ(complaints, Lines{SNAPSHOT_WRITTEN});
    EXPECT_EQ(snapshot(), SNAPSHOT_A + SNAPSHOT_B);
    EXPECT_EQ(host.calls, Lines{QUERY_ALL});
    EXPECT_EQ(lunListText(g_pOldLunPath), lunListText(g_pLunPath));
}

TEST_F(Cycle, AnUnchangedTopologyLogsNothingAndDoesNotTouchTheSnapshot) {
    initMonitor();
    listingIs(VOLUME_A);
    run();
    struct stat before = {};
    struct stat after = {};
    ASSERT_EQ(stat(host.dumps.path("data.dravik").c_str(), &before), 0);
    run();
    run();
    ASSERT_EQ(stat(host.dumps.path("data.dravik").c_str(), &after), 0);
    EXPECT_EQ(host.dumps.names(), Lines{"data.dravik"}); // not a line in either log
    EXPECT_EQ(before.st_ino, after.st_ino);
    EXPECT_EQ(before.st_mtim.tv_sec, after.st_mtim.tv_sec);
    EXPECT_EQ(before.st_mtim.tv_nsec, after.st_mtim.tv_nsec);
}

TEST_F(Cycle, ThePreviousListIsRefreshedAlsoWhenNothingIsReported) {
    initMonitor();
    listingIs(VOLUME_A);
    run();
    // A device number is never compared, so this is no change; but it must be in the next snapshot's list.
    std::string renumbered = VOLUME_A;
    renumbered.replace(renumbered.find("8:16"), 4, "65:0");
    listingIs(renumbered);
    run();
    EXPECT_EQ(changes, Lines());
    EXPECT_EQ(snapshot(), SNAPSHOT_A);
    EXPECT_EQ(lunListText(g_pOldLunPath), "mpatha|36a|65:0|xab|ready|active|running\n"
                                          "mpatha|36a|8:32|xac|ready|enabled|running\n");
}

TEST_F(Cycle, AChangeIsReportedOnceAndRewritesTheSnapshot) {
    initMonitor();
    listingIs(VOLUME_A);
    run();
    listingIs(VOLUME_A_FAULTY);
    run();
    EXPECT_EQ(changes, Lines{FAULTY});
    EXPECT_EQ(complaints, Lines{SNAPSHOT_WRITTEN});
    EXPECT_EQ(snapshot(), SNAPSHOT_A_FAULTY);
    run();
    EXPECT_EQ(changes, Lines());
    EXPECT_EQ(complaints, Lines());
    listingIs(VOLUME_A);
    run();
    EXPECT_EQ(changes, Lines{READY});
    EXPECT_EQ(snapshot(), SNAPSHOT_A);
}

TEST_F(Cycle, AVolumeThatIsGoneSinceTheSnapshotIsReportedDeletedOnTheFirstCycle) {
    host.dumps.write("data.dravik", SNAPSHOT_A + SNAPSHOT_B);
    initMonitor();
    listingIs(VOLUME_B);
    run();
    EXPECT_EQ(changes, volumeALines("deleted"));
    EXPECT_EQ(snapshot(), SNAPSHOT_B);
}

TEST_F(Cycle, AnEmptyTopologyKeepsTheSnapshotSoThatARestartReportsTheSameDeletionsAgain) {
    initMonitor();
    listingIs(VOLUME_A);
    run();
    listingIs("");
    run();
    EXPECT_EQ(changes, volumeALines("deleted"));
    EXPECT_EQ(complaints, Lines());
    EXPECT_EQ(snapshot(), SNAPSHOT_A);
    run();
    EXPECT_EQ(changes, Lines()); // the previous list is empty now
    restart();
    run();
    EXPECT_EQ(changes, volumeALines("deleted"));
    EXPECT_EQ(snapshot(), SNAPSHOT_A);
}

// The alias in the current list runs on into the WWID; the one that was copied, or read, ends after 30 characters.
// That is no change.
TEST_F(Cycle, AVolumeWithoutAliasIsNoChangeFromCycleToCycleNorAfterARestart) {
    const std::string wwid = "36000d310000000000000000000000001";
    listingIs(wwid + " dm-1 KORVEL,QVX\nsize=1G\n`-+- policy='p' prio=1 status=active\n"
                     "  `- 1:0:0:1 xab 8:16 active ready running\n");
    initMonitor();
    run();
    EXPECT_EQ(changes.size(), 2U);
    EXPECT_EQ(snapshot(), wwid.substr(0, 31) + wwid + "," + wwid + ",8:16,xab,ready,active,running,\n");
    run();
    EXPECT_EQ(changes, Lines());
    restart();
    run();
    EXPECT_EQ(changes, Lines());
}

// ---- failures

TEST_F(Cycle, AFailedQueryLogsTwoLinesAndTheFirstGoodCycleReportsAllSinceTheLastGoodOne) {
    initMonitor();
    listingIs(VOLUME_A);
    run();
    for (const int outcome : {127, 126, NOT_STARTED, NO_MEMORY}) {
        SCOPED_TRACE(outcome);
        host.answer(QUERY_ALL, outcome > 0 ? VOLUME_B : "", outcome);
        run();
        Lines expected = queryFailed(NOT_EXECUTED);
        expected.insert(expected.begin(),
                        "ERROR queryDravikInfo # Execute command [velomux -ll 2> /dev/null] failed");
        EXPECT_EQ(complaints, expected);
        EXPECT_EQ(changes, Lines());
        EXPECT_EQ(snapshot(), SNAPSHOT_A);
    }
    listingIs(VOLUME_A_FAULTY + VOLUME_B);
    run();
    EXPECT_EQ(changes, (Lines{lunLine("created", "mpathb", "36b"), FAULTY,
                              pathLine("created", "mpathb", "36b", "xad", "active")}));
    EXPECT_EQ(snapshot(), SNAPSHOT_A_FAULTY + SNAPSHOT_B);
}

TEST_F(Cycle, AMalformedListingIsAFailedQuery) {
    initMonitor();
    listingIs(VOLUME_A);
    run();
    listingIs(VOLUME_A_FAULTY + "mpathb (36b) dm-2 KORVEL,QVX"); // half a listing
    run();
    Lines expected = queryFailed(NOT_PARSED);
    expected.insert(expected.begin(),
                    "ERROR parseQueryCmdResultList # Parse 7th line in 'velomux -ll' output failed.");
    EXPECT_EQ(complaints, expected);
    EXPECT_EQ(changes, Lines());
    EXPECT_EQ(snapshot(), SNAPSHOT_A);
    listingIs(VOLUME_A);
    run();
    EXPECT_EQ(changes, Lines());
}

TEST_F(Cycle, AVolumeWithoutPathsRepeatsUntilNoNodeIsLeftAndFailsTheCycle) {
    initMonitor();
    listingIs(VOLUME_A);
    run();
    listingIs(VOLUME_A_FAULTY + PATHLESS);
    log_started = false; // 262,144 lines of allocations
    run();
    log_started = true;
    unsigned int nodes = 0;
    for (const s_lunPath *record = firstLunpath(g_pLunPath); record != nullptr;
         record = nextLunpath(record)) {
        ++nodes;
    }
    EXPECT_EQ(nodes, MAX_LIST_NODES);
    run();
    EXPECT_EQ(complaints,
              (Lines{"ERROR getLunPath # Convert data from Struct s_dravik to s_lunPath failed. Error "
                     "message: " +
                         NO_ROOM,
                     "ERROR oneMonitor # Get lun and path information failed. Error message: " + NO_ROOM}));
    EXPECT_EQ(changes, Lines());
    EXPECT_EQ(snapshot(), SNAPSHOT_A);
    listingIs(VOLUME_A_FAULTY);
    run();
    EXPECT_EQ(changes, Lines{FAULTY});
    EXPECT_EQ(complaints, Lines{SNAPSHOT_WRITTEN});
}

TEST_F(Cycle, WithoutRoomForTheCopyNothingIsComparedAndTheNextCycleReportsEverything) {
    initMonitor();
    g_pOldLunPath->position = MAX_LIST_NODES - 1; // room for one more
    listingIs(VOLUME_A);
    run();
    EXPECT_EQ(changes, Lines());
    EXPECT_EQ(complaints,
              Lines{"ERROR oneMonitor # Copy lun and path information failed. Error message: " + NO_ROOM});
    EXPECT_EQ(lunListText(g_pOldLunPath), "");
    freeLunpath(g_pOldLunPath->next);
    g_pOldLunPath->next = nullptr;
    g_pOldLunPath->position = 0;
    run();
    EXPECT_EQ(changes, volumeALines("created"));
    EXPECT_EQ(complaints, Lines{SNAPSHOT_WRITTEN});
}

TEST_F(Cycle, EachErrorLineIsAlsoTracedToTheConsole) {
    initMonitor();
    host.answer(QUERY_ALL, "", 127);
    debug_started = true;
    testing::internal::CaptureStdout();
    oneMonitor();
    const std::string trace = testing::internal::GetCapturedStdout();
    debug_started = false;
    EXPECT_EQ(trace, "== before initPathDev(p->pdev)\n== after initPathDev(p->pdev)\n"
                     "Query Dravik infomation failed. Error message: " +
                         NOT_EXECUTED + "\n" +
                         "Get lun and path information failed. Error message: " + NOT_EXECUTED + "\n");
}

TEST_F(Cycle, TakingTheTopologyAnswersTheRecordOfWhatFailed) {
    initMonitor();
    listingIs(VOLUME_A);
    EXPECT_EQ(getLunPath(), &EC_ok);
    EXPECT_EQ(lunListText(g_pLunPath), "mpatha|36a|8:16|xab|ready|active|running\n"
                                       "mpatha|36a|8:32|xac|ready|enabled|running\n");
    host.answer(QUERY_ALL, "", 127);
    EXPECT_EQ(getLunPath(), &EC_exe_cmd_failed);
    EXPECT_EQ(lunListText(g_pLunPath), "");
    listingIs("a KORVEL,QVX");
    EXPECT_EQ(getLunPath(), &EC_parse_cmd_out);
}

// ---- the endless cycle

TEST_F(Cycle, TheEndlessCycleSleepsWhatEachCycleLeavesOfTenSeconds) {
    const std::vector<int> durations = {0, 9, 10, 12, 5, -5, 1};
    size_t cycle = 0;
    // The query takes its time, and the last one ends the test: an exception is the only way out.
    host.answer(QUERY_ALL, VOLUME_A, 0, [&]() {
        if (cycle == durations.size()) {
            throw std::runtime_error("enough");
        }
        time_passed += durations[cycle++];
    });
    initMonitor();
    debug_started = true;
    testing::internal::CaptureStdout();
    EXPECT_THROW(start(), std::runtime_error);
    const std::string trace = testing::internal::GetCapturedStdout();
    debug_started = false;
    const Lines pauses = {"sleep 10", "sleep 1", "sleep 1", "sleep 1", "sleep 5", "sleep 15", "sleep 9"};
    Lines expected;
    for (const std::string &pause : pauses) {
        expected.emplace_back(QUERY_ALL);
        expected.push_back(pause);
    }
    expected.emplace_back(QUERY_ALL);
    EXPECT_EQ(host.calls, expected);
    EXPECT_EQ(trace.rfind("Start velomux monitor...\nOne monitor...\n", 0), 0U);
    EXPECT_EQ(numberOfString(trace.c_str(), "Start velomux monitor...\n"), 1);
    EXPECT_EQ(numberOfString(trace.c_str(), "One monitor...\n"), 8);
}

// ---- the debugging routine

TEST_F(Cycle, TheDebuggingRoutinePrintsTheCurrentAndThePreviousList) {
    host.dumps.write("data.dravik", SNAPSHOT_B);
    initMonitor();
    listingIs(VOLUME_A);
    // It reads the file into the list behind the same head, which holds the same record already.
    initLunpath(g_pOldLunPath);
    host.dumps.forgetLogs();
    testing::internal::CaptureStdout();
    test();
    const std::string head = "================ s_lunPath ==================\n";
    const std::string foot = "================    end    ==================\n";
    EXPECT_EQ(
        testing::internal::GetCapturedStdout(),
        head +
            "lun_alias: mpatha, lun_wwid: 36a, path_dev_id: 8:16, path_dev_name: xab, path_status: ready, "
            "path_group_status: active, dravik_status: running\n"
            "lun_alias: mpatha, lun_wwid: 36a, path_dev_id: 8:32, path_dev_name: xac, path_status: ready, "
            "path_group_status: enabled, dravik_status: running\n" +
            foot + head +
            "lun_alias: mpathb, lun_wwid: 36b, path_dev_id: 8:48, path_dev_name: xad, path_status: ready, "
            "path_group_status: active, dravik_status: running\n" +
            foot);
    EXPECT_EQ(logged(), Lines());
    EXPECT_EQ(snapshot(), SNAPSHOT_B); // nothing is written
}

TEST_F(Cycle, TheDebuggingRoutineLogsAFailureAtTwoLevelsAndPrintsNothing) {
    initMonitor();
    host.answer(QUERY_ALL, "", 127);
    host.dumps.forgetLogs();
    testing::internal::CaptureStdout();
    test();
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "");
    const std::string message = "test # Get lun and path information failed. Error message: " + NOT_EXECUTED;
    EXPECT_EQ(logged(),
              (Lines{"ERROR queryDravikInfo # Execute command [velomux -ll 2> /dev/null] failed",
                     "ERROR getLunPath # Query Dravik infomation failed. Error message: " + NOT_EXECUTED,
                     "ERROR " + message, "LEVEL[1] " + message}));
}

TEST_F(Cycle, TheDebuggingRoutineTracesItsSteps) {
    host.dumps.write("data.dravik", "");
    initMonitor();
    debug_started = true;
    testing::internal::CaptureStdout();
    test();
    const std::string trace = testing::internal::GetCapturedStdout();
    debug_started = false;
    const size_t first = trace.find("== Start velomux monitor test...\n");
    const size_t second = trace.find("== Start writeLunPathToFile...\n== Start readLunPathToFile...\n");
    const size_t third = trace.find("== End readLunPathToFile\n================ s_lunPath");
    EXPECT_EQ(first, 0U);
    EXPECT_NE(second, std::string::npos);
    EXPECT_NE(third, std::string::npos);
    EXPECT_LT(second, third);
}
