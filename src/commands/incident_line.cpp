// An incident's words behind its time and its number.
#include "commands/incident_line.h"

#include "ledger/incident_text.h"
#include "output/local_time.h"
#include "output/table.h"

namespace dravik {

namespace {

std::string lineOf(const Event &first, const std::string &words) {
    return harmless(localTime(first.time) + "  #" + std::to_string(first.incident) + "  " + words);
}

} // namespace

std::string incidentLine(const std::vector<Event> &events) {
    return lineOf(events.front(), incidentText(events));
}

std::string eventLine(const Event &event) {
    return lineOf(event, eventText(event));
}

} // namespace dravik
