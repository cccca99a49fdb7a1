// The face of the administration tool's front: command table, dispatch, parameters.
#pragma once

#include "cli/command_table.h"    // IWYU pragma: export
#include "cli/dispatch.h"         // IWYU pragma: export
#include "cli/parameter_checks.h" // IWYU pragma: export
