// Finding the operation behind a change.
#include "ledger/causes.h"

#include <algorithm>
#include <cstddef>

#include "ledger/event_kinds.h"

namespace dravik {

namespace {

// Whether it has reached the host at all.
bool hasRun(const Operation &operation) {
    return operation.detail != REFUSED;
}

// Whether the operation names the volume, by its alias or WWID.
bool isOnVolume(const Operation &operation, const std::string &alias, const std::string &wwid) {
    return !operation.volume.empty() && (operation.volume == alias || operation.volume == wwid);
}

bool isSetstate(const Operation &operation) {
    return operation.command == "setstate" && operation.code == 0;
}

// A path's change by `setstate` may bring another path group into use, too.
bool isBySetstate(const Operation &operation, const Event &event) {
    return isSetstate(operation) && event.has_path &&
           (operation.path == event.path_name || event.kind == PATH_GROUP_STATE);
}

bool isByAlias(const Operation &operation, const Event &event) {
    return (operation.command == "setalias" || operation.command == "delalias") &&
           event.kind == VOLUME_RENAMED;
}

// Only what has come back: `aggregation` takes nothing away.
bool isByAggregation(const Operation &operation, const Event &event) {
    const bool returns = event.kind == PATH_APPEARED ||
                         (event.kind == PATH_CHECKER_STATE && event.to == "ready") ||
                         (event.kind == PATH_DM_STATE && event.to == "active") ||
                         (event.kind == PATH_ONLINE_STATE && event.to == "running") ||
                         (event.kind == PATH_GROUP_STATE && event.to != "failed");
    return operation.command == "aggregation" && returns;
}

// Who accepts a smaller baseline changes what the volume's state is measured against, and nothing else.
bool isByBaseline(const Operation &operation, const Event &event) {
    return operation.command == "baseline" && event.kind == VOLUME_STATE &&
           (operation.volume.empty() || isOnVolume(operation, event.alias, event.wwid));
}

bool explains(const Operation &operation, const Event &event) {
    if (!hasRun(operation)) {
        return false;
    }
    if (operation.command == "refresh" || operation.command == "stop" || isByAggregation(operation, event) ||
        isByBaseline(operation, event)) {
        return true;
    }
    return isOnVolume(operation, event.alias, event.wwid) &&
           (operation.command == "delete" || isBySetstate(operation, event) || isByAlias(operation, event));
}

// The operation of ours that explains the event, null when there is none.
const Operation *operationOn(const Circumstances &at, const Event &event) {
    const auto found =
        std::find_if(at.operations.begin(), at.operations.end(),
                     [&event](const Operation &operation) { return explains(operation, event); });
    return found == at.operations.end() ? nullptr : &*found;
}

// Whether the operation brings back what `setstate` took offline, of whatever volume.
bool bringsAllBack(const Operation &operation) {
    return hasRun(operation) && operation.code == 0 &&
           (operation.command == "aggregation" || operation.command == "refresh");
}

} // namespace

void setCause(const Circumstances &at, Event *event) {
    const Operation *operation = at.same_boot ? operationOn(at, *event) : nullptr;
    event->cause = !at.same_boot ? "host_restart" : operation != nullptr ? "operator" : "fault";
    if (operation != nullptr) {
        event->user = operation->user;
        event->command = operation->line;
    }
}

void setCauseOfOthers(const Circumstances &at, const std::vector<Event> &others, size_t first, Event *event) {
    if (first >= others.size()) {
        setCause(at, event);
        return;
    }
    const auto begin = others.begin() + static_cast<std::ptrdiff_t>(first);
    const auto other =
        std::find_if(begin, others.end(), [](const Event &earlier) { return earlier.cause != "operator"; });
    const Event &cause = other == others.end() ? *begin : *other;
    event->cause = cause.cause;
    event->user = cause.user;
    event->command = cause.command;
}

void noteOfflineBy(const Circumstances &at, const KnownVolume &volume, KnownPath *path) {
    std::string user = path->offline_by;
    for (const Operation &operation : at.operations) {
        if (bringsAllBack(operation)) {
            user.clear();
        } else if (isSetstate(operation) && hasRun(operation) &&
                   isOnVolume(operation, volume.attributes.alias, volume.wwid) &&
                   operation.path == path->attributes.name) {
            user = operation.detail == "offline" ? operation.user : "";
        }
    }
    if (user != path->offline_by) {
        path->offline_by = user;
        path->changed = true;
    }
}

} // namespace dravik
