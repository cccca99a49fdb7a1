// The states of a working path.
#include "health/path_health.h"

namespace dravik {

bool isWorking(const PathStates &path) {
    const bool checked =
        path.checker_state == "ready" || path.checker_state == "ghost" || path.checker_state.empty();
    return checked && path.group_status != "failed" && path.dm_state != "failed" &&
           path.online_state != "offline";
}

} // namespace dravik
