// The command `status` as structured data.
#pragma once

#include "common/result.h"
#include "output/json.h"

namespace dravik {

// Sets "service": "running", "stopped", or "unknown" where the service tool says nothing of the daemon (which `status`
// shows as inactive). EC_info_ok.
s_ecItems *describeStatus(int argc, Json *document);

} // namespace dravik
