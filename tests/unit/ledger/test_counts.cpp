// What the ledger has counted, and that nothing takes it back.
#include "ledger/counts.h"

#include <iterator>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "ledger/event_kinds.h"
#include "ledger/event_store.h"
#include "ledger/known_store.h"
#include "ledger/schema.h"
#include "tests/support/dumps_redirect.h"
#include "tests/support/ledger_maker.h"

using namespace dravik;

namespace {

class Counts : public testing::Test {
  protected:
    Counts() : database("/dumps/test.db", SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE, 0) {
        migrate(&database);
    }
    void observe(Quality quality) {
        Observation observation;
        observation.quality = quality;
        saveObservation(&database, observation, false);
    }
    void happen(const std::string &kind, size_t count) {
        Event event;
        event.kind = kind;
        std::vector<Event> events(count, event);
        saveEvents(&database, &events);
    }
    void run(const std::string &command, int code) {
        Operation done = operation(command);
        beginOperation(&database, &done);
        done.code = code;
        endOperation(&database, done, "boot-1", "");
    }
    // "scan 0 2" for two that ended with 0.
    std::vector<std::string> operations() {
        std::vector<std::string> all;
        for (const OperationCount &is : loadCounts(&database).operations) {
            all.push_back(is.command + " " + std::to_string(is.code) + " " + std::to_string(is.count));
        }
        return all;
    }

    DumpsFolder dumps;
    Database database;
};

using Lines = std::vector<std::string>;

} // namespace

TEST_F(Counts, AnEmptyLedgerHasCountedNothing) {
    const LedgerCounts counts = loadCounts(&database);
    for (const Quality quality : {Quality::GOOD, Quality::DOUBTFUL, Quality::FAILED, Quality::NEVER}) {
        EXPECT_EQ(counts.observationsOf(quality), 0);
    }
    EXPECT_EQ(counts.eventsOf(VOLUME_GONE), 0);
    EXPECT_TRUE(counts.operations.empty());
}

TEST_F(Counts, ObservationsAreCountedByTheirQuality) {
    for (const Quality quality :
         {Quality::GOOD, Quality::FAILED, Quality::GOOD, Quality::DOUBTFUL, Quality::GOOD}) {
        observe(quality);
    }
    const LedgerCounts counts = loadCounts(&database);
    EXPECT_EQ(counts.observationsOf(Quality::GOOD), 3);
    EXPECT_EQ(counts.observationsOf(Quality::DOUBTFUL), 1);
    EXPECT_EQ(counts.observationsOf(Quality::FAILED), 1);
    EXPECT_EQ(counts.observationsOf(Quality::NEVER), 0);
}

TEST_F(Counts, EventsAreCountedByTheirKindAlsoThoseThatAreGone) {
    happen(PATH_GONE, 3);
    happen(VOLUME_STATE, 2);
    happen(PATH_GONE, 1);
    trimEvents(&database, 1);
    ASSERT_EQ(database.number("SELECT count(*) FROM events"), 1);
    EXPECT_EQ(loadCounts(&database).eventsOf(PATH_GONE), 4);
    EXPECT_EQ(loadCounts(&database).eventsOf(VOLUME_STATE), 2);
    EXPECT_EQ(loadCounts(&database).eventsOf(PATH_STEADY), 0);
}

TEST_F(Counts, OperationsAreCountedByCommandAndCodeOnceTheyHaveEndedAlsoThoseThatAreGone) {
    Operation running = operation("restart");
    beginOperation(&database, &running);
    EXPECT_EQ(operations(), Lines{});
    run("scan", 0);
    run("delete", 133);
    run("scan", 0);
    run("delete", 0);
    trimOperations(&database, 1);
    ASSERT_EQ(database.number("SELECT count(*) FROM operations"), 1);
    EXPECT_EQ(operations(), (Lines{"delete 0 1", "delete 133 1", "scan 0 2"}));
}
