// Telling changes.
#include "ledger/change_events.h"

#include <utility>

namespace dravik {

Event ChangeEvents::make(const char *kind, const KnownVolume &volume, const std::string &from,
                         const std::string &to) const {
    Event event;
    event.time = at.time;
    event.boot_id = at.boot_id;
    event.kind = kind;
    event.wwid = volume.wwid;
    event.alias = volume.attributes.alias;
    event.from = from;
    event.to = to;
    return event;
}

void ChangeEvents::tell(const char *kind, const KnownVolume &volume, const std::string &from,
                        const std::string &to) {
    Event event = make(kind, volume, from, to);
    setCause(at, &event);
    events.push_back(std::move(event));
}

void ChangeEvents::tellOutcome(size_t first, const char *kind, const KnownVolume &volume,
                               const std::string &from, const std::string &to) {
    Event event = make(kind, volume, from, to);
    setCauseOfOthers(at, events, first, &event);
    events.push_back(std::move(event));
}

void ChangeEvents::tellPath(const char *kind, const KnownVolume &volume, const KnownPath &path,
                            const std::string &from, const std::string &to) {
    Event event = make(kind, volume, from, to);
    event.has_path = true;
    event.path_name = path.attributes.name;
    event.path_address = path.attributes.address;
    event.initiator = path.key.initiator;
    event.target_port = path.key.target_port;
    setCause(at, &event);
    events.push_back(std::move(event));
}

void ChangeEvents::setPaths(size_t first, int64_t working, int64_t known) {
    for (size_t i = first; i < events.size(); ++i) {
        events[i].paths_working = working;
        events[i].paths_known = known;
    }
}

std::vector<Event> ChangeEvents::take(Quality quality) {
    for (Event &event : events) {
        event.quality = quality;
    }
    return std::move(events);
}

} // namespace dravik
