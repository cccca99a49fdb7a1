// One observation after the other, as the monitor hands them over: what each writes, and what it does on bad days.
#include "ledger/keeper.h"

#include <cerrno>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "ledger/event_store.h"
#include "ledger/known_store.h"
#include "tests/support/dumps_redirect.h"
#include "tests/support/kernel_folder.h"
#include "tests/support/ledger_maker.h"
#include "tests/support/topology_list.h"

using namespace dravik;

namespace {

using Devices = std::vector<DeviceFields>;
using Lines = std::vector<std::string>;

PathFields listed(const std::string &name, const std::string &address, const std::string &port,
                  bool works = true) {
    PathFields path;
    path.name = name;
    path.address = address;
    path.target_port = port;
    path.dm_state = works ? "active" : "failed";
    path.checker_state = works ? "ready" : "faulty";
    return path;
}

Devices host(bool sdb_works = true) {
    return {{"36a",
             "a",
             "3",
             "10G",
             {listed("sdb", "1:0:0:1", "p1", sdb_works), listed("sdc", "2:0:0:1", "p2")}}};
}

class Keeper : public testing::Test {
  protected:
    Keeper() {
        kernel.bootId("boot-1");
        kernel.map("dm-3", "a", 20971520);
        kernel.device("dm-3", "sdb");
        kernel.device("dm-3", "sdc");
        see(host());
        dumps.forgetLogs(); // the lists note their nodes
    }
    // The events that the observation has told.
    Lines see(const Devices &devices, const ToolOutcome &outcome = {}) {
        topology.fill(devices);
        keeper->observe(outcome, topology.head());
        return eventTexts(keeper->lastEvents());
    }
    Lines fail(const std::string &why) {
        ToolOutcome outcome;
        outcome.failure = why;
        keeper->observe(outcome, nullptr);
        return eventTexts(keeper->lastEvents());
    }
    void restart() {
        keeper = std::make_unique<LedgerKeeper>();
    }
    static std::unique_ptr<Database> ledger(LedgerUse use = LedgerUse::OPERATE) {
        LedgerOpening opening = openLedger(use);
        EXPECT_EQ(opening.status, LedgerStatus::OPEN) << opening.problem;
        return std::move(opening.database);
    }
    static Lines stored() {
        return eventTexts(loadEvents(ledger().get(), {}));
    }
    static Observation last() {
        return loadObservation(ledger().get());
    }

    DumpsFolder dumps;
    KernelFolder kernel;
    TopologyList topology;
    std::unique_ptr<LedgerKeeper> keeper = std::make_unique<LedgerKeeper>();
};

const Lines SDB_FAILED = {"path_checker_state a/sdb ready->faulty 1/2 fault",
                          "path_dm_state a/sdb active->failed 1/2 fault",
                          "volume_state a ok->last_path 1/2 fault"};

} // namespace

TEST_F(Keeper, TheFirstObservationTellsThatTheMonitorHasStartedAndWhatItFound) {
    EXPECT_EQ(stored(), (Lines{"monitor_started 0/0 ", "volume_appeared a 2/2 fault"}));
    EXPECT_EQ(last().quality, Quality::GOOD);
    EXPECT_EQ(last().reason, "");
    EXPECT_EQ(last().volumes, 1);
    EXPECT_EQ(last().paths, 2);
    EXPECT_EQ(last().boot_id, "boot-1");
    EXPECT_EQ(last().seen, last().time);
    EXPECT_EQ(loadKnown(ledger().get())[0].attributes.size_bytes, 20971520LL * 512);
}

TEST_F(Keeper, AnUnchangedOneWritesTheObservationAlone) {
    ToolOutcome outcome;
    outcome.tool_ms = 12;
    outcome.duration_ms = 31;
    EXPECT_EQ(see(host(), outcome), Lines());
    EXPECT_EQ(dumps.commandLogLines(), Lines());
    EXPECT_EQ(last().tool_ms, 12);
    EXPECT_EQ(last().duration_ms, 31);
    EXPECT_EQ(last().paths, 2);
    EXPECT_EQ(ledger()->number("SELECT count FROM observation_count WHERE quality = 'good'"), 2);
}

TEST_F(Keeper, AChangeIsToldOnceAcrossARestartOfTheMonitor) {
    EXPECT_EQ(see(host(false)), SDB_FAILED);
    EXPECT_EQ(see(host(false)), Lines());
    restart();
    EXPECT_EQ(see(host(false)), Lines{"monitor_started 0/0 "});
    restart();
    EXPECT_EQ(see(host()).size(), 4U);
}

