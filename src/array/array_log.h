// The module's line in the command log.
#pragma once

#include "common/log.h"

// An error line of the module, with the caller's position.
#define ARRAY_LOG(...) dravik_log(LOG_ERROR, "array/array", __LINE__, __func__, __VA_ARGS__)
