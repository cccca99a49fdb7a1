// How much attention an event deserves: the PRIORITY of its journal entry, a level of syslog (RFC 5424).
#pragma once

#include <vector>

#include "ledger/records.h"

namespace dravik {

constexpr int PRIORITY_CRITICAL = 2;
constexpr int PRIORITY_WARNING = 4;
constexpr int PRIORITY_NOTICE = 5;
constexpr int PRIORITY_INFO = 6;

// Of one event:
//   critical   a volume without a working path, whoever took the last one: its I/O stops or waits, and who did it may not
//              know
//   info       what else an operator's command explains, operations themselves, the monitor's start, a path's new name, a
//              state that is neither better nor worse
//   warning    a path or volume lost or no longer seen, flapping, a volume on its last path or otherwise worse off, an
//              observation that is not good; also where the host's restart explains it: a loss stays one
//   notice     what is back, better or new; a volume's new name or size; a kind that is not known
int priorityOf(const Event &event);

// Of an incident (at least one event): that of its most severe event, the smallest number.
int priorityOf(const std::vector<Event> &events);

} // namespace dravik
