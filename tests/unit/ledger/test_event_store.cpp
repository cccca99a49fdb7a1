// Events and operations: numbers, incidents, counts, filters, the oldest that go.
#include "ledger/event_store.h"

#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "ledger/schema.h"
#include "tests/support/dumps_redirect.h"

using namespace dravik;

namespace {

using Numbers = std::vector<int64_t>;

class EventStore : public testing::Test {
  protected:
    EventStore() : database("/dumps/test.db", SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE, 0) {
        migrate(&database);
    }
    std::vector<Event> save(std::vector<Event> events) {
        saveEvents(&database, &events);
        return events;
    }
    // So many events of one observation, of one volume.
    void saveMany(int count) {
        Event event;
        event.kind = "k";
        event.wwid = "36a";
        save(std::vector<Event>(static_cast<size_t>(count), event));
    }
    Numbers found(const EventFilter &filter) {
        Numbers numbers;
        for (const Event &event : loadEvents(&database, filter)) {
            numbers.push_back(event.number);
        }
        return numbers;
    }
    DumpsFolder dumps;
    Database database;
};

Event anyEvent() {
    Event event;
    event.time = 1700000000123;
    event.boot_id = "boot";
    event.quality = Quality::DOUBTFUL;
    event.kind = "path_checker_state";
    event.wwid = "36a";
    event.alias = "it's";
    event.has_path = true;
    event.path_name = "sdb";
    event.path_address = "1:0:0:1";
    event.initiator = "i";
    event.target_port = "p";
    event.from = "ready";
    event.to = "faulty";
    event.paths_working = 3;
    event.paths_known = 4;
    event.cause = "operator";
    event.user = "alice";
    event.command = "dravik setstate";
    return event;
}

Event eventOf(const std::string &wwid, const std::string &path, Milliseconds time = 1) {
    Event event;
    event.kind = "k";
    event.time = time;
    event.wwid = wwid;
    event.has_path = !path.empty();
    event.path_name = path;
    event.path_address = path.empty() ? "" : "1:0:0:" + path;
    return event;
}

} // namespace

TEST_F(EventStore, EveryFieldIsWrittenAndReadBack) {
    save({anyEvent()});
    const std::vector<Event> read = loadEvents(&database, {});
    ASSERT_EQ(read.size(), 1U);
    EXPECT_EQ(read[0].number, 1);
    EXPECT_EQ(read[0].incident, 1);
    EXPECT_EQ(read[0].time, 1700000000123);
    EXPECT_EQ(read[0].boot_id, "boot");
    EXPECT_EQ(read[0].quality, Quality::DOUBTFUL);
    EXPECT_EQ(read[0].kind, "path_checker_state");
    EXPECT_EQ(read[0].wwid, "36a");
    EXPECT_EQ(read[0].alias, "it's");
    EXPECT_TRUE(read[0].has_path);
    EXPECT_EQ(read[0].path_name, "sdb");
    EXPECT_EQ(read[0].path_address, "1:0:0:1");
    EXPECT_EQ(read[0].initiator, "i");
    EXPECT_EQ(read[0].target_port, "p");
    EXPECT_EQ(read[0].from, "ready");
    EXPECT_EQ(read[0].to, "faulty");
    EXPECT_EQ(read[0].paths_working, 3);
    EXPECT_EQ(read[0].paths_known, 4);
    EXPECT_EQ(read[0].cause, "operator");
    EXPECT_EQ(read[0].user, "alice");
    EXPECT_EQ(read[0].command, "dravik setstate");
}

TEST_F(EventStore, NumbersGoOnAndSoDoIncidents) {
    const std::vector<Event> first =
        save({eventOf("36a", "sdb"), eventOf("36a", "sdc"), eventOf("36b", "sdd")});
    const std::vector<Event> second = save({eventOf("36a", "sdb")});
    EXPECT_EQ(first[0].number, 1);
    EXPECT_EQ(first[2].number, 3);
    EXPECT_EQ(second[0].number, 4);
    EXPECT_EQ(first[0].incident, 1);
    EXPECT_EQ(first[1].incident, 1);
    EXPECT_EQ(first[2].incident, 2);
    EXPECT_EQ(second[0].incident, 3); // another observation, another incident
    EXPECT_EQ(save({}).size(), 0U);
}

