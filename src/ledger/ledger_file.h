// The ledger's file: opening it, and what is done when it cannot be used.
//
//   /dumps/dravik.db        SQLite, mode 0600; with -wal and -shm beside it while it is in use
//   /dumps/dravik.db.damaged-TIME   a damaged one that was put aside (its -wal and -shm likewise)
#pragma once

#include <memory>
#include <string>
#include <sys/types.h>

#include "ledger/sqlite.h"

namespace dravik {

constexpr char LEDGER_FILE[] = "/dumps/dravik.db";

// Who opens it.
enum class LedgerUse {
    OBSERVE, // the monitor: makes it, migrates it, puts a damaged one aside
    OPERATE, // a command that writes its own operation, or accepts a baseline
    READ,
};

enum class LedgerStatus {
    OPEN,
    MISSING,       // there is none: the monitor has not run
    NOT_PERMITTED, // this user may not
    NEWER,         // a newer version of the program has written it
    OLDER,         // an older one has, and the monitor of this one has not migrated it yet
    FAILED,        // anything else: locked for long, damaged, a full disk ...
};

// Which file it is, whatever its name is now.
struct FileIdentity {
    dev_t device = 0;
    ino_t inode = 0;
};

struct LedgerOpening {
    LedgerStatus status = LedgerStatus::FAILED;
    FileIdentity file;                  // of OPEN
    std::unique_ptr<Database> database; // null but for OPEN
    std::string problem;                // a sentence for people, without a full stop; empty for OPEN
};

// Opens the ledger. Logs at level 0 what it puts aside: "Ledger %s is damaged (%s): put aside as %s.". Throws
// std::bad_alloc.
LedgerOpening openLedger(LedgerUse use);

// Whether the ledger's name still leads to this file: one that was removed or moved away takes writes that nobody reads.
bool isLedgerFile(const FileIdentity &file);

// Puts the damaged ledger aside, with its companions, and logs it as above; `reason` in SQLite's words.
void putLedgerAside(const char *reason);

} // namespace dravik
