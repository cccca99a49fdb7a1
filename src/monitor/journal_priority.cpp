// From an event to its priority.
#include "monitor/journal_priority.h"

#include <algorithm>
#include <iterator>

#include "health/path_health.h"
#include "ledger/event_kinds.h"

namespace dravik {

namespace {

struct KindPriority {
    const char *kind;
    int priority;
};

// The kinds whose states make no difference.
constexpr KindPriority KIND_PRIORITIES[] = {
    {VOLUME_WITHOUT_PATHS, PRIORITY_CRITICAL},
    {VOLUME_GONE, PRIORITY_CRITICAL}, // with its last path
    {VOLUME_UNSEEN, PRIORITY_WARNING},
    {PATH_GONE, PRIORITY_WARNING},
    {PATH_UNSEEN, PRIORITY_WARNING},
    {PATH_FLAPPING, PRIORITY_WARNING},
    {VOLUME_APPEARED, PRIORITY_NOTICE},
    {VOLUME_SEEN_AGAIN, PRIORITY_NOTICE},
    {VOLUME_RENAMED, PRIORITY_NOTICE},
    {VOLUME_RESIZED, PRIORITY_NOTICE},
    {PATH_APPEARED, PRIORITY_NOTICE},
    {PATH_SEEN_AGAIN, PRIORITY_NOTICE},
    {PATH_STEADY, PRIORITY_NOTICE},
    {PATH_MOVED, PRIORITY_INFO},
    {MONITOR_STARTED, PRIORITY_INFO},
    {OPERATION, PRIORITY_INFO},
};

// Whether a path in this state, and good in the others, works.
bool isGood(const Event &event, const std::string &state) {
    PathStates states;
    if (event.kind == PATH_CHECKER_STATE) {
        states.checker_state = state;
    } else if (event.kind == PATH_DM_STATE) {
        states.dm_state = state;
    } else if (event.kind == PATH_ONLINE_STATE) {
        states.online_state = state;
    } else {
        states.group_status = state;
    }
    return isWorking(states);
}

bool isPathState(const std::string &kind) {
    return kind == PATH_CHECKER_STATE || kind == PATH_DM_STATE || kind == PATH_ONLINE_STATE ||
           kind == PATH_GROUP_STATE;
}

int ofPathState(const Event &event) {
    const bool was_good = isGood(event, event.from);
    const bool is_good = isGood(event, event.to);
    if (was_good == is_good) {
        return PRIORITY_INFO;
    }
    return is_good ? PRIORITY_NOTICE : PRIORITY_WARNING;
}

int ofVolumeState(const Event &event) {
    const VolumeState from = stateOfWord(event.from);
    const VolumeState to = stateOfWord(event.to);
    if (to == VolumeState::NONE) {
        return PRIORITY_CRITICAL;
    }
    // The states stand in the order of their verdict, the worst first.
    return to == VolumeState::LAST_PATH || to == VolumeState::UNKNOWN || to < from ? PRIORITY_WARNING
                                                                                   : PRIORITY_NOTICE;
}

int ofKind(const Event &event) {
    if (event.kind == VOLUME_STATE) {
        return ofVolumeState(event);
    }
    if (event.kind == OBSERVATION_QUALITY) {
        return event.to == "good" ? PRIORITY_NOTICE : PRIORITY_WARNING;
    }
    if (isPathState(event.kind)) {
        return ofPathState(event);
    }
    const auto *found =
        std::find_if(std::begin(KIND_PRIORITIES), std::end(KIND_PRIORITIES),
                     [&event](const KindPriority &entry) { return event.kind == entry.kind; });
    return found == std::end(KIND_PRIORITIES) ? PRIORITY_NOTICE : found->priority;
}

} // namespace

int priorityOf(const Event &event) {
    const int priority = ofKind(event);
    // A volume that an operator has left without a path still has its users; one that he has removed has none.
    const bool is_explained = priority != PRIORITY_CRITICAL || event.kind == VOLUME_GONE;
    return event.cause == "operator" && is_explained ? PRIORITY_INFO : priority;
}

int priorityOf(const std::vector<Event> &events) {
    int most_severe = PRIORITY_INFO;
    for (const Event &event : events) {
        most_severe = std::min(most_severe, priorityOf(event));
    }
    return most_severe;
}

} // namespace dravik
