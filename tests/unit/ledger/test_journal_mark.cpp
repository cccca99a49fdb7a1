// How far the journal has been told.
#include "ledger/journal_mark.h"

#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "ledger/event_store.h"
#include "ledger/schema.h"
#include "tests/support/dumps_redirect.h"

using namespace dravik;

namespace {

class JournalMark : public testing::Test {
  protected:
    JournalMark() : database("/dumps/test.db", SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE, 0) {
        migrate(&database);
    }
    // One observation's events, each of one volume.
    void save(const std::vector<std::string> &wwids) {
        std::vector<Event> events;
        for (const std::string &wwid : wwids) {
            Event event;
            event.kind = "k";
            event.wwid = wwid;
            events.push_back(event);
        }
        saveEvents(&database, &events);
    }
    DumpsFolder dumps;
    Database database;
};

using Incidents = std::vector<int64_t>;

TEST_F(JournalMark, ANewLedgerHasNothingToTell) {
    EXPECT_FALSE(hasUntold(&database));
    const Untold untold = loadUntold(&database);
    EXPECT_EQ(untold.incidents, Incidents{});
    EXPECT_EQ(untold.newest, 0);
}

TEST_F(JournalMark, IncidentsAreToldInTheirOrderOnceEach) {
    save({"a", "b", "a", "c", "b"});
    save({"a"});
    EXPECT_TRUE(hasUntold(&database));
    const Untold untold = loadUntold(&database);
    EXPECT_EQ(untold.incidents, (Incidents{1, 2, 3, 4}));
    EXPECT_EQ(untold.newest, 6);
}

TEST_F(JournalMark, WhatIsMarkedIsNotToldAgain) {
    save({"a", "b"});
    markTold(&database, 2);
    EXPECT_FALSE(hasUntold(&database));
    EXPECT_EQ(loadUntold(&database).incidents, Incidents{});
    save({"c"});
    EXPECT_TRUE(hasUntold(&database));
    EXPECT_EQ(loadUntold(&database).incidents, Incidents{3});
}

TEST_F(JournalMark, EventsThatAreGoneLeaveNothingToTell) {
    save({"a", "b"});
    database.run("DELETE FROM events");
    EXPECT_FALSE(hasUntold(&database));
}

} // namespace
