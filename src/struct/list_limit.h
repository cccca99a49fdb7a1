// How large a list of records may grow.
#pragma once

namespace dravik {

// No list grows past this many nodes; one more counts as a failed allocation. Twice the largest host's number of paths,
// it ends a runaway list in a moment instead of in the host's memory.
constexpr unsigned int MAX_LIST_NODES = 65536;

} // namespace dravik
