// From a query's outcome to an observation.
#include "monitor/observing.h"

#include "ledger/keeper.h"
#include "monitor/cycle.h"
#include "topology/topology_query.h"

namespace dravik {

void observeCycle(const s_ecItems *query, long long duration_ms, long long age_ms) {
    static LedgerKeeper keeper;
    const ChildEnd &tool = lastToolEnd();
    ToolOutcome outcome;
    outcome.failure = failureOfQuery(query, TOOL_DEADLINE_SECONDS);
    outcome.exit_status = tool.exit_status;
    outcome.signal_number = tool.signal_number;
    outcome.tool_ms = tool.duration_ms;
    outcome.duration_ms = duration_ms;
    outcome.age_ms = age_ms;
    keeper.observe(outcome, g_pDravik);
}

} // namespace dravik
