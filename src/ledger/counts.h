// What the ledger has counted. A count never becomes smaller while the ledger lives, whatever was trimmed.
#pragma once

#include <string>
#include <utility>
#include <vector>

#include "ledger/records.h"
#include "ledger/sqlite.h"

namespace dravik {

struct OperationCount {
    std::string command; // setstate
    int64_t code;        // of its result
    int64_t count;
};

struct LedgerCounts {
    int64_t observations[4] = {}; // by Quality; none of NEVER
    std::vector<std::pair<std::string, int64_t>>
        events;                             // by kind, those that have happened, in the order of their names
    std::vector<OperationCount> operations; // those that were run, by command and code

    int64_t observationsOf(Quality quality) const {
        return observations[static_cast<size_t>(quality)];
    }
    int64_t eventsOf(const std::string &kind) const; // 0 where none has happened
};

// Throws SqliteError.
LedgerCounts loadCounts(Database *database);

} // namespace dravik
