// The command `restart`.
#pragma once

#include "common/result.h"

// A reload of the running daemon, a start of the stopped one. Results as `chMultipathdService` (service.h); after a
// failure the configuration's backup is restored.
s_ecItems *restart();
