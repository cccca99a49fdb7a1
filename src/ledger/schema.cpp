// Creating and migrating the tables. The language stays within what SQLite 3.7.17 understands.
#include "ledger/schema.h"

#include <iterator>
#include <string>

namespace dravik {

namespace {

// What makes each version out of the one before it, the first out of nothing. A step that has been released is never
// changed: another one is added.
constexpr const char *STEPS[] = {
    R"sql(
CREATE TABLE observation (
    id INTEGER PRIMARY KEY CHECK (id = 1),
    quality TEXT NOT NULL, reason TEXT NOT NULL, time INTEGER NOT NULL,
    tool_ms INTEGER NOT NULL, duration_ms INTEGER NOT NULL,
    volumes INTEGER NOT NULL, paths INTEGER NOT NULL, boot_id TEXT NOT NULL, seen INTEGER NOT NULL);
CREATE TABLE observations (
    id INTEGER PRIMARY KEY, quality TEXT NOT NULL, reason TEXT NOT NULL, time INTEGER NOT NULL);
CREATE TABLE observation_count (quality TEXT PRIMARY KEY, count INTEGER NOT NULL);
CREATE TABLE volumes (
    id INTEGER PRIMARY KEY, wwid TEXT NOT NULL UNIQUE, alias TEXT NOT NULL, map TEXT NOT NULL,
    vendor TEXT NOT NULL, product TEXT NOT NULL, size TEXT NOT NULL, size_bytes INTEGER NOT NULL,
    transport TEXT NOT NULL, gone INTEGER NOT NULL, presence TEXT NOT NULL, unseen_since INTEGER NOT NULL,
    state TEXT NOT NULL);
CREATE TABLE paths (
    id INTEGER PRIMARY KEY, volume INTEGER NOT NULL REFERENCES volumes (id),
    initiator TEXT NOT NULL, target_port TEXT NOT NULL, lun TEXT NOT NULL, twin INTEGER NOT NULL,
    name TEXT NOT NULL, address TEXT NOT NULL, device_id TEXT NOT NULL, transport TEXT NOT NULL,
    group_policy TEXT NOT NULL, group_priority TEXT NOT NULL, group_status TEXT NOT NULL,
    dm_state TEXT NOT NULL, checker_state TEXT NOT NULL, online_state TEXT NOT NULL,
    presence TEXT NOT NULL, unseen_since INTEGER NOT NULL, working INTEGER NOT NULL,
    transitions INTEGER NOT NULL, last_failed INTEGER NOT NULL, last_returned INTEGER NOT NULL,
    failure_1 INTEGER NOT NULL, failure_2 INTEGER NOT NULL, failure_3 INTEGER NOT NULL,
    flapping INTEGER NOT NULL, offline_by TEXT NOT NULL);
CREATE INDEX paths_by_volume ON paths (volume);
CREATE TABLE baseline (
    volume INTEGER NOT NULL REFERENCES volumes (id),
    initiator TEXT NOT NULL, target_port TEXT NOT NULL, lun TEXT NOT NULL, twin INTEGER NOT NULL,
    name TEXT NOT NULL, accepted INTEGER NOT NULL, accepted_by TEXT NOT NULL,
    PRIMARY KEY (volume, initiator, target_port, lun, twin));
CREATE TABLE events (
    number INTEGER PRIMARY KEY AUTOINCREMENT, incident INTEGER NOT NULL, time INTEGER NOT NULL,
    boot_id TEXT NOT NULL, quality TEXT NOT NULL, kind TEXT NOT NULL, wwid TEXT NOT NULL, alias TEXT NOT NULL,
    has_path INTEGER NOT NULL, path_name TEXT NOT NULL, path_address TEXT NOT NULL, initiator TEXT NOT NULL,
    target_port TEXT NOT NULL, state_from TEXT NOT NULL, state_to TEXT NOT NULL,
    paths_working INTEGER NOT NULL, paths_known INTEGER NOT NULL,
    cause TEXT NOT NULL, user TEXT NOT NULL, command TEXT NOT NULL);
CREATE INDEX events_by_time ON events (time);
CREATE INDEX events_by_incident ON events (incident);
CREATE INDEX events_by_volume ON events (wwid);
CREATE TABLE event_count (kind TEXT PRIMARY KEY, count INTEGER NOT NULL);
CREATE TABLE operations (
    id INTEGER PRIMARY KEY, begun INTEGER NOT NULL, ended INTEGER NOT NULL, user TEXT NOT NULL,
    command TEXT NOT NULL, line TEXT NOT NULL, volume TEXT NOT NULL, path TEXT NOT NULL, detail TEXT NOT NULL,
    code INTEGER NOT NULL);
CREATE INDEX operations_by_end ON operations (ended);
)sql",
    // Counts that outlive the operations that they count, and how far the journal has been told the events.
    R"sql(
CREATE TABLE operation_count (
    command TEXT NOT NULL, code INTEGER NOT NULL, count INTEGER NOT NULL, PRIMARY KEY (command, code));
INSERT INTO operation_count
    SELECT command, code, count(*) FROM operations WHERE ended > 0 GROUP BY command, code;
CREATE TABLE journal (id INTEGER PRIMARY KEY CHECK (id = 1), told INTEGER NOT NULL);
INSERT INTO journal SELECT 1, coalesce(max(number), 0) FROM events;
)sql",
    // How often a path had failed that is not known any more, in case it comes back.
    R"sql(
CREATE TABLE forgotten_paths (
    volume INTEGER NOT NULL REFERENCES volumes (id),
    initiator TEXT NOT NULL, target_port TEXT NOT NULL, lun TEXT NOT NULL, twin INTEGER NOT NULL,
    transitions INTEGER NOT NULL, PRIMARY KEY (volume, initiator, target_port, lun, twin));
)sql",
};

} // namespace

int ledgerVersion() {
    return static_cast<int>(std::size(STEPS));
}

int versionOf(Database *database) {
    return static_cast<int>(database->number("PRAGMA user_version"));
}

void migrate(Database *database) {
    if (versionOf(database) >= ledgerVersion()) {
        return;
    }
    Transaction transaction(database);
    for (int version = versionOf(database); version < ledgerVersion(); ++version) {
        database->run(STEPS[version]);
    }
    database->run(("PRAGMA user_version = " + std::to_string(ledgerVersion())).c_str());
    transaction.commit();
}

} // namespace dravik
