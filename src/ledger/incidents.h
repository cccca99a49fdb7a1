// Which events belong together: those of one observation that share a volume, a target port or an initiator.
#pragma once

#include <vector>

#include "ledger/records.h"

namespace dravik {

// Numbers the incidents of the events of one observation, from `first` on, in the order of their first events. The next
// free number.
int64_t numberIncidents(std::vector<Event> *events, int64_t first);

} // namespace dravik
