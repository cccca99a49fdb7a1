// Which of a volume's known paths a listed one is.
#pragma once

#include <cstddef>
#include <string>
#include <unordered_map>
#include <unordered_set>
#include <vector>

#include "ledger/records.h"

namespace dravik {

constexpr size_t NO_PATH = static_cast<size_t>(-1);

// For each path of `seen` the place of the known one that it is, NO_PATH for a new one; no known path is given twice. By
// key and kernel name first, then by key alone (paths that are not missing before those that are), then, where a key was
// or is not wholly known (no target port yet, an adapter without a name), by kernel name and address. The cost grows with
// the number of paths.
std::vector<size_t> matchPaths(const std::vector<SeenPath> &seen, const std::vector<KnownPath> &known);

bool sameKey(const PathKey &a, const PathKey &b); // but for the twin

// Keys as the members of a set, the twin included.
class PathKeySet {
  public:
    PathKeySet() = default;
    // False when it was there already.
    bool add(const PathKey &key);
    bool has(const PathKey &key) const;
    // A twin that is free for this key: one more than the largest there is.
    int freeTwin(const PathKey &key) const;

  private:
    std::unordered_set<std::string> members;
    std::unordered_map<std::string, int> next_twins;
};

} // namespace dravik
