// From what is known to its health.
#include "ledger/known_health.h"

namespace dravik {

std::vector<PathHealth> healthOf(const KnownVolume &volume, Milliseconds time) {
    std::vector<PathHealth> health;
    health.reserve(volume.paths.size());
    const bool volume_unseen_long =
        volume.presence == Presence::UNSEEN && time - volume.unseen_since > UNKNOWN_AFTER_MS;
    for (const KnownPath &path : volume.paths) {
        const bool unseen_long =
            path.presence == Presence::UNSEEN && time - path.unseen_since > UNKNOWN_AFTER_MS;
        health.push_back({path.key.initiator, path.key.target_port, path.working, path.presence,
                          unseen_long || volume_unseen_long});
    }
    return health;
}

Survival baselineSurvival(const KnownVolume &volume) {
    std::vector<PathHealth> paths;
    paths.reserve(volume.baseline.size());
    for (const BaselinePath &path : volume.baseline) {
        paths.push_back({path.key.initiator, path.key.target_port, true, Presence::PRESENT, false});
    }
    return survivalOf(paths);
}

} // namespace dravik
