// Observing in place of the monitor.
#include "commands/own_observation.h"

#include <algorithm>
#include <new>
#include <utility>

#include "common/capture.h"
#include "ledger/judgement.h"
#include "ledger/kernel_view.h"
#include "topology/topology_query.h"

namespace dravik {

namespace {

ToolOutcome runTool(s_dravik *topology) {
    const Milliseconds begun = nowMs();
    setChildDeadline(TOOL_DEADLINE_SECONDS, nullptr);
    const s_ecItems *query = queryDravikInfo(topology);
    ToolOutcome outcome = outcomeOf(lastToolEnd(), failureOfQuery(query, TOOL_DEADLINE_SECONDS));
    outcome.duration_ms = nowMs() - begun;
    setChildDeadline(0, nullptr);
    return outcome;
}

} // namespace

void observeNow(LedgerView *view) {
    const DravikList topology(mallocDravik(), freeDravik);
    if (topology == nullptr) {
        throw std::bad_alloc();
    }
    const ToolOutcome outcome = runTool(topology.get());
    const Observation last = view->observation;
    Observation observation = last;
    observation.time = nowMs();
    observation.tool_ms = outcome.tool_ms;
    observation.duration_ms = outcome.duration_ms;
    if (!outcome.failure.empty()) {
        observation.quality = Quality::FAILED;
        observation.reason = outcome.failure;
    } else {
        observation.boot_id = bootId();
        observation.reason = howToolEnded(outcome);
        observation = judgeTopology(topology.get(), outcome, observation, last, std::move(view->operations),
                                    &view->volumes)
                          .observation;
        observation.seen = observation.time;
    }
    view->observation = observation;
    view->now = nowMs();
    view->age = std::max<Milliseconds>(view->now - observation.time, 0);
}

} // namespace dravik
