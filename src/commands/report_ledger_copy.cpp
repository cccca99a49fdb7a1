// Copying databases. The language stays within what SQLite 3.7.17 understands.
#include "commands/report_ledger_copy.h"

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <cstring>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>
#include <vector>

#include "common/dumps_folder.h"
#include "host/interruption.h"
#include "ledger/ledger_file.h"
#include "ledger/sqlite.h"

namespace dravik {

namespace {

using Clock = std::chrono::steady_clock;

constexpr int PATIENCE_MS = 5000; // with those who hold the ledger locked
constexpr int CREATE = SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE;

// Ends SQLite's work when its time is over, or when a signal wants to end the process.
class TimeLimit {
  public:
    explicit TimeLimit(unsigned int seconds) : end(Clock::now() + std::chrono::seconds(seconds)) {}
    void watch(Database *database) {
        constexpr int EVERY_STEPS = 20000;
        sqlite3_progress_handler(database->get(), EVERY_STEPS, isOver, this);
    }
    bool over() const {
        return Clock::now() >= end || pendingSignal() != 0;
    }

  private:
    static int isOver(void *limit) {
        return static_cast<TimeLimit *>(limit)->over() ? 1 : 0;
    }
    Clock::time_point end;
};

// The copy is made anew after a power cut: nothing waits for the disk, and no journal is written.
void writeWithoutJournal(Database *database) {
    database->run("PRAGMA journal_mode = OFF");
    database->run("PRAGMA synchronous = OFF");
}

// An empty file that only its owner may read, for SQLite to open.
void makePrivate(const std::string &file) {
    unlink(file.c_str());
    const Descriptor made(open(file.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, 0600));
    if (!made.isOpen()) {
        throw SqliteError(SQLITE_CANTOPEN, strerror(errno));
    }
}

// ---- the backup

// Whether all pages have been copied; a sentence when they cannot be.
std::string copyPages(sqlite3_backup *backup, const TimeLimit &limit) {
    constexpr int PAGES_AT_ONCE = 1024;
    for (;;) {
        const int code = sqlite3_backup_step(backup, PAGES_AT_ONCE);
        if (code == SQLITE_DONE) {
            return "";
        }
        if (limit.over()) {
            return "it took too long to copy";
        }
        if (code == SQLITE_BUSY || code == SQLITE_LOCKED) {
            return "it has been locked for too long";
        }
        if (code != SQLITE_OK) {
            return std::string("it cannot be copied: ") + sqlite3_errstr(code);
        }
    }
}

std::string backUp(Database *from, Database *to, const TimeLimit &limit) {
    sqlite3_backup *backup = sqlite3_backup_init(to->get(), "main", from->get(), "main");
    if (backup == nullptr) {
        return std::string("it cannot be copied: ") + sqlite3_errmsg(to->get());
    }
    std::string problem = copyPages(backup, limit);
    const int code = sqlite3_backup_finish(backup);
    if (code != SQLITE_OK && problem.empty()) {
        problem = std::string("it cannot be copied: ") + sqlite3_errstr(code);
    }
    return problem;
}

// ---- the copy of the copy

struct Table {
    std::string name;
    std::string sql;
};

std::vector<Table> tablesOf(Database *database, const char *condition) {
    std::vector<Table> tables;
    Statement rows(database, (std::string("SELECT name, sql FROM sqlite_master WHERE ") + condition).c_str());
    while (rows.step()) {
        tables.push_back({rows.text(0), rows.text(1)});
    }
    return tables;
}

std::string quoted(const std::string &name) {
    std::string made = "\"";
    for (const char c : name) {
        made += c == '"' ? "\"\"" : std::string(1, c);
    }
    return made + "\"";
}

// What the column of that name holds.
enum class Column { PLAIN, TEXT, ALIAS, WWID, USER };

Column columnNamed(const std::string &name) {
    // The ledger's own words and the kernel's, which say nothing of a site.
    constexpr const char *PLAIN[] = {
        "quality",      "presence",      "state",        "kind",         "cause",          "boot_id",
        "map",          "vendor",        "product",      "transport",    "size",           "dm_state",
        "online_state", "checker_state", "group_status", "group_policy", "group_priority", "lun",
        "address",      "device_id",     "name",         "path_name",    "path_address"};
    if (std::find_if(std::begin(PLAIN), std::end(PLAIN), [&](const char *word) { return name == word; }) !=
        std::end(PLAIN)) {
        return Column::PLAIN;
    }
    if (name == "alias") {
        return Column::ALIAS;
    }
    if (name == "wwid") {
        return Column::WWID;
    }
    return name == "user" || name == "accepted_by" || name == "offline_by" ? Column::USER : Column::TEXT;
}

std::string redacted(Redactor *redactor, Column column, const std::string &value) {
    switch (column) {
    case Column::PLAIN:
        return value;
    case Column::ALIAS:
        return redactor->token(Secret::ALIAS, value);
    case Column::WWID:
        return redactor->token(Secret::WWID, value);
    case Column::USER:
        return redactor->token(Secret::USER, value);
    case Column::TEXT:
        break;
    }
    return redactor->wholeText(value);
}

// A statement's columns, read and bound as they are.
class Row {
  public:
    Row(Database *opened, const std::string &sql) : database(opened) {
        if (sqlite3_prepare_v2(database->get(), sql.c_str(), -1, &statement, nullptr) != SQLITE_OK) {
            fail();
        }
    }
    ~Row() {
        sqlite3_finalize(statement);
    }
    Row(const Row &) = delete;
    Row &operator=(const Row &) = delete;
    bool step() {
        const int code = sqlite3_step(statement);
        if (code != SQLITE_ROW && code != SQLITE_DONE) {
            fail();
        }
        return code == SQLITE_ROW;
    }
    sqlite3_stmt *get() const {
        return statement;
    }

