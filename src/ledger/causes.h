// Who or what caused a change: what was seen, against the commands of ours that ran meanwhile.
#pragma once

#include <cstddef>
#include <string>
#include <vector>

#include "ledger/records.h"

namespace dravik {

// The circumstances of an observation.
struct Circumstances {
    Milliseconds time = 0;
    Milliseconds last_seen = 0; // the time of the last observation that had a topology; 0 for none
    std::string boot_id;
    bool is_first = false;             // nothing has been observed before
    bool same_boot = true;             // the host has not been restarted since the last observation
    bool tool_was_ended = false;       // it exited non-zero or by a signal
    std::vector<Operation> operations; // of ours, that ran since the last observation
};

// Fills in the event's cause: "host_restart" for what changed while the host was restarted, "operator" with the user and
// the command line for what an operation explains, otherwise "fault". What each command explains, unless it was refused:
//   setstate            the changes of its path, and of the states of its volume's path groups; one that failed nothing
//   delete              everything that happens to its volume
//   setalias, delalias  the new name of its volume
//   aggregation         paths that work again
//   refresh, stop       everything
void setCause(const Circumstances &at, Event *event);

// Gives an event that follows from those of `others` from the place `first` on their cause: that of the first that is no
// operator's, else that of the first. Without any, its own.
void setCauseOfOthers(const Circumstances &at, const std::vector<Event> &others, size_t first, Event *event);

// Keeps `offline_by` of a path that does not work up to date: the user whose `setstate` took it offline, until it was
// brought back online by another, by `aggregation` or by `refresh`.
void noteOfflineBy(const Circumstances &at, const KnownVolume &volume, KnownPath *path);

} // namespace dravik
