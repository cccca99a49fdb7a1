// Finding the operation behind a change.
#include "ledger/causes.h"

namespace dravik {

namespace {

// The operation of ours that explains the event, null when there is none.
const Operation *operationOn(const Circumstances &at, const Event &event) {
    for (const Operation &operation : at.operations) {
        const bool on_volume = operation.volume == event.alias || operation.volume == event.wwid;
        const bool on_path = on_volume && event.has_path && operation.path == event.path_name;
        const bool on_all = operation.command == "refresh" || operation.command == "stop";
        if (on_all || (operation.command == "setstate" && on_path) ||
            (operation.command == "delete" && on_volume && !operation.volume.empty())) {
            return &operation;
        }
    }
    return nullptr;
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

std::string takenOfflineBy(const Circumstances &at, const KnownVolume &volume, const KnownPath &path) {
    for (const Operation &operation : at.operations) {
        const bool on_volume = operation.volume == volume.attributes.alias || operation.volume == volume.wwid;
        if (on_volume && operation.command == "setstate" && operation.detail == "offline" &&
            operation.path == path.attributes.name) {
            return operation.user;
        }
    }
    return "";
}

} // namespace dravik
