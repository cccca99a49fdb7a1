// The command `refresh`.
#pragma once

#include "common/result.h"

// Deletes the dead paths (faulty, in a group of priority 0) and flushes the maps that have no other path, then scans
// and aggregates. The first failure ends it, what was removed before stays removed: the record of the topology query,
// of `delOneDrive`, `delPathInfo` or `scan`, else that of `aggregation`.
s_ecItems *refresh();