  private:
    [[noreturn]] void fail() {
        throw SqliteError(sqlite3_errcode(database->get()), sqlite3_errmsg(database->get()));
    }
    Database *database;
    sqlite3_stmt *statement = nullptr;
};

// `place` from 0 on.
void copyValue(sqlite3_stmt *from, sqlite3_stmt *to, int place, Column column, Redactor *redactor) {
    const int type = sqlite3_column_type(from, place);
    if (redactor == nullptr || (type != SQLITE_TEXT && type != SQLITE_BLOB)) {
        sqlite3_bind_value(to, place + 1, sqlite3_column_value(from, place));
        return;
    }
    const auto *bytes = static_cast<const char *>(sqlite3_column_blob(from, place));
    const std::string value(bytes == nullptr ? "" : bytes,
                            static_cast<size_t>(sqlite3_column_bytes(from, place)));
    const std::string made = redacted(redactor, column, value);
    sqlite3_bind_text(to, place + 1, made.c_str(), static_cast<int>(made.size()), SQLITE_TRANSIENT);
}

void copyRows(Database *from, Database *to, const std::string &table, const std::string &condition,
              Redactor *redactor) {
    Row rows(from, "SELECT * FROM " + quoted(table) + condition);
    const int count = sqlite3_column_count(rows.get());
    std::vector<Column> columns;
    std::string places;
    for (int i = 0; i < count; ++i) {
        columns.push_back(columnNamed(sqlite3_column_name(rows.get(), i)));
        places += i == 0 ? "?" : ",?";
    }
    Row insert(to, "INSERT INTO " + quoted(table) + " VALUES (" + places + ")");
    while (rows.step()) {
        for (int i = 0; i < count; ++i) {
            copyValue(rows.get(), insert.get(), i, columns[static_cast<size_t>(i)], redactor);
        }
        insert.step();
        sqlite3_reset(insert.get());
    }
}

int64_t countEvents(Database *database) {
    return tablesOf(database, "type = 'table' AND name = 'events'").empty()
               ? 0
               : database->number("SELECT count(*) FROM events");
}

// The database `to` new, with the newest `events` of them.
void rewrite(Database *from, const std::string &to, Redactor *redactor, int64_t events, TimeLimit *limit) {
    makePrivate(to);
    Database made(to, CREATE, PATIENCE_MS);
    limit->watch(&made);
    writeWithoutJournal(&made);
    made.run("BEGIN");
    for (const Table &table : tablesOf(from, "type = 'table' AND name NOT LIKE 'sqlite%'")) {
        made.run(table.sql.c_str());
        const std::string newest =
            table.name == "events" ? " ORDER BY rowid DESC LIMIT " + std::to_string(events) : "";
        copyRows(from, &made, table.name, newest, redactor);
    }
    for (const Table &index : tablesOf(from, "type <> 'table' AND sql IS NOT NULL")) {
        made.run(index.sql.c_str());
    }
    if (!tablesOf(from, "name = 'sqlite_sequence'").empty()) {
        made.run("DELETE FROM sqlite_sequence");
        copyRows(from, &made, "sqlite_sequence", "", nullptr);
    }
    made.run(("PRAGMA user_version = " + std::to_string(from->number("PRAGMA user_version"))).c_str());
    made.run("COMMIT");
}

int64_t sizeOf(const std::string &file) {
    struct stat attributes = {};
    return stat(file.c_str(), &attributes) == 0 ? static_cast<int64_t>(attributes.st_size) : 0;
}

// How many of so many events fit, by what they and the rest have taken.
int64_t fewerEvents(int64_t events, int64_t size, uint64_t limit) {
    const double part = static_cast<double>(limit) / static_cast<double>(size);
    return static_cast<int64_t>(static_cast<double>(events) * part * 0.9);
}

} // namespace

std::string backUpLedger(const std::string &to, unsigned int seconds) {
    if (!openDataFile(LEDGER_FILE, O_RDONLY).isOpen()) {
        return errno == ENOENT ? "there is none: dravik-monitor has not run on this host yet"
                               : std::string("it cannot be opened: ") + strerror(errno);
    }
    try {
        TimeLimit limit(seconds);
        Database ledger(LEDGER_FILE, SQLITE_OPEN_READONLY, PATIENCE_MS);
        makePrivate(to);
        Database copy(to, CREATE, PATIENCE_MS);
        limit.watch(&ledger);
        writeWithoutJournal(&copy);
        std::string problem = backUp(&ledger, &copy, limit);
        if (problem.empty()) {
            copy.run("PRAGMA journal_mode = DELETE"); // readers need no further file
        }
        return problem;
    } catch (const SqliteError &error) {
        return std::string("it cannot be copied: ") + error.what();
    }
}

LedgerRewriting rewriteLedger(const std::string &from, const std::string &to, Redactor *redactor,
                              uint64_t limit, unsigned int seconds) {
    LedgerRewriting done;
    try {
        TimeLimit time_limit(seconds);
        Database source(from, SQLITE_OPEN_READONLY, PATIENCE_MS);
        time_limit.watch(&source);
        const int64_t all = countEvents(&source);
        int64_t events = all;
        int64_t size = sizeOf(from);
        while (events > 0 && static_cast<uint64_t>(size) > limit + limit / 4) {
            events = fewerEvents(events, size, limit);
            size = static_cast<int64_t>(limit);
        }
        rewrite(&source, to, redactor, events, &time_limit);
        while (static_cast<uint64_t>(sizeOf(to)) > limit && events > 0) {
            events = fewerEvents(events, sizeOf(to), limit);
            rewrite(&source, to, redactor, events, &time_limit);
        }
        done.events_left_out = all - events;
        done.problem =
            static_cast<uint64_t>(sizeOf(to)) > limit ? "it is too large even without its events" : "";
    } catch (const SqliteError &error) {
        done.problem = std::string("its copy cannot be written: ") + error.what();
    } catch (const RedactionOverrun &) {
        done.problem = "it took too long to redact";
    }
    return done;
}

} // namespace dravik
