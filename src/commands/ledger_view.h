// The ledger as our own commands read it.
#pragma once

#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "array/vdisk_names.h"
#include "ledger/ledger_file.h"
#include "ledger/records.h"
#include "output/json.h"

namespace dravik {

// What the ledger says, and how old it is.
struct LedgerView {
    Observation observation;
    KnownTopology volumes;             // in the order in which they were first seen
    std::vector<Operation> operations; // of ours since the last observation
    Milliseconds now = 0;
    Milliseconds age = 0; // of the last observation, never negative
};

// How old an observation may be before what it said is not known any more.
constexpr Milliseconds STALE_AFTER_MS = UNKNOWN_AFTER_MS;

// The time, by the host's clock.
Milliseconds nowMs();

// Takes out the volumes that are gone.
void dropGone(KnownTopology *volumes);

// Hands the opened ledger to `read`, all of whose questions are answered from one view of it. False when it cannot be opened
// or read: `*problem` is a sentence for people.
bool readInOneView(const std::function<void(Database *)> &read, std::string *problem);

// Reads the ledger in one view of it, with the volumes that are gone or without them. False when it cannot be read:
// `*problem` is a sentence for people.
bool readWholeLedger(LedgerView *view, std::string *problem);
bool readLedger(LedgerView *view, std::string *problem);

// The state of a volume of the view: unknown where the last observation is stale.
VolumeState stateOf(const LedgerView &view, const KnownVolume &volume);
// The same for those who have its health (healthOf at `view.now`) already.
VolumeState stateOf(const LedgerView &view, const KnownVolume &volume, const std::vector<PathHealth> &health);

// Whether the observation is stale, failed ones since the last good one included.
bool isStale(const LedgerView &view);

// Why a stale view is one, since when and for how long: "nothing observed since 2026-11-21 03:12:41, 5 h ago: the multipath
// tool cannot be run".
std::string staleText(const LedgerView &view);

// What is to be said of the last observation of a view that is not stale: "the last observation is doubtful: ..."; empty
// for a good one.
std::string qualityText(const LedgerView &view);

Json observationJson(const LedgerView &view);

// Answers that a command of our own has no answer: `problem` on standard error, behind the command's name, and with `json` a
// document with it as "error" on standard output. `status` comes back.
int failOwnCommand(const char *command, const std::string &problem, bool json, int status);

} // namespace dravik
