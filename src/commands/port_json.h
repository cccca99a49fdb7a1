// The command `port` as structured data.
#pragma once

#include "common/result.h"
#include "output/json.h"

namespace dravik {

// Sets "ports": [{"host", "wwpn", "wwnn", "state", "speed", "topology", "driver"}], in the order of the hosts' numbers,
// null for what the kernel does not tell. Results as `lsport`, and EC_molloc_failed; nothing is set
// unless the code is 0.
s_ecItems *describePort(int argc, Json *document);

} // namespace dravik
