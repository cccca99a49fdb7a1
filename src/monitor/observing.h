// The second half of a cycle: what was taken from the multipath tool goes to the ledger, too.
#pragma once

#include "common/result.h"

namespace dravik {

// Hands the topology in `g_pDravik` (cycle.h) to the ledger, or that it could not be had: `query` is the record of the
// query that took it, which began `age_ms` ago and lasted `duration_ms`. Nothing is returned: the ledger complains in the
// log.
void observeCycle(const s_ecItems *query, long long duration_ms, long long age_ms);

} // namespace dravik
