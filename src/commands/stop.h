// The command `stop`.
#pragma once

#include "common/result.h"

namespace dravik {

// Stops the daemon. Results as `chMultipathdService` (service.h).
s_ecItems *stopDaemon();

} // namespace dravik
