// From a query's outcome to an observation.
#include "monitor/observing.h"

#include <string>

#include "ledger/keeper.h"
#include "monitor/cycle.h"
#include "topology/topology_query.h"

namespace dravik {

namespace {

// Why there is no topology, in words; empty when there is one.
std::string failureOf(const s_ecItems *query, const ChildEnd &tool) {
    if (!isFailure(query)) {
        return "";
    }
    if (query == &EC_parse_cmd_out) {
        return "the listing of the multipath tool is malformed";
    }
    if (query == &EC_molloc_failed) {
        return "memory ran out";
    }
    return tool.deadline_passed ? "the multipath tool did not end within " +
                                      std::to_string(TOOL_DEADLINE_SECONDS) + " s and was killed"
                                : "the multipath tool cannot be run";
}

} // namespace

void observeCycle(const s_ecItems *query, long long duration_ms, long long age_ms) {
    static LedgerKeeper keeper;
    const ChildEnd &tool = lastToolEnd();
    ToolOutcome outcome;
    outcome.failure = failureOf(query, tool);
    outcome.exit_status = tool.exit_status;
    outcome.signal_number = tool.signal_number;
    outcome.tool_ms = tool.duration_ms;
    outcome.duration_ms = duration_ms;
    outcome.age_ms = age_ms;
    keeper.observe(outcome, g_pDravik);
}

} // namespace dravik
