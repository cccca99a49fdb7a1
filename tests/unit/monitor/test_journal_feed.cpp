// The ledger's events on their way into the journal.
#include "monitor/journal_feed.h"

#include <memory>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "ledger/event_kinds.h"
#include "ledger/event_store.h"
#include "ledger/journal_mark.h"
#include "ledger/schema.h"
#include "tests/support/dumps_redirect.h"

using namespace dravik;

namespace {

// The journal of the tests: what it was told, "PRIORITY MESSAGE", and how many entries it still takes.
std::vector<std::string> told;
std::vector<std::string> fields; // of the last entry
size_t places = 0;

Delivery takeEntry(const JournalEntry &entry) {
    if (places == 0) {
        return Delivery::LATER;
    }
    --places;
    told.push_back(std::to_string(entry.priority) + " " + entry.message);
    fields = entry.fields;
    return Delivery::DONE;
}

using Told = std::vector<std::string>;

class JournalFeedTest : public testing::Test {
  protected:
    JournalFeedTest() {
        open("/dumps/test.db");
        told.clear();
        places = 10000;
    }
    void open(const char *name) {
        database = std::make_unique<Database>(name, SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE, 0);
        migrate(database.get());
    }
    // One observation in which these volumes are gone, each of them twice.
    void lose(const std::vector<std::string> &aliases) {
        std::vector<Event> events;
        for (int pass = 0; pass < 2; ++pass) {
            for (const std::string &alias : aliases) {
                Event event;
                event.kind = pass == 0 ? VOLUME_UNSEEN : VOLUME_GONE;
                event.wwid = "36" + alias;
                event.alias = alias;
                event.cause = "fault";
                events.push_back(event);
            }
        }
        Transaction transaction(database.get());
        saveEvents(database.get(), &events);
        transaction.commit();
    }
    // What one call tells.
    Told tell() {
        told.clear();
        feed->tell(database.get());
        return told;
    }
    // The monitor starts anew.
    void restart() {
        feed = std::make_unique<JournalFeed>(takeEntry);
    }
    DumpsFolder dumps;
    std::unique_ptr<Database> database;
    std::unique_ptr<JournalFeed> feed = std::make_unique<JournalFeed>(takeEntry);
};

TEST_F(JournalFeedTest, EachIncidentIsOneEntryInTheirOrderToldOnce) {
    EXPECT_FALSE(feed->tell(database.get()));
    lose({"a", "b"});
    const Told first = tell();
    EXPECT_EQ(first.size(), 2U);
    EXPECT_EQ(first.front().substr(0, 4), "2 a:");
    EXPECT_EQ(first.back().substr(0, 4), "2 b:");
    EXPECT_EQ(fields.back(), "DRAVIK_EVENTS=2");
    EXPECT_EQ(tell(), Told{});
    restart();
    EXPECT_EQ(tell(), Told{});
    lose({"c"});
    EXPECT_EQ(tell().size(), 1U);
}

TEST_F(JournalFeedTest, ACommandsOperationIsToldToo) {
    Operation operation;
    operation.user = "alice";
    operation.line = "dravik refresh";
    beginOperation(database.get(), &operation);
    EXPECT_EQ(tell(), Told{});
    endOperation(database.get(), operation, "boot", "");
    EXPECT_EQ(tell(), Told{"6 alice ran dravik refresh"});
}

TEST_F(JournalFeedTest, WhatTheJournalCannotTakeNowIsToldLaterAndNothingTwice) {
    lose({"a", "b", "c"});
    places = 2;
    EXPECT_EQ(tell().size(), 2U);
    EXPECT_TRUE(hasUntold(database.get()));
    EXPECT_EQ(tell(), Told{});
    places = 1;
    lose({"d"});
    Told rest = tell();
    EXPECT_EQ(rest.size(), 1U);
    EXPECT_EQ(rest.front().substr(0, 4), "2 c:");
    places = 5;
    rest = tell();
    EXPECT_EQ(rest.size(), 1U);
    EXPECT_EQ(rest.front().substr(0, 4), "2 d:");
    EXPECT_FALSE(hasUntold(database.get()));
}

TEST_F(JournalFeedTest, AMonitorKilledBeforeTheMarkTellsThatBatchOnceMore) {
    lose({"a", "b"});
    places = 1;
    tell();
    restart();
    places = 9;
    EXPECT_EQ(tell().size(), 2U);
    restart();
    EXPECT_EQ(tell(), Told{});
}

TEST_F(JournalFeedTest, ALedgerThatHasTakenTheOldOnesPlaceIsToldWhole) {
    lose({"a", "b"});
    tell();
    open("/dumps/other.db");
    lose({"c", "d", "e"});
    EXPECT_EQ(tell().size(), 3U);
    EXPECT_EQ(tell(), Told{});
}

TEST_F(JournalFeedTest, AnotherLedgerHasIncidentsOfItsOwn) {
    lose({"a", "b", "c"});
    places = 2;
    tell();
    open("/dumps/other.db");
    lose({"d"});
    places = 9;
    const Told other = tell();
    ASSERT_EQ(other.size(), 1U);
    EXPECT_EQ(other.front().substr(0, 4), "2 d:");
}

TEST_F(JournalFeedTest, OfALongBacklogTheOldestAreLeftOutAndCounted) {
    std::vector<std::string> aliases;
    for (int i = 1; i <= 1003; ++i) {
        aliases.push_back("v" + std::to_string(i));
    }
    lose(aliases);
    places = 0;
    EXPECT_EQ(tell(), Told{});
    places = 2000;
    Told rest = tell();
    ASSERT_EQ(rest.size(), 1001U);
    EXPECT_EQ(rest[0], "4 3 older incidents are left out here, too many at once: see dravik events");
    EXPECT_EQ(rest[1].substr(0, 5), "2 v4:");
    EXPECT_EQ(rest[1000].substr(0, 8), "2 v1003:");
    EXPECT_EQ(tell(), Told{});
}

TEST_F(JournalFeedTest, WhatHasBeenLeftOutIsSaidOnce) {
    std::vector<std::string> aliases;
    for (int i = 1; i <= 1003; ++i) {
        aliases.push_back("v" + std::to_string(i));
    }
    lose(aliases);
    places = 1;
    EXPECT_EQ(tell().size(), 1U);
    places = 2000;
    const Told rest = tell();
    EXPECT_EQ(rest.size(), 1000U);
    EXPECT_EQ(rest.front().substr(0, 5), "2 v4:");
}

TEST_F(JournalFeedTest, TheArraysNameOfTheVolumeIsThatOfTheCache) {
    dumps.write("storage_config.json", R"({"disk":[{"wwid":"36a","vdisk_name":"vol_a"}]})");
    lose({"a"});
    tell();
    EXPECT_EQ(fields[9], "DRAVIK_VDISK_NAME=vol_a");
}

} // namespace
