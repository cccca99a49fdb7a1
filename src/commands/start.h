// The command `start`.
#pragma once

#include "common/result.h"

namespace dravik {

// Starts the daemon, its LVM support files seen to first. Results as `chMultipathdService` (service.h).
s_ecItems *startDaemon();

} // namespace dravik
