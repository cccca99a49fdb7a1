// SQLite, with owners for what it hands out. A failure is thrown as SqliteError.
#pragma once

#include <cstdint>
#include <sqlite3.h>
#include <stdexcept>
#include <string>
#include <string_view>

namespace dravik {

// What went wrong, in SQLite's words, and its result code (the primary one).
class SqliteError : public std::runtime_error {
  public:
    SqliteError(int result_code, const std::string &what)
        : std::runtime_error(what), primary(result_code & 0xff) {}
    int code() const {
        return primary;
    }
    // Whether the file itself is no database, or a damaged one.
    bool isDamage() const {
        return primary == SQLITE_CORRUPT || primary == SQLITE_NOTADB;
    }

  private:
    int primary;
};

class Database {
  public:
    // Opens the file with the flags of sqlite3_open_v2; a locked one is waited for `busy_ms` long. A name that is not from
    // "/" on leads below the working folder, whatever that is called (relative_files.h).
    Database(const std::string &path, int flags, int busy_ms);
    ~Database();
    Database(const Database &) = delete;
    Database &operator=(const Database &) = delete;

    void run(const char *sql);
    // The one number that `sql` asks for; 0 when it answers with no row.
    int64_t number(const char *sql);
    int64_t lastRow() const {
        return sqlite3_last_insert_rowid(handle);
    }
    sqlite3 *get() const {
        return handle;
    }

  private:
    sqlite3 *handle = nullptr;
};

// One prepared statement: bind from 1 on, step, read columns from 0 on.
class Statement {
  public:
    Statement(Database *opened, const char *sql);
    ~Statement();
    Statement(const Statement &) = delete;
    Statement &operator=(const Statement &) = delete;

    Statement &bind(int place, int64_t value);
    Statement &bind(int place, int value) {
        return bind(place, static_cast<int64_t>(value));
    }
    Statement &bind(int place, bool value) {
        return bind(place, static_cast<int64_t>(value ? 1 : 0));
    }
    // An empty text is stored as one.
    Statement &bind(int place, std::string_view text);
    Statement &bind(int place, const std::string &text) {
        return bind(place, std::string_view(text));
    }
    Statement &bind(int place, const char *text) {
        return bind(place, std::string_view(text));
    }

    // The next row; false behind the last.
    bool step();
    // Runs a statement that answers with no row, and makes it ready to be bound and run again.
    void runOnce();
    void reset();

    int64_t number(int column) const {
        return sqlite3_column_int64(statement, column);
    }
    // "" for NULL.
    std::string text(int column) const;

  private:
    Database *database;
    sqlite3_stmt *statement = nullptr;
};

// A transaction that is undone unless it is committed. It takes the right to write at once.
class Transaction {
  public:
    explicit Transaction(Database *opened);
    ~Transaction();
    Transaction(const Transaction &) = delete;
    Transaction &operator=(const Transaction &) = delete;
    void commit();

  private:
    Database *database;
    bool open = true;
};

} // namespace dravik
