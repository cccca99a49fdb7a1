// Counting failures.
#include "ledger/path_history.h"

#include <algorithm>
#include <iterator>
#include <type_traits>

namespace dravik {

static_assert(FLAPPING_FAILURES == std::extent_v<decltype(KnownPath::failures)>);

void noteWorking(KnownPath *path, bool working, Milliseconds time) {
    if (path->working == working) {
        return;
    }
    path->working = working;
    path->changed = true;
    ++path->transitions;
    if (working) {
        path->last_returned = time;
        path->offline_by.clear();
    } else {
        path->last_failed = time;
        std::rotate(std::begin(path->failures), std::begin(path->failures) + 1, std::end(path->failures));
        *std::rbegin(path->failures) = time;
    }
}

bool isFlapping(const KnownPath &path, Milliseconds time) {
    const Milliseconds first = *std::begin(path.failures);
    const Milliseconds last = *std::rbegin(path.failures);
    if (last == 0 || time - last >= FLAPPING_WINDOW_MS) {
        return false;
    }
    return path.flapping || (first != 0 && last - first <= FLAPPING_WINDOW_MS);
}

} // namespace dravik
