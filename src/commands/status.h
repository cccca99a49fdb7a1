// The command `status`.
#pragma once

#include "common/result.h"

// Prints whether the daemon runs, between two separators. EC_info_ok.
s_ecItems *status();
