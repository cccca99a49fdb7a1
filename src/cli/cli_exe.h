// The list of the headers of the administration commands, of what they run on the host, and of the topology they
// work on.
#pragma once

#include "commands/aggregation.h"    // IWYU pragma: export
#include "commands/conf_backup.h"    // IWYU pragma: export
#include "commands/config.h"         // IWYU pragma: export
#include "commands/delalias.h"       // IWYU pragma: export
#include "commands/delete.h"         // IWYU pragma: export
#include "commands/device_removal.h" // IWYU pragma: export
#include "commands/devstats.h"       // IWYU pragma: export
#include "commands/lsalias.h"        // IWYU pragma: export
#include "commands/lspathpolicy.h"   // IWYU pragma: export
#include "commands/lsselfstart.h"    // IWYU pragma: export
#include "commands/mkconfig.h"       // IWYU pragma: export
#include "commands/policy_scripts.h" // IWYU pragma: export
#include "commands/port.h"           // IWYU pragma: export
#include "commands/query.h"          // IWYU pragma: export
#include "commands/refresh.h"        // IWYU pragma: export
#include "commands/restart.h"        // IWYU pragma: export
#include "commands/scan.h"           // IWYU pragma: export
#include "commands/service.h"        // IWYU pragma: export
#include "commands/setalias.h"       // IWYU pragma: export
#include "commands/setpathpolicy.h"  // IWYU pragma: export
#include "commands/setselfstart.h"   // IWYU pragma: export
#include "commands/setstate.h"       // IWYU pragma: export
#include "commands/start.h"          // IWYU pragma: export
#include "commands/status.h"         // IWYU pragma: export
#include "commands/stop.h"           // IWYU pragma: export
#include "commands/vendor_block.h"   // IWYU pragma: export
#include "commands/version.h"        // IWYU pragma: export
#include "host/command_output.h"     // IWYU pragma: export
#include "host/host_os.h"            // IWYU pragma: export
#include "host/shell_command.h"      // IWYU pragma: export
#include "host/task.h"               // IWYU pragma: export
#include "host/timed_task.h"         // IWYU pragma: export
#include "host/tool_names.h"         // IWYU pragma: export
#include "topology/listing.h"        // IWYU pragma: export
#include "topology/target_port.h"    // IWYU pragma: export
#include "topology/topology_query.h" // IWYU pragma: export
