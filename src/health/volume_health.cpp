// The verdict.
#include "health/volume_health.h"

#include <algorithm>
#include <iterator>

namespace dravik {

namespace {

constexpr const char *STATE_WORDS[] = {"none", "last_path", "unknown", "degraded", "ok"};
constexpr const char *PRESENCE_WORDS[] = {"present", "unseen", "missing"};

// The place of `word` in `words`, that of `otherwise` for a word that is none of them.
template <size_t N> size_t placeOf(const char *const (&words)[N], std::string_view word, size_t otherwise) {
    const auto *found = std::find(std::begin(words), std::end(words), word);
    return found == std::end(words) ? otherwise : static_cast<size_t>(found - std::begin(words));
}

// Whether several different texts have come by.
class Variety {
  public:
    void meet(std::string_view text) {
        is_several = is_several || (is_any && text != first);
        first = is_any ? first : text;
        is_any = true;
    }
    bool isSeveral() const {
        return is_several;
    }

  private:
    std::string_view first;
    bool is_any = false;
    bool is_several = false;
};

bool isUp(const PathHealth &path) {
    return path.working && path.presence != Presence::MISSING;
}

} // namespace

const char *stateWord(VolumeState state) {
    return STATE_WORDS[static_cast<size_t>(state)];
}

VolumeState stateOfWord(std::string_view word) {
    return static_cast<VolumeState>(placeOf(STATE_WORDS, word, static_cast<size_t>(VolumeState::OK)));
}

const char *presenceWord(Presence presence) {
    return PRESENCE_WORDS[static_cast<size_t>(presence)];
}

Presence presenceOfWord(std::string_view word) {
    return static_cast<Presence>(placeOf(PRESENCE_WORDS, word, static_cast<size_t>(Presence::PRESENT)));
}

Survival survivalOf(const std::vector<PathHealth> &paths) {
    Variety initiators;
    Variety target_ports;
    int working = 0;
    for (const PathHealth &path : paths) {
        if (isUp(path)) {
            ++working;
            initiators.meet(path.initiator);
            if (!path.target_port.empty()) { // an unknown port may be any of the known ones
                target_ports.meet(path.target_port);
            }
        }
    }
    return {working > 1, initiators.isSeveral(), target_ports.isSeveral()};
}

bool hasLost(const Survival &before, const Survival &now) {
    return (before.path && !now.path) || (before.initiator && !now.initiator) ||
           (before.target_port && !now.target_port);
}

int countWorking(const std::vector<PathHealth> &paths) {
    return static_cast<int>(std::count_if(paths.begin(), paths.end(), isUp));
}

VolumeState verdictOf(const std::vector<PathHealth> &paths, const Survival &baseline) {
    const int working = countWorking(paths);
    if (working == 0) {
        return VolumeState::NONE;
    }
    if (working == 1 && paths.size() > 1) {
        return VolumeState::LAST_PATH;
    }
    if (std::any_of(paths.begin(), paths.end(), [](const PathHealth &path) { return path.unseen_long; })) {
        return VolumeState::UNKNOWN;
    }
    const bool whole = working == static_cast<int>(paths.size());
    return whole && !hasLost(baseline, survivalOf(paths)) ? VolumeState::OK : VolumeState::DEGRADED;
}

VolumeState worstOf(const std::vector<VolumeState> &states) {
    const auto worst = std::min_element(states.begin(), states.end());
    return worst == states.end() ? VolumeState::OK : *worst;
}

} // namespace dravik
