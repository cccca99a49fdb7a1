// The face of the administration commands and of the topology they work on.
#pragma once

#include "commands/conf_file.h"      // IWYU pragma: export
#include "commands/delete.h"         // IWYU pragma: export
#include "commands/devstats.h"       // IWYU pragma: export
#include "commands/port.h"           // IWYU pragma: export
#include "commands/query.h"          // IWYU pragma: export
#include "commands/refresh.h"        // IWYU pragma: export
#include "commands/service.h"        // IWYU pragma: export
#include "commands/setalias.h"       // IWYU pragma: export
#include "commands/setpathpolicy.h"  // IWYU pragma: export
#include "commands/setstate.h"       // IWYU pragma: export
#include "host/host_os.h"            // IWYU pragma: export
#include "host/task.h"               // IWYU pragma: export
#include "host/tool_names.h"         // IWYU pragma: export
#include "topology/listing.h"        // IWYU pragma: export
#include "topology/target_port.h"    // IWYU pragma: export
#include "topology/topology_query.h" // IWYU pragma: export
