// How far the journal has been told the events: the number in the table `journal`.
#pragma once

#include <cstdint>
#include <vector>

#include "ledger/sqlite.h"

namespace dravik {

// All of them throw SqliteError.

// Whether there is an event that the journal has not been told. One look at either end of two tables.
bool hasUntold(Database *database);

// The incidents that it has not been told, in their order, and the number of the newest event.
struct Untold {
    std::vector<int64_t> incidents;
    int64_t newest = 0;
};
Untold loadUntold(Database *database);

// From now on all events up to this number count as told.
void markTold(Database *database, int64_t number);

} // namespace dravik
