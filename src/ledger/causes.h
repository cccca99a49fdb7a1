// Who or what caused a change: what was seen, against the commands of ours that ran meanwhile.
#pragma once

#include <string>
#include <vector>

#include "ledger/records.h"

namespace dravik {

// The circumstances of an observation.
struct Circumstances {
    Milliseconds time = 0;
    std::string boot_id;
    bool is_first = false;             // nothing has been observed before
    bool same_boot = true;             // the host has not been restarted since the last observation
    bool tool_was_ended = false;       // it exited non-zero or by a signal
    std::vector<Operation> operations; // of ours, that ran since the last observation
};

// Fills in the event's cause: "host_restart" for what changed while the host was restarted, "operator" with the user and
// the command line for what an operation on its volume or path explains, otherwise "fault".
void setCause(const Circumstances &at, Event *event);

// Who has just taken the path offline with `setstate`; empty when nobody has.
std::string takenOfflineBy(const Circumstances &at, const KnownVolume &volume, const KnownPath &path);

} // namespace dravik
