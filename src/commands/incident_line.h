// Events as lines for people: one for an incident, or one for each event.
//
//   2026-11-21 03:12:41  #812  port 0x20d0000b5d6a1010: 5 paths of 5 volumes ready -> faulty, all volumes keep working (fault)
//
// Behind the local time stands the incident's number, then its words (ledger/incident_text.h) with their control bytes
// made visible.
#pragma once

#include <string>
#include <vector>

#include "ledger/records.h"

namespace dravik {

// The line of an incident, whose events (at least one) are given in order.
std::string incidentLine(const std::vector<Event> &events);

// The line of one event alone.
std::string eventLine(const Event &event);

} // namespace dravik
