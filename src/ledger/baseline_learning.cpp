// Learning what a volume has had.
#include "ledger/baseline_learning.h"

#include <algorithm>

#include "ledger/path_matching.h"

namespace dravik {

void learnBaseline(KnownVolume *volume) {
    PathKeySet baseline;
    for (const BaselinePath &path : volume->baseline) {
        baseline.add(path.key);
    }
    for (const KnownPath &path : volume->paths) {
        if (path.presence != Presence::MISSING && baseline.add(path.key)) {
            volume->baseline.push_back({path.key, path.attributes.name});
            volume->baseline_changed = true;
        }
    }
}

void forgetBaselinePath(const PathKey &key, KnownVolume *volume) {
    const auto is_it = [&key](const BaselinePath &path) {
        return sameKey(path.key, key) && path.key.twin == key.twin;
    };
    volume->baseline.erase(std::remove_if(volume->baseline.begin(), volume->baseline.end(), is_it),
                           volume->baseline.end());
    volume->baseline_changed = true;
}

} // namespace dravik
