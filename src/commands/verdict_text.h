// The verdict over the volumes of a ledger: counts, exit status, and the line that monitoring systems read.
#pragma once

#include <string>
#include <vector>

#include "commands/ledger_view.h"

namespace dravik {

struct VerdictCounts {
    int64_t volumes = 0;
    int64_t states[5] = {}; // by VolumeState
    int64_t paths = 0;
    int64_t paths_working = 0;
    int64_t of(VolumeState state) const {
        return states[static_cast<size_t>(state)];
    }
};

using VolumeList = std::vector<const KnownVolume *>;

struct JudgedVolume {
    const KnownVolume *volume; // the view's
    VolumeState state;
};

struct Verdict {
    VolumeState state = VolumeState::OK; // over all of them: unknown where the view is stale
    VerdictCounts counts;
    std::vector<JudgedVolume> bad; // those that are not ok, the worst first, else in their order
};

// Judges these volumes of the view, each once.
Verdict verdictOver(const LedgerView &view, const VolumeList &volumes);

// 0 ok, 1 degraded, 2 last path or none, 3 unknown: as monitoring plug-ins answer.
int verdictStatus(VolumeState verdict);

// "CRITICAL - 1 of 11 volumes on its last path, 2 degraded | volumes=11 ok=8 ... observation_age=4s". The age is that of
// the last observation that had a topology.
std::string verdictLine(const LedgerView &view, const Verdict &verdict);

Json countsJson(const VerdictCounts &counts);

} // namespace dravik
