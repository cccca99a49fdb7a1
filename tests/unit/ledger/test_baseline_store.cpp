// The table of baselines: what stands in it, and what accepting less makes of it.
#include "ledger/baseline_store.h"

#include <gtest/gtest.h>

#include "ledger/known_store.h"
#include "ledger/schema.h"
#include "tests/support/dumps_redirect.h"

using namespace dravik;

namespace {

using Lines = std::vector<std::string>;

KnownPath path(const std::string &name, int twin, Presence presence = Presence::PRESENT) {
    KnownPath made;
    made.key = {"i1", "p1", "7", twin};
    made.attributes.name = name;
    made.presence = presence;
    made.changed = true;
    return made;
}

// Two volumes, each with a baseline of two paths that was learned at 1000; of the first one path is missing, one is
// unseen and one is new.
class BaselineStore : public testing::Test {
  protected:
    BaselineStore() : database("/dumps/test.db", SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE, 0) {
        migrate(&database);
        KnownTopology made(2);
        made[0].wwid = "36a";
        made[1].wwid = "36b";
        for (KnownVolume &volume : made) {
            volume.paths = {path("sdb", 0, Presence::MISSING), path("sdc", 1, Presence::UNSEEN)};
            volume.baseline = {{volume.paths[0].key, "sdb"}, {volume.paths[1].key, "sdc"}};
            volume.changed = volume.baseline_changed = true;
        }
        made[0].paths.push_back(path("sdd", 2));
        saveKnown(&database, &made, 1000);
        known = loadKnown(&database);
    }
    // "sdb i1 p1 7 0 1000 learned", by the place of the volume.
    Lines baseline(size_t place) {
        Lines lines;
        auto baselines = loadBaselines(&database);
        for (const AcceptedPath &each : baselines[known[place].id]) {
            const PathKey &key = each.path.key;
            lines.push_back(each.path.name + " " + key.initiator + " " + key.target_port + " " + key.lun +
                            " " + std::to_string(key.twin) + " " + std::to_string(each.accepted) + " " +
                            each.accepted_by);
        }
        return lines;
    }
    Lines paths(size_t place) {
        Lines names;
        const KnownTopology today = loadKnown(&database);
        for (const KnownPath &each : today.at(place).paths) {
            names.push_back(each.attributes.name);
        }
        return names;
    }

    DumpsFolder dumps;
    Database database;
    KnownTopology known;
};

const Lines LEARNED = {"sdb i1 p1 7 0 1000 learned", "sdc i1 p1 7 1 1000 learned"};

} // namespace

TEST_F(BaselineStore, LoadsThePathsOfEachVolumeWithWhenAndByWhomTheyWereTakenIn) {
    EXPECT_EQ(loadBaselines(&database).size(), 2U);
    EXPECT_EQ(baseline(0), LEARNED);
    EXPECT_EQ(baseline(1), LEARNED);
}

TEST_F(BaselineStore, AnAcceptedOneIsThePathsOfTodayAndThoseThatAreMissingAreForgotten) {
    acceptBaseline(&database, known[0], "alice", 2000);
    EXPECT_EQ(baseline(0), (Lines{"sdc i1 p1 7 1 2000 alice", "sdd i1 p1 7 2 2000 alice"}));
    EXPECT_EQ(paths(0), (Lines{"sdc", "sdd"}));
}

TEST_F(BaselineStore, APathThatWasForgottenAndComesBackGoesOnCountingItsTransitions) {
    const auto transitions = [&] {
        return database.number("SELECT transitions FROM paths WHERE name = 'sdb' AND volume = 1");
    };
    const auto come_back = [&] {
        KnownTopology today = loadKnown(&database);
        today[0].paths.push_back(path("sdb", 0));
        saveKnown(&database, &today, 3000);
    };
    database.run("UPDATE paths SET transitions = 3 WHERE name = 'sdb' AND volume = 1");
    acceptBaseline(&database, known[0], "alice", 2000);
    come_back();
    EXPECT_EQ(transitions(), 3);
    database.run("UPDATE paths SET transitions = 5, presence = 'missing' WHERE name = 'sdb' AND volume = 1");
    acceptBaseline(&database, loadKnown(&database)[0], "alice", 4000);
    come_back();
    EXPECT_EQ(transitions(), 5);
    // The path of another volume between the same ports is another one.
    KnownTopology other = loadKnown(&database);
    EXPECT_EQ(other[1].paths[0].transitions, 0);
}

TEST_F(BaselineStore, OtherVolumesKeepTheirs) {
    acceptBaseline(&database, known[0], "alice", 2000);
    EXPECT_EQ(baseline(1), LEARNED);
    EXPECT_EQ(paths(1), (Lines{"sdb", "sdc"}));
}

TEST_F(BaselineStore, TheTransactionIsTheCallers) {
    {
        const Transaction undone(&database);
        acceptBaseline(&database, known[0], "alice", 2000);
    }
    EXPECT_EQ(baseline(0), LEARNED);
    EXPECT_EQ(paths(0), (Lines{"sdb", "sdc", "sdd"}));
}

TEST_F(BaselineStore, ATextOfAForeignHandStaysAText) {
    acceptBaseline(&database, known[0], "a'); DROP TABLE baseline; --", 2000);
    EXPECT_EQ(baseline(0), (Lines{"sdc i1 p1 7 1 2000 a'); DROP TABLE baseline; --",
                                  "sdd i1 p1 7 2 2000 a'); DROP TABLE baseline; --"}));
}

TEST_F(BaselineStore, BothThrowWhatTheDatabaseSays) {
    database.run("DROP TABLE baseline");
    EXPECT_THROW(loadBaselines(&database), SqliteError);
    EXPECT_THROW(acceptBaseline(&database, known[0], "alice", 2000), SqliteError);
}
