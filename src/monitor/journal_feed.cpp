// Telling the journal.
#include "monitor/journal_feed.h"

#include <algorithm>
#include <vector>

#include "ledger/event_store.h"
#include "ledger/journal_mark.h"

namespace dravik {

bool JournalFeed::leaveOut(size_t incidents, int64_t last) {
    if (send(entryOfLeftOut(incidents)) == Delivery::LATER) {
        return false;
    }
    sent = last;
    return true;
}

bool JournalFeed::tellIncident(Database *database, int64_t incident, const VdiskNames &names) {
    const std::vector<Event> events = loadIncident(database, incident);
    if (events.empty()) {
        return true; // too old to be kept
    }
    const std::string &wwid = events.front().wwid;
    if (send(entryOfIncident(events, wwid.empty() ? "" : names.of(wwid))) == Delivery::LATER) {
        return false;
    }
    sent = incident;
    return true;
}

bool JournalFeed::tell(Database *database) {
    if (!hasUntold(database)) {
        return false;
    }
    const Untold untold = loadUntold(database);
    if (untold.newest < sent_newest) {
        sent = 0; // another ledger, with numbers of its own
    }
    sent_newest = untold.newest;
    auto next = std::upper_bound(untold.incidents.begin(), untold.incidents.end(), sent);
    const auto left = static_cast<size_t>(untold.incidents.end() - next);
    if (left > MOST_UNTOLD) {
        const size_t too_many = left - MOST_UNTOLD;
        next += static_cast<std::ptrdiff_t>(too_many);
        if (!leaveOut(too_many, *(next - 1))) {
            return true;
        }
    }
    const VdiskNames names;
    for (; next != untold.incidents.end(); ++next) {
        if (!tellIncident(database, *next, names)) {
            return true;
        }
    }
    markTold(database, untold.newest);
    sent = 0; // the mark stands for it, in this ledger
    return true;
}

} // namespace dravik
