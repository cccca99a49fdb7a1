// The tables of events and operations.
#pragma once

#include <functional>
#include <vector>

#include "ledger/records.h"
#include "ledger/sqlite.h"

namespace dravik {

// More events and operations than this are not kept; the oldest go in small steps. Their counts stay.
constexpr int64_t MAX_EVENTS = 1000000;
constexpr int64_t MAX_OPERATIONS = 100000;

// All of them throw SqliteError.

// Numbers the events and their incidents and writes them, as those of one observation.
void saveEvents(Database *database, std::vector<Event> *events);

// Takes the oldest events, or operations, away, a few at a time, while there are too many.
void trimEvents(Database *database, int64_t at_most);
void trimOperations(Database *database, int64_t at_most);

// Which events are wanted; an empty text and a 0 ask for nothing.
struct EventFilter {
    Milliseconds since = 0;
    int64_t after_number = 0;
    int64_t incident = 0;
    std::string wwid;
    std::vector<std::string> path_names; // the kernel's, and the address: any of them
};

// Hands each event that passes to `take`, oldest first; no more than one is in memory.
void forEachEvent(Database *database, const EventFilter &filter, const std::function<void(Event &&)> &take);

// The events that pass, oldest first.
std::vector<Event> loadEvents(Database *database, const EventFilter &filter);

// The events of one incident, in order, however many others there are.
std::vector<Event> loadIncident(Database *database, int64_t incident);

// Begins the operation and gives it its number; ends it with its code, which counts it and makes it an event, too.
void beginOperation(Database *database, Operation *operation);
void endOperation(Database *database, const Operation &operation, const std::string &boot_id,
                  const std::string &wwid);

// The operations that have ended since then, and those that have begun within the last hour before `now` and not ended.
std::vector<Operation> loadOperations(Database *database, Milliseconds since, Milliseconds now);

} // namespace dravik
