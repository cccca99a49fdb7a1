// What the journal is told: an incident as one entry.
//
// An entry's fields, each "NAME=value" as the journal's native protocol has them (systemd.journal-fields(7)):
//   MESSAGE, PRIORITY, MESSAGE_ID, SYSLOG_IDENTIFIER
//   DRAVIK_EVENT (its kind), DRAVIK_NUMBER, DRAVIK_INCIDENT, DRAVIK_VOLUME, DRAVIK_WWID, DRAVIK_VDISK_NAME, DRAVIK_PATH,
//   DRAVIK_INITIATOR, DRAVIK_TARGET_PORT, DRAVIK_FROM, DRAVIK_TO, DRAVIK_PATHS_WORKING, DRAVIK_PATHS_KNOWN, DRAVIK_CAUSE,
//   DRAVIK_USER: those of the incident's first event, left out where it has none
//   DRAVIK_EVENTS: how many they are, where they are several
// The message is one line of valid UTF-8 without control bytes; the other fields hold the names as they were listed.
#pragma once

#include <cstddef>
#include <string>
#include <vector>

#include "ledger/records.h"

namespace dravik {

constexpr char JOURNAL_IDENTIFIER[] = "dravik-monitor";

// Of a message, in bytes; a longer one ends in "...".
constexpr size_t LONGEST_MESSAGE = 2000;

struct JournalEntry {
    int priority = 0;
    std::string message;
    std::vector<std::string> fields; // all of them, those of the two members above included
};

// The entry of an incident, whose events (at least one) are given in order; `vdisk_name` is what the array calls the first
// one's volume, or empty.
JournalEntry entryOfIncident(const std::vector<Event> &events, const std::string &vdisk_name);

// The entry that stands for so many incidents that are not told.
JournalEntry entryOfLeftOut(size_t incidents);

} // namespace dravik
