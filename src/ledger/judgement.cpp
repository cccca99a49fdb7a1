// Judging a topology.
#include "ledger/judgement.h"

#include <unordered_map>
#include <utility>

#include "ledger/comparison.h"
#include "ledger/initiators.h"
#include "ledger/kernel_view.h"
#include "ledger/seen.h"

namespace dravik {

namespace {

const Kernel &realKernel() {
    static const Kernel kernel = {kernelHasPath, kernelHasVolume};
    return kernel;
}

// The sizes of the maps, asked from the kernel where a volume is new or its listed size has changed.
void addSizes(const KnownTopology &known, SeenTopology *seen) {
    std::unordered_map<std::string, const KnownVolume *> by_wwid;
    for (const KnownVolume &volume : known) {
        by_wwid[volume.wwid] = &volume;
    }
    for (SeenVolume &volume : *seen) {
        const auto before = by_wwid.find(volume.wwid);
        const bool same = before != by_wwid.end() &&
                          before->second->attributes.size == volume.attributes.size &&
                          before->second->attributes.map == volume.attributes.map &&
                          before->second->attributes.size_bytes != 0;
        volume.attributes.size_bytes =
            same ? before->second->attributes.size_bytes : mapSizeBytes(volume.attributes.map);
    }
}

void countSeen(const SeenTopology &seen, Observation *observation) {
    observation->volumes = static_cast<int64_t>(seen.size());
    observation->paths = 0;
    for (const SeenVolume &volume : seen) {
        observation->paths += static_cast<int64_t>(volume.paths.size());
    }
}

} // namespace

ToolOutcome outcomeOf(const ChildEnd &tool, std::string failure) {
    ToolOutcome outcome;
    outcome.failure = std::move(failure);
    outcome.exit_status = tool.exit_status;
    outcome.signal_number = tool.signal_number;
    outcome.tool_ms = tool.duration_ms;
    return outcome;
}

std::string howToolEnded(const ToolOutcome &outcome) {
    if (outcome.signal_number != 0) {
        return "the multipath tool was ended by signal " + std::to_string(outcome.signal_number);
    }
    return outcome.exit_status == 0
               ? ""
               : "the multipath tool exited with status " + std::to_string(outcome.exit_status);
}

Judgement judgeTopology(const s_dravik *topology, const ToolOutcome &outcome, const Observation &begun,
                        const Observation &last, std::vector<Operation> operations, KnownTopology *known) {
    Initiators initiators;
    SeenTopology seen = seeTopology(topology, &initiators);
    addSizes(*known, &seen);
    Circumstances circumstances;
    circumstances.time = begun.time;
    circumstances.last_seen = last.seen;
    circumstances.boot_id = begun.boot_id;
    circumstances.is_first = last.quality == Quality::NEVER;
    circumstances.same_boot = last.boot_id.empty() || last.boot_id == begun.boot_id;
    circumstances.tool_was_ended = outcome.exit_status != 0 || outcome.signal_number != 0;
    circumstances.operations = std::move(operations);
    Comparison comparison = compareTopologies(seen, circumstances, realKernel(), known);

    Judgement judgement;
    judgement.observation = begun;
    countSeen(seen, &judgement.observation);
    judgement.observation.quality = comparison.quality;
    if (comparison.quality == Quality::DOUBTFUL) {
        judgement.observation.reason = comparison.doubt + (begun.reason.empty() ? "" : "; " + begun.reason);
    }
    judgement.events = std::move(comparison.events);
    judgement.needs_time = comparison.needs_time;
    return judgement;
}

} // namespace dravik