TEST_F(Keeper, WhatIsUnseenAfterAPauseOfTheMonitorIsDatedByTheObservationBeforeThePause) {
    ledger()->run("UPDATE observation SET time = time - 3600000, seen = seen - 3600000");
    const Milliseconds seen = last().seen;
    restart();
    EXPECT_EQ(see({}), (Lines{"monitor_started 0/0 ", "observation_quality good->doubtful 0/0 ",
                              "volume_unseen a 2/2 fault", "volume_state a ok->unknown 2/2 fault"}));
    EXPECT_EQ(loadKnown(ledger().get())[0].unseen_since, seen);
}

TEST_F(Keeper, WhatIsUnseenAfterFailedObservationsIsDatedByTheOneBeforeThem) {
    ledger()->run("UPDATE observation SET time = time - 3600000, seen = seen - 3600000");
    const Milliseconds seen = last().seen;
    restart();
    fail("memory ran out");
    Devices without_sdc = host();
    without_sdc[0].paths.pop_back();
    EXPECT_EQ(see(without_sdc),
              (Lines{"observation_quality failed->doubtful 0/0 ", "path_unseen a/sdc 2/2 fault",
                     "volume_state a ok->unknown 2/2 fault"}));
    EXPECT_EQ(loadKnown(ledger().get())[0].paths[1].unseen_since, seen);
}

TEST_F(Keeper, AFailedObservationTakesNothingForGone) {
    const Milliseconds seen = last().seen;
    EXPECT_EQ(fail("memory ran out"), Lines{"observation_quality good->failed 0/0 "});
    EXPECT_EQ(fail("memory ran out"), Lines());
    EXPECT_EQ(last().quality, Quality::FAILED);
    EXPECT_EQ(last().reason, "memory ran out");
    EXPECT_EQ(last().seen, seen);
    EXPECT_EQ(last().paths, 2);
    EXPECT_EQ(see(host()), Lines{"observation_quality failed->good 0/0 "});
}

TEST_F(Keeper, TheReasonNamesWhatIsMissingAndHowTheToolEnded) {
    ToolOutcome outcome;
    outcome.exit_status = 3;
    EXPECT_EQ(see({}, outcome),
              (Lines{"observation_quality good->doubtful 0/0 ", "volume_unseen a 2/2 fault"}));
    EXPECT_EQ(last().reason,
              "not listed, though the kernel has it: a; the multipath tool exited with status 3");
    see(host(), outcome);
    EXPECT_EQ(last().quality, Quality::GOOD);
    EXPECT_EQ(last().reason, "the multipath tool exited with status 3");
    outcome.exit_status = 0;
    outcome.signal_number = 11;
    see(host(), outcome);
    EXPECT_EQ(last().reason, "the multipath tool was ended by signal 11");
    kernel.remove("/sys/block");
    see({}, outcome);
    EXPECT_EQ(last().reason,
              "not listed, and the kernel cannot be asked: a; the multipath tool was ended by signal 11");
}

TEST_F(Keeper, WhatIsUnseenIsSettledThoughTheListingStaysTheSame) {
    see({});
    kernel.remove("/sys/block/dm-3");
    EXPECT_EQ(see({}), (Lines{"observation_quality doubtful->good 0/0 ", "volume_gone a ok-> 0/2 fault"}));
}

TEST_F(Keeper, AnOperationSinceTheLastObservationIsTheCause) {
    const std::unique_ptr<Database> commands = ledger();
    Operation operation;
    operation.begun = operation.ended = last().time + 1;
    operation.user = "alice";
    operation.command = "setstate";
    operation.line = "dravik setstate";
    operation.volume = "a";
    operation.path = "sdb";
    operation.detail = "offline";
    beginOperation(commands.get(), &operation);
    endOperation(commands.get(), operation, "boot-1", "36a");
    EXPECT_EQ(see(host(false)),
              (Lines{"path_checker_state a/sdb ready->faulty 1/2 operator alice dravik setstate",
                     "path_dm_state a/sdb active->failed 1/2 operator alice dravik setstate",
                     "volume_state a ok->last_path 1/2 operator alice dravik setstate"}));
    EXPECT_EQ(loadKnown(commands.get())[0].paths[0].offline_by, "alice");
}

TEST_F(Keeper, AnOperationThatRanWhileTheLastObservationWasMadeMayNotHaveBeenInItsListing) {
    ToolOutcome slow;
    slow.duration_ms = 12000;
    slow.age_ms = 12100;
    see(host(), slow);
    const std::unique_ptr<Database> commands = ledger();
    Operation operation;
    operation.begun = operation.ended = last().time - 12050;
    operation.user = "alice";
    operation.command = "refresh";
    operation.line = "dravik refresh";
    beginOperation(commands.get(), &operation);
    endOperation(commands.get(), operation, "boot-1", "");
    EXPECT_EQ(see(host(false)).back(), "volume_state a ok->last_path 1/2 operator alice dravik refresh");
}

