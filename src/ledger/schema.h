// The tables of the ledger and their versions.
//
//   observation       one row: the last observation
//   observations      a row for each change of quality
//   observation_count how many observations there have been of each quality
//   volumes, paths    what is known; volumes that are gone keep their row
//   baseline          what each volume has had: the paths that a smaller number is measured against
//   events            what happened, numbered for ever; at most MAX_EVENTS, the oldest go
//   event_count       how many events there have been of each kind, those that are gone included
//   operations        the commands of ours that changed the host
//
// Times are milliseconds since 1970-01-01 UTC, 0 for never. A text that is not known is empty.
#pragma once

#include "ledger/sqlite.h"

namespace dravik {

// The version of the tables that this program writes (PRAGMA user_version).
int ledgerVersion();

// The version that the file has; 0 for an empty one.
int versionOf(Database *database);

// Brings the tables of an older version, or of an empty file, up to this one, in one transaction.
void migrate(Database *database);

} // namespace dravik
