// The list of the headers of the path monitor.
#pragma once

#include "monitor/change_detection.h" // IWYU pragma: export
#include "monitor/cycle.h"            // IWYU pragma: export
#include "monitor/snapshot.h"         // IWYU pragma: export
