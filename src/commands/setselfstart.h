// The service command `setselfstart`.
#pragma once

#include "common/result.h"

namespace dravik {

// Makes the daemon start with the host. Results as `chMultipathdService` (service.h).
s_ecItems *enableSelfStart();

} // namespace dravik
