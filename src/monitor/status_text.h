// The monitor's state as "systemctl status" shows it.
#pragma once

#include <string>

#include "ledger/known_store.h"

namespace dravik {

// "11 volumes, 41 paths, 1 degraded; last observation 4 s ago, good": what the observation listed, how many volumes are in
// a state other than ok, the worst state first ("all ok" for none), and how old and of what quality the observation is,
// with the reason where it is not good. Without an observation (null) the ledger cannot be used, which it says instead.
// `age_ms` is the time since the last attempt to observe; below 0 for none yet: "the first observation is under way". One
// line without control bytes.
std::string statusText(const Observation *observation, const StateCounts &counts, long long age_ms);

} // namespace dravik
