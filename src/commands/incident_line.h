// Events as lines for people: one for an incident, or one for each event.
//
//   2026-11-21 03:12:41  #812  port 0x20d0000b5d6a1010: 5 paths of 5 volumes ready -> faulty, all volumes keep working (fault)
//
// Behind the local time stands the incident's number.
#pragma once

#include <string>
#include <vector>

#include "ledger/records.h"

namespace dravik {

// The line of an incident, whose events (at least one) are given in order. It says what they have in common (a target port
// or an initiator of several volumes, a volume, a path), what happened to how many, and what of the volumes works
// after it. Up to six paths are named, and up to six renamings told one by one; more are counted. What only follows from
// something else, the switch to another path group and a volume's state, is left out.
std::string incidentLine(const std::vector<Event> &events);

// The line of one event alone.
std::string eventLine(const Event &event);

} // namespace dravik