TEST_F(EventStore, EachFilterLetsThroughWhatItNames) {
    save({eventOf("36a", "sdb", 10), eventOf("36a", "sdc", 10), eventOf("36b", "sdd", 10)});
    save({eventOf("36a", "", 20)});
    EXPECT_EQ(found({}), (Numbers{1, 2, 3, 4}));
    EventFilter since;
    since.since = 11;
    EXPECT_EQ(found(since), (Numbers{4}));
    since.since = 10;
    EXPECT_EQ(found(since), (Numbers{1, 2, 3, 4}));
    EventFilter after;
    after.after_number = 2;
    EXPECT_EQ(found(after), (Numbers{3, 4}));
    EventFilter incident;
    incident.incident = 1;
    EXPECT_EQ(found(incident), (Numbers{1, 2}));
    EventFilter volume;
    volume.wwid = "36b";
    EXPECT_EQ(found(volume), (Numbers{3}));
    EventFilter path;
    path.path_names = {"sdc", "1:0:0:sdd"};
    EXPECT_EQ(found(path), (Numbers{2, 3}));
    path.wwid = "36a";
    EXPECT_EQ(found(path), (Numbers{2}));
    path.path_names = {"nowhere"};
    EXPECT_EQ(found(path), Numbers());
}

TEST_F(EventStore, TheOldestGoInSmallStepsAndTheCountsStay) {
    saveMany(5000);
    trimEvents(&database, 5000);
    EXPECT_EQ(database.number("SELECT count(*) FROM events"), 5000);
    trimEvents(&database, 4990);
    EXPECT_EQ(database.number("SELECT min(number) FROM events"), 11);
    trimEvents(&database, 100);
    EXPECT_EQ(database.number("SELECT count(*) FROM events"), 2990); // a step of 2000
    trimEvents(&database, 100);
    trimEvents(&database, 100);
    EXPECT_EQ(database.number("SELECT count(*) FROM events"), 100);
    EXPECT_EQ(database.number("SELECT max(number) FROM events"), 5000);
    EXPECT_EQ(database.number("SELECT count FROM event_count WHERE kind = 'k'"), 5000);
    saveMany(1);
    EXPECT_EQ(database.number("SELECT max(number) FROM events"), 5001);
    EXPECT_EQ(database.number("SELECT max(incident) FROM events"), 2);
    EXPECT_EQ(MAX_EVENTS, 1000000);
}

// ---- operations

namespace {

Operation anyOperation(Milliseconds begun) {
    Operation operation;
    operation.begun = begun;
    operation.user = "alice";
    operation.command = "setstate";
    operation.line = "dravik setstate -path_alias it's";
    operation.volume = "it's";
    operation.path = "sdb";
    operation.detail = "offline";
    return operation;
}

} // namespace

TEST_F(EventStore, AnOperationIsThereWhileItRunsAndAnEventWhenItHasEnded) {
    Operation operation = anyOperation(1000);
    beginOperation(&database, &operation);
    EXPECT_EQ(operation.id, 1);
    std::vector<Operation> read = loadOperations(&database, 500, 2000);
    ASSERT_EQ(read.size(), 1U);
    EXPECT_EQ(read[0].ended, 0);
    EXPECT_TRUE(loadEvents(&database, {}).empty());

    operation.ended = 1500;
    operation.code = 7;
    endOperation(&database, operation, "boot", "36a");
    read = loadOperations(&database, 500, 2000);
    ASSERT_EQ(read.size(), 1U);
    EXPECT_EQ(read[0].id, 1);
    EXPECT_EQ(read[0].begun, 1000);
    EXPECT_EQ(read[0].ended, 1500);
    EXPECT_EQ(read[0].user, "alice");
    EXPECT_EQ(read[0].command, "setstate");
    EXPECT_EQ(read[0].line, "dravik setstate -path_alias it's");
    EXPECT_EQ(read[0].volume, "it's");
    EXPECT_EQ(read[0].path, "sdb");
    EXPECT_EQ(read[0].detail, "offline");
    EXPECT_EQ(read[0].code, 7);

    const std::vector<Event> events = loadEvents(&database, {});
    ASSERT_EQ(events.size(), 1U);
    EXPECT_EQ(events[0].time, 1500);
    EXPECT_EQ(events[0].boot_id, "boot");
    EXPECT_EQ(events[0].kind, "operation");
    EXPECT_EQ(events[0].wwid, "36a");
    EXPECT_EQ(events[0].alias, "it's");
    EXPECT_TRUE(events[0].has_path);
    EXPECT_EQ(events[0].path_name, "sdb");
    EXPECT_EQ(events[0].from, "");
    EXPECT_EQ(events[0].to, "7");
    EXPECT_EQ(events[0].cause, "operator");
    EXPECT_EQ(events[0].user, "alice");
    EXPECT_EQ(events[0].command, "dravik setstate -path_alias it's");
}

