// Events in words: one sentence for an incident, or for one event.
//
//   port 0x20d0000b5d6a1010: 5 paths of 5 volumes ready -> faulty, all volumes keep working (fault)
#pragma once

#include <string>
#include <vector>

#include "ledger/records.h"

namespace dravik {

// An incident, whose events (at least one) are given in order. The sentence says what they have in common (a target port
// or an initiator of several volumes, a volume, a path), what happened to how many, and what of the volumes works
// after it. Up to six paths, and up to six volumes without a working path, are named, and up to six renamings or new sizes told one
// by one; more are counted. What only follows from
// something else, the switch to another path group and a volume's state, is left out. Names stand in it as they were
// listed, their control bytes included: whoever prints it makes them harmless.
std::string incidentText(const std::vector<Event> &events);

// One event alone.
std::string eventText(const Event &event);

} // namespace dravik
