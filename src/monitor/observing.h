// The second half of a cycle: what was taken from the multipath tool goes to the ledger, and from there to the journal.
#pragma once

#include <string>

#include "common/result.h"
#include "monitor/journal_sender.h"

namespace dravik {

// Where the journal's entries go from now on; at first nowhere, and nothing counts as told.
void setJournal(JournalSender send);

// Hands the topology in `g_pDravik` (cycle.h) to the ledger, or that it could not be had: `query` is the record of the
// query that took it, which began `age_ms` ago and lasted `duration_ms`. Then tells the journal what it has not been told.
// Nothing is returned: the ledger complains in the log.
void observeCycle(const s_ecItems *query, long long duration_ms, long long age_ms);

// The monitor's state at this moment, in words (status_text.h).
std::string presentStatus();

} // namespace dravik