TEST_F(EventStore, EndedOperationsAreCountedByCommandAndCodeAndTheCountsOutliveThem) {
    for (const int code : {0, 0, 7}) {
        Operation operation = anyOperation(1000);
        beginOperation(&database, &operation);
        operation.ended = 1500;
        operation.code = code;
        endOperation(&database, operation, "", "");
    }
    Operation running = anyOperation(2000);
    beginOperation(&database, &running);
    trimOperations(&database, 4);
    EXPECT_EQ(database.number("SELECT count(*) FROM operations"), 4);
    trimOperations(&database, 1);
    EXPECT_EQ(database.number("SELECT id FROM operations"), 4);
    EXPECT_EQ(database.number("SELECT count FROM operation_count WHERE command = 'setstate' AND code = 0"),
              2);
    EXPECT_EQ(database.number("SELECT count FROM operation_count WHERE command = 'setstate' AND code = 7"),
              1);
    EXPECT_EQ(database.number("SELECT count(*) FROM operation_count"), 2);
    EXPECT_EQ(MAX_OPERATIONS, 100000);
}

TEST_F(EventStore, OfOperationsThoseCountThatEndedSinceOrStillRunForAnHourAtMost) {
    constexpr Milliseconds HOUR = 3600LL * 1000;
    const Milliseconds now = 10 * HOUR;
    Operation early = anyOperation(1);
    beginOperation(&database, &early);
    early.ended = now - 20;
    endOperation(&database, early, "", "");
    Operation late = anyOperation(2);
    beginOperation(&database, &late);
    late.ended = now - 10;
    endOperation(&database, late, "", "");
    Operation running = anyOperation(now - HOUR);
    beginOperation(&database, &running);
    Operation killed = anyOperation(now - HOUR - 1);
    beginOperation(&database, &killed);
    const std::vector<Operation> read = loadOperations(&database, now - 10, now);
    ASSERT_EQ(read.size(), 2U);
    EXPECT_EQ(read[0].id, late.id);
    EXPECT_EQ(read[1].id, running.id);
}

TEST_F(EventStore, AnIncidentIsReadWholeAndAloneAndFoundByItsNumber) {
    const std::vector<Event> before = save({anyEvent()});
    std::vector<Event> both = {anyEvent(), anyEvent()};
    both[1].kind = "path_dm_state";
    save(both);
    save({anyEvent()});
    const std::vector<Event> read = loadIncident(&database, before.front().incident + 1);
    ASSERT_EQ(read.size(), 2U);
    EXPECT_EQ(read[0].number, before.front().number + 1);
    EXPECT_EQ(read[0].alias, "it's");
    EXPECT_EQ(read[1].kind, "path_dm_state");
    EXPECT_EQ(loadIncident(&database, 77).size(), 0U);
    Statement plan(&database, "EXPLAIN QUERY PLAN SELECT * FROM events WHERE incident = 1 ORDER BY number");
    ASSERT_TRUE(plan.step());
    EXPECT_EQ(plan.text(3), "SEARCH events USING INDEX events_by_incident (incident=?)");
}
