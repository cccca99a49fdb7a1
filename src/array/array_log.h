// The module's line in the command log.
#pragma once

#include "common/log.h"

// An error line of the module, with the caller's position; or in the name of another function.
#define ARRAY_LOG(...) ARRAY_LOG_AS(__func__, __VA_ARGS__)
#define ARRAY_LOG_AS(function, ...) dravik_log(LOG_ERROR, "array/array", __LINE__, function, __VA_ARGS__)