TEST_F(Keeper, WhatChangedWithTheBootIdIsTheRestartsAndSoIsTheStart) {
    restart();
    kernel.bootId("boot-2");
    EXPECT_EQ(see(host(false)), (Lines{"monitor_started 0/0 host_restart",
                                       "path_checker_state a/sdb ready->faulty 1/2 host_restart",
                                       "path_dm_state a/sdb active->failed 1/2 host_restart",
                                       "volume_state a ok->last_path 1/2 host_restart"}));
    EXPECT_EQ(see(host()).back(), "volume_state a last_path->ok 2/2 fault");
}

TEST_F(Keeper, AFailedObservationBehindARestartLeavesTheRestartToTheNext) {
    restart();
    kernel.bootId("boot-2");
    fail("the multipath tool cannot be run");
    EXPECT_EQ(see(host(false)).back(), "volume_state a ok->last_path 1/2 host_restart");
}

// ---- bad days

TEST_F(Keeper, ALockedLedgerCostsALineAMinuteAndTheChangesComeLater) {
    const std::unique_ptr<Database> other = ledger();
    {
        const Transaction lock(other.get());
        EXPECT_EQ(see(host(false)), Lines());
        EXPECT_EQ(see(host(false)), Lines());
        EXPECT_EQ(dumps.commandLogLines(), Lines{"ERROR observe # Ledger: database is locked."});
    }
    EXPECT_EQ(see(host(false)), SDB_FAILED);
    EXPECT_EQ(dumps.commandLogLines(), Lines{"ERROR observe # Ledger: database is locked."});
}

TEST_F(Keeper, AStartThatCouldNotBeWrittenIsToldLater) {
    const std::unique_ptr<Database> other = ledger();
    restart();
    {
        const Transaction lock(other.get());
        EXPECT_EQ(see(host()), Lines());
    }
    EXPECT_EQ(see(host()), Lines{"monitor_started 0/0 "});
}

TEST_F(Keeper, ALedgerThatWasRemovedIsBegunAnew) {
    for (const char *name : {"dravik.db", "dravik.db-wal", "dravik.db-shm"}) {
        remove(dumps.path(name).c_str());
    }
    EXPECT_EQ(see(host()), Lines{"volume_appeared a 2/2 fault"});
    EXPECT_EQ(stored(), Lines{"volume_appeared a 2/2 fault"});
}

TEST_F(Keeper, ADamagedLedgerIsPutAsideAndTheNextObservationBeginsANewOne) {
    restart();
    ledger()->run("PRAGMA wal_checkpoint(TRUNCATE)");
    std::string bytes = dumps.read("dravik.db");
    for (size_t i = 4096; i < bytes.size(); ++i) {
        bytes[i] = '\xff';
    }
    dumps.write("dravik.db", bytes);
    see(host());
    see(host());
    EXPECT_EQ(last().quality, Quality::GOOD);
    const Lines said = dumps.commandLogMessages();
    ASSERT_EQ(said.size(), 1U);
    EXPECT_EQ(said[0].substr(0, said[0].find("put aside")),
              "ERROR Ledger /dumps/dravik.db is damaged (database disk image is malformed): ");
}

TEST_F(Keeper, WhileThereIsNoLedgerNothingIsLostButTheLines) {
    restart();
    dumps.makePlainFile();
    EXPECT_EQ(see(host()), Lines());
    dumps.makeEmpty();
    EXPECT_EQ(see(host()), (Lines{"monitor_started 0/0 ", "volume_appeared a 2/2 fault"}));
}

TEST_F(Keeper, OthersMayUseTheLedgerWhileItIsOpen) {
    int64_t events = 0;
    const auto count = [&events](Database *database) {
        events = database->number("SELECT count(*) FROM events");
    };
    keeper->use(count);
    EXPECT_EQ(events, 2);
    restart();
    events = 0;
    keeper->use(count);
    EXPECT_EQ(events, 0);
}

TEST_F(Keeper, WhatOthersFailInWithTheLedgerIsLoggedAndItIsOpenedAnew) {
    keeper->use([](Database *database) { database->run("SELECT 1 FROM absent"); });
    EXPECT_EQ(dumps.commandLogMessages(), Lines{"ERROR Ledger: no such table: absent."});
    EXPECT_FALSE(keeper->lastObservation());
    EXPECT_EQ(see(host(false)), SDB_FAILED);
    ASSERT_TRUE(keeper->lastObservation());
    EXPECT_EQ(keeper->lastObservation()->volumes, 1);
}

TEST_F(Keeper, ForgetsTheEventsOfTheLastObservationWhenItIsTold) {
    EXPECT_EQ(see(host(false)), SDB_FAILED);
    keeper->forgetEvents();
    EXPECT_EQ(keeper->lastEvents().size(), 0U);
    EXPECT_EQ(keeper->lastEvents().capacity(), 0U);
}
