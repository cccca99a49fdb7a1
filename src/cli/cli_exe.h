// The face of the administration commands and of the topology they work on.
#pragma once

#include "cli/alias.h"       // IWYU pragma: export
#include "cli/conf_file.h"   // IWYU pragma: export
#include "cli/deletion.h"    // IWYU pragma: export
#include "cli/devstats.h"    // IWYU pragma: export
#include "cli/display.h"     // IWYU pragma: export
#include "cli/host_os.h"     // IWYU pragma: export
#include "cli/listing.h"     // IWYU pragma: export
#include "cli/path_policy.h" // IWYU pragma: export
#include "cli/path_state.h"  // IWYU pragma: export
#include "cli/port.h"        // IWYU pragma: export
#include "cli/rescan.h"      // IWYU pragma: export
#include "cli/service.h"     // IWYU pragma: export
#include "cli/target_port.h" // IWYU pragma: export
#include "cli/task.h"        // IWYU pragma: export
#include "cli/tools.h"       // IWYU pragma: export
#include "cli/topology.h"    // IWYU pragma: export
