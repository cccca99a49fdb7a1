// The table of baselines: what each volume has had, and who accepted less.
#pragma once

#include <string>
#include <unordered_map>
#include <vector>

#include "ledger/records.h"
#include "ledger/sqlite.h"

namespace dravik {

// A path of a baseline: when it was taken in, and by whom ("learned", or a user).
struct AcceptedPath {
    BaselinePath path;
    Milliseconds accepted = 0;
    std::string accepted_by;
};

// Both throw SqliteError.

// The baselines by the ids of their volumes.
std::unordered_map<int64_t, std::vector<AcceptedPath>> loadBaselines(Database *database);

// Makes the paths that the volume has today its baseline, and forgets those that are missing. The transaction is the
// caller's.
void acceptBaseline(Database *database, const KnownVolume &volume, const std::string &user,
                    Milliseconds time);

} // namespace dravik
