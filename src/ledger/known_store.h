// The tables of what is known: volumes, paths, baselines, the last observation.
#pragma once

#include "ledger/records.h"
#include "ledger/sqlite.h"

namespace dravik {

// All of them throw SqliteError.

// Everything that is known, volumes that are gone included, in the order in which it was first seen.
KnownTopology loadKnown(Database *database);

// The same, of paths and baselines what the verdict asks for and nothing else: initiator and target port, presence, since
// when unseen, and whether it works. It takes half the time, and is never saved.
KnownTopology loadForVerdict(Database *database);

// Writes the rows of what is marked as changed, and gives new ones their id. `time` and `accepted_by` go to the paths that
// a baseline has learned.
void saveKnown(Database *database, KnownTopology *known, Milliseconds time);

// How many of the volumes that are not gone are in each state, by VolumeState.
struct StateCounts {
    int64_t of_state[5] = {};
};
StateCounts countStates(Database *database);

// The last observation; quality NEVER when there has been none.
Observation loadObservation(Database *database);

// Makes `observation` the last one and counts it; with `quality_changed` it gets a row of its own, too.
void saveObservation(Database *database, const Observation &observation, bool quality_changed);

} // namespace dravik
