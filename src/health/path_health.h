// Whether a path works, from the states that the multipath tool lists for it.
#pragma once

#include <string_view>

namespace dravik {

// The four states of a path and its group, as listed.
struct PathStates {
    std::string_view group_status;  // active, enabled, failed
    std::string_view dm_state;      // active, failed
    std::string_view checker_state; // ready, ghost, faulty, shaky ...; empty where no checker has looked yet
    std::string_view online_state;  // running, offline
};

// True unless the group is failed, the dm state is failed, the online state is offline, or the checker says anything but
// ready, ghost (the standby half of an array that would take over) or nothing.
bool isWorking(const PathStates &path);

} // namespace dravik
