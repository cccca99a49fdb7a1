// The ledger as our own commands read it.
#pragma once

#include <memory>
#include <string>

#include "ledger/ledger_file.h"
#include "ledger/records.h"
#include "output/json.h"

namespace dravik {

// What the ledger says, and how old it is.
struct LedgerView {
    Observation observation;
    KnownTopology volumes; // those that are not gone, in the order in which they were first seen
    Milliseconds now = 0;
    Milliseconds age = 0; // of the last observation, never negative
};

// How old an observation may be before what it said is not known any more.
constexpr Milliseconds STALE_AFTER_MS = UNKNOWN_AFTER_MS;

// Reads the ledger in one view of it. False when it cannot be read: `*problem` is a sentence for people.
bool readLedger(LedgerView *view, std::string *problem);

// The state of a volume of the view: unknown where the last observation is stale.
VolumeState stateOf(const LedgerView &view, const KnownVolume &volume);

// Whether the observation is stale, failed ones since the last good one included.
bool isStale(const LedgerView &view);

Json observationJson(const LedgerView &view);

// Answers that a command of our own has no answer: `problem` on standard error, behind the command's name, and with `json` a
// document with it as "error" on standard output. `status` comes back.
int failOwnCommand(const char *command, const std::string &problem, bool json, int status);

// The names that the array has for the volumes, by WWID, from the name cache; a missing or damaged one knows none.
class VdiskNames {
  public:
    std::string of(const std::string &wwid) const;
};

} // namespace dravik
