// From a query's outcome to an observation.
#include "monitor/observing.h"

#include "ledger/keeper.h"
#include "monitor/cycle.h"
#include "topology/topology_query.h"

namespace dravik {

void observeCycle(const s_ecItems *query, long long duration_ms, long long age_ms) {
    static LedgerKeeper keeper;
    ToolOutcome outcome = outcomeOf(lastToolEnd(), failureOfQuery(query, TOOL_DEADLINE_SECONDS));
    outcome.duration_ms = duration_ms;
    outcome.age_ms = age_ms;
    keeper.observe(outcome, g_pDravik);
}

} // namespace dravik
