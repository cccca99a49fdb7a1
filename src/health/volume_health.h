// The verdict over a volume: what its paths can carry, and what they could still lose. Pure functions over records.
#pragma once

#include <string_view>
#include <vector>

namespace dravik {

// How well a volume is reached. The order is that of the verdict over several: the first that any of them has.
enum class VolumeState { NONE, LAST_PATH, UNKNOWN, DEGRADED, OK };

// "none", "last_path", "unknown", "degraded", "ok"; and back, OK for any other word.
const char *stateWord(VolumeState state);
VolumeState stateOfWord(std::string_view word);

// Whether a path was there when the paths were last looked at.
enum class Presence {
    PRESENT, // listed
    UNSEEN,  // not listed, though the kernel has it: it counts as it was last known
    MISSING, // gone, and nobody has accepted that
};

const char *presenceWord(Presence presence);
Presence presenceOfWord(std::string_view word);

// What the verdict needs to know of a path. The texts belong to whoever made it, and must outlive it.
struct PathHealth {
    std::string_view initiator;
    std::string_view target_port; // empty where unknown
    bool working;                 // as last known
    Presence presence;
    bool unseen_long; // unseen for more than UNKNOWN_AFTER_MS
};

// After this long what has not been seen is not known any more.
constexpr long long UNKNOWN_AFTER_MS = 60000;

// Which single losses leave a volume a working path.
struct Survival {
    bool path;
    bool initiator;
    bool target_port;
};

// The losses that the working paths among `paths` survive. Paths whose target port is unknown may all lead to one port.
Survival survivalOf(const std::vector<PathHealth> &paths);

// Whether `now` lacks what `before` had.
bool hasLost(const Survival &before, const Survival &now);

// How many paths work, and how many are known (missing ones included).
int countWorking(const std::vector<PathHealth> &paths);

// The state of a volume with these known paths, whose baseline (the paths it has had, all of them working) survives
// `baseline`:
//   none       no path works
//   last_path  one works, and more are known
//   unknown    a path has been unseen for long, and with it as it was last known neither of the two above holds
//   degraded   a known path does not work, or a loss is no longer survived that the baseline survives
//   ok         otherwise; so a volume that never had more than one path is ok while that works
VolumeState verdictOf(const std::vector<PathHealth> &paths, const Survival &baseline);

// The verdict over several volumes: the first state, in the order above, that any of them has; OK for none at all.
VolumeState worstOf(const std::vector<VolumeState> &states);

} // namespace dravik
