// Thin owners over SQLite's C interface.
#include "ledger/sqlite.h"

#include "ledger/relative_files.h"

namespace dravik {

namespace {

[[noreturn]] void fail(sqlite3 *handle, int code) {
    throw SqliteError(code, handle != nullptr ? sqlite3_errmsg(handle) : sqlite3_errstr(code));
}

} // namespace

// Each is used by one thread alone: no mutex is taken for every column that is read.
Database::Database(const std::string &path, int flags, int busy_ms) {
    const int code = sqlite3_open_v2(path.c_str(), &handle, flags | SQLITE_OPEN_NOMUTEX, fileLayerFor(path));
    if (code != SQLITE_OK) {
        const std::string reason = handle != nullptr ? sqlite3_errmsg(handle) : sqlite3_errstr(code);
        sqlite3_close(handle);
        throw SqliteError(code, reason);
    }
    sqlite3_busy_timeout(handle, busy_ms);
}

Database::~Database() {
    sqlite3_close(handle);
}

void Database::run(const char *sql) {
    const int code = sqlite3_exec(handle, sql, nullptr, nullptr, nullptr);
    if (code != SQLITE_OK) {
        fail(handle, code);
    }
}

int64_t Database::number(const char *sql) {
    Statement statement(this, sql);
    return statement.step() ? statement.number(0) : 0;
}

Statement::Statement(Database *opened, const char *sql) : database(opened) {
    const int code = sqlite3_prepare_v2(database->get(), sql, -1, &statement, nullptr);
    if (code != SQLITE_OK) {
        fail(database->get(), code);
    }
}

Statement::~Statement() {
    sqlite3_finalize(statement);
}

Statement &Statement::bind(int place, int64_t value) {
    const int code = sqlite3_bind_int64(statement, place, value);
    if (code != SQLITE_OK) {
        fail(database->get(), code);
    }
    return *this;
}

Statement &Statement::bind(int place, std::string_view text) {
    const int code = sqlite3_bind_text(statement, place, text.empty() ? "" : text.data(),
                                       static_cast<int>(text.size()), SQLITE_TRANSIENT);
    if (code != SQLITE_OK) {
        fail(database->get(), code);
    }
    return *this;
}

bool Statement::step() {
    const int code = sqlite3_step(statement);
    if (code != SQLITE_ROW && code != SQLITE_DONE) {
        fail(database->get(), code);
    }
    return code == SQLITE_ROW;
}

void Statement::runOnce() {
    step();
    reset();
}

void Statement::reset() {
    sqlite3_reset(statement);
}

std::string Statement::text(int column) const {
    const auto *text = reinterpret_cast<const char *>(sqlite3_column_text(statement, column));
    return text == nullptr ? ""
                           : std::string(text, static_cast<size_t>(sqlite3_column_bytes(statement, column)));
}

Transaction::Transaction(Database *opened) : database(opened) {
    database->run("BEGIN IMMEDIATE");
}

Transaction::~Transaction() {
    if (open) {
        sqlite3_exec(database->get(), "ROLLBACK", nullptr, nullptr, nullptr); // it may be over already
    }
}

void Transaction::commit() {
    database->run("COMMIT");
    open = false;
}

} // namespace dravik
