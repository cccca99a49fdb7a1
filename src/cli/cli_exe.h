// The face of the administration commands and of the topology they work on.
#pragma once

#include "cli/listing.h"     // IWYU pragma: export
#include "cli/target_port.h" // IWYU pragma: export
#include "cli/task.h"        // IWYU pragma: export
#include "cli/tools.h"       // IWYU pragma: export
#include "cli/topology.h"    // IWYU pragma: export
