// Writing and reading events and operations.
#include "ledger/event_store.h"

#include <algorithm>

#include "ledger/event_kinds.h"
#include "ledger/incidents.h"

namespace dravik {

namespace {

constexpr int64_t TRIM_STEP = 2000;
constexpr Milliseconds LONGEST_OPERATION_MS = 3600LL * 1000;

void countKind(Database *database, const std::string &kind, int64_t count) {
    Statement(database, "INSERT OR IGNORE INTO event_count (kind, count) VALUES (?1, 0)")
        .bind(1, kind)
        .runOnce();
    Statement(database, "UPDATE event_count SET count = count + ?2 WHERE kind = ?1")
        .bind(1, kind)
        .bind(2, count)
        .runOnce();
}

void countOperation(Database *database, const Operation &operation) {
    Statement(database, "INSERT OR IGNORE INTO operation_count (command, code, count) VALUES (?1, ?2, 0)")
        .bind(1, operation.command)
        .bind(2, operation.code)
        .runOnce();
    Statement(database, "UPDATE operation_count SET count = count + 1 WHERE command = ?1 AND code = ?2")
        .bind(1, operation.command)
        .bind(2, operation.code)
        .runOnce();
}

void bindEvent(Statement *statement, const Event &event) {
    statement->bind(1, event.incident)
        .bind(2, event.time)
        .bind(3, event.boot_id)
        .bind(4, qualityWord(event.quality))
        .bind(5, event.kind)
        .bind(6, event.wwid)
        .bind(7, event.alias)
        .bind(8, event.has_path)
        .bind(9, event.path_name)
        .bind(10, event.path_address)
        .bind(11, event.initiator)
        .bind(12, event.target_port)
        .bind(13, event.from)
        .bind(14, event.to)
        .bind(15, event.paths_working)
        .bind(16, event.paths_known)
        .bind(17, event.cause)
        .bind(18, event.user)
        .bind(19, event.command);
}

// What readEvent reads.
#define SELECT_EVENTS                                                                                        \
    "SELECT number, incident, time, boot_id, quality, kind, wwid, alias, has_path, path_name, "              \
    "path_address, "                                                                                         \
    "initiator, target_port, state_from, state_to, paths_working, paths_known, cause, user, command "        \
    "FROM events "

Event readEvent(const Statement &row) {
    Event event;
    event.number = row.number(0);
    event.incident = row.number(1);
    event.time = row.number(2);
    event.boot_id = row.text(3);
    event.quality = qualityOfWord(row.text(4));
    event.kind = row.text(5);
    event.wwid = row.text(6);
    event.alias = row.text(7);
    event.has_path = row.number(8) != 0;
    event.path_name = row.text(9);
    event.path_address = row.text(10);
    event.initiator = row.text(11);
    event.target_port = row.text(12);
    event.from = row.text(13);
    event.to = row.text(14);
    event.paths_working = row.number(15);
    event.paths_known = row.number(16);
    event.cause = row.text(17);
    event.user = row.text(18);
    event.command = row.text(19);
    return event;
}

// Whether the event is of one of the paths that the filter names, or the filter names none.
bool isOfPath(const Event &event, const std::vector<std::string> &names) {
    return names.empty() ||
           (event.has_path && std::any_of(names.begin(), names.end(), [&event](const std::string &name) {
                return name == event.path_name || name == event.path_address;
            }));
}

} // namespace

void saveEvents(Database *database, std::vector<Event> *events) {
    if (events->empty()) {
        return;
    }
    numberIncidents(events, database->number("SELECT coalesce(max(incident), 0) + 1 FROM events"));
    Statement insert(
        database,
        "INSERT INTO events (incident, time, boot_id, quality, kind, wwid, alias, has_path, path_name, "
        "path_address, initiator, target_port, state_from, state_to, paths_working, paths_known, cause, "
        "user, "
        "command) VALUES (?1,?2,?3,?4,?5,?6,?7,?8,?9,?10,?11,?12,?13,?14,?15,?16,?17,?18,?19)");
    std::vector<std::pair<std::string, int64_t>> counts;
    for (Event &event : *events) {
        bindEvent(&insert, event);
        insert.runOnce();
        event.number = database->lastRow();
        const auto same = [&event](const auto &count) { return count.first == event.kind; };
        auto count = std::find_if(counts.begin(), counts.end(), same);
        if (count == counts.end()) {
            counts.emplace_back(event.kind, 1);
        } else {
            ++count->second;
        }
    }
    for (const auto &[kind, count] : counts) {
        countKind(database, kind, count);
    }
}

void trimEvents(Database *database, int64_t at_most) {
    const int64_t count = database->number("SELECT coalesce(max(number) - min(number) + 1, 0) FROM events");
    if (count > at_most) {
        Statement(database,
                  "DELETE FROM events WHERE number IN (SELECT number FROM events ORDER BY number LIMIT ?1)")
            .bind(1, std::min(count - at_most, TRIM_STEP))
            .runOnce();
    }
}

void trimOperations(Database *database, int64_t at_most) {
    const int64_t count = database->number("SELECT coalesce(max(id) - min(id) + 1, 0) FROM operations");
    if (count > at_most) {
        Statement(database,
                  "DELETE FROM operations WHERE id IN (SELECT id FROM operations ORDER BY id LIMIT ?1)")
            .bind(1, std::min(count - at_most, TRIM_STEP))
            .runOnce();
    }
}

void forEachEvent(Database *database, const EventFilter &filter, const std::function<void(Event &&)> &take) {
    Statement row(database, SELECT_EVENTS
                  "WHERE number > ?1 AND time >= ?2 AND (?3 = 0 OR incident = ?3) AND (?4 = '' OR wwid = "
                  "?4) "
                  "ORDER BY number");
    row.bind(1, filter.after_number).bind(2, filter.since).bind(3, filter.incident).bind(4, filter.wwid);
    while (row.step()) {
        Event event = readEvent(row);
        if (isOfPath(event, filter.path_names)) {
            take(std::move(event));
        }
    }
}

std::vector<Event> loadEvents(Database *database, const EventFilter &filter) {
    std::vector<Event> events;
    forEachEvent(database, filter, [&events](Event &&event) { events.push_back(std::move(event)); });
    return events;
}

std::vector<Event> loadIncident(Database *database, int64_t incident) {
    Statement row(database, SELECT_EVENTS "WHERE incident = ?1 ORDER BY number");
    row.bind(1, incident);
    std::vector<Event> events;
    while (row.step()) {
        events.push_back(readEvent(row));
    }
    return events;
}

void beginOperation(Database *database, Operation *operation) {
    Statement(database,
              "INSERT INTO operations (begun, ended, user, command, line, volume, path, detail, code) "
              "VALUES (?1, 0, ?2, ?3, ?4, ?5, ?6, ?7, 0)")
        .bind(1, operation->begun)
        .bind(2, operation->user)
        .bind(3, operation->command)
        .bind(4, operation->line)
        .bind(5, operation->volume)
        .bind(6, operation->path)
        .bind(7, operation->detail)
        .runOnce();
    operation->id = database->lastRow();
}

void endOperation(Database *database, const Operation &operation, const std::string &boot_id,
                  const std::string &wwid) {
    Transaction transaction(database);
    Statement(database, "UPDATE operations SET ended = ?2, code = ?3 WHERE id = ?1")
        .bind(1, operation.id)
        .bind(2, operation.ended)
        .bind(3, operation.code)
        .runOnce();
    countOperation(database, operation);
    Event event;
    event.time = operation.ended;
    event.boot_id = boot_id;
    event.kind = OPERATION;
    event.wwid = wwid;
    event.alias = operation.volume;
    event.has_path = !operation.path.empty();
    event.path_name = operation.path;
    event.to = std::to_string(operation.code);
    event.cause = "operator";
    event.user = operation.user;
    event.command = operation.line;
    std::vector<Event> events = {event};
    saveEvents(database, &events);
    transaction.commit();
}

std::vector<Operation> loadOperations(Database *database, Milliseconds since, Milliseconds now) {
    Statement row(database,
                  "SELECT id, begun, ended, user, command, line, volume, path, detail, code FROM operations "
                  "WHERE ended >= ?1 OR (ended = 0 AND begun >= ?2) ORDER BY id");
    row.bind(1, since).bind(2, now - LONGEST_OPERATION_MS);
    std::vector<Operation> operations;
    while (row.step()) {
        operations.push_back({row.number(0), row.number(1), row.number(2), row.text(3), row.text(4),
                              row.text(5), row.text(6), row.text(7), row.text(8),
                              static_cast<int>(row.number(9))});
    }
    return operations;
}

} // namespace dravik
