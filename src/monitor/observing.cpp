// From a query's outcome to an observation, and on to those who are told of it.
#include "monitor/observing.h"

#include <ctime>

#include "ledger/keeper.h"
#include "ledger/known_store.h"
#include "monitor/cycle.h"
#include "monitor/journal_feed.h"
#include "monitor/status_text.h"
#include "topology/topology_query.h"

namespace dravik {

namespace {

LedgerKeeper &keeper() {
    static LedgerKeeper the_keeper;
    return the_keeper;
}

JournalSender journal = nullptr;
StateCounts counts;
bool has_counts = false;
timespec observed = {};

// The time that passes while the host sleeps counts as well.
timespec now() {
    timespec time = {};
    clock_gettime(CLOCK_BOOTTIME, &time);
    return time;
}

long long millisecondsSince(const timespec &then) {
    const timespec time = now();
    return (time.tv_sec - then.tv_sec) * 1000LL + (time.tv_nsec - then.tv_nsec) / 1000000;
}

// What has happened since the last time. A volume's state changes with an event, so the counts do.
void tellAndCount(Database *database, bool has_events) {
    if (has_events || !has_counts) {
        counts = countStates(database);
        has_counts = true;
    }
    if (journal != nullptr) {
        static JournalFeed feed(journal);
        feed.tell(database);
    }
}

} // namespace

void setJournal(JournalSender send) {
    journal = send;
}

void observeCycle(const s_ecItems *query, long long duration_ms, long long age_ms) {
    ToolOutcome outcome = outcomeOf(lastToolEnd(), failureOfQuery(query, TOOL_DEADLINE_SECONDS));
    outcome.duration_ms = duration_ms;
    outcome.age_ms = age_ms;
    keeper().observe(outcome, g_pDravik);
    observed = now();
    const bool has_events = !keeper().lastEvents().empty();
    keeper().forgetEvents();
    keeper().use([has_events](Database *database) { tellAndCount(database, has_events); });
}

std::string presentStatus() {
    const bool never = observed.tv_sec == 0 && observed.tv_nsec == 0;
    return statusText(keeper().lastObservation(), counts, never ? -1 : millisecondsSince(observed));
}

} // namespace dravik
