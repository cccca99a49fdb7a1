// Reading the counts.
#include "ledger/counts.h"

#include <algorithm>

namespace dravik {

int64_t LedgerCounts::eventsOf(const std::string &kind) const {
    const auto found = std::find_if(events.begin(), events.end(),
                                    [&kind](const auto &count) { return count.first == kind; });
    return found == events.end() ? 0 : found->second;
}

LedgerCounts loadCounts(Database *database) {
    LedgerCounts counts;
    Statement observations(database, "SELECT quality, count FROM observation_count");
    while (observations.step()) {
        counts.observations[static_cast<size_t>(qualityOfWord(observations.text(0)))] =
            observations.number(1);
    }
    Statement events(database, "SELECT kind, count FROM event_count ORDER BY kind");
    while (events.step()) {
        counts.events.emplace_back(events.text(0), events.number(1));
    }
    Statement operations(database, "SELECT command, code, count FROM operation_count ORDER BY command, code");
    while (operations.step()) {
        counts.operations.push_back({operations.text(0), operations.number(1), operations.number(2)});
    }
    return counts;
}

} // namespace dravik
