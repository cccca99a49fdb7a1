// The list of the headers of the administration tool's front: command table, help, parameters.
#pragma once

#include "cli/command_table.h"          // IWYU pragma: export
#include "cli/help.h"                   // IWYU pragma: export
#include "cli/parameter_checks.h"       // IWYU pragma: export
#include "commands/parameter_buffers.h" // IWYU pragma: export
#include "commands/path_selectors.h"    // IWYU pragma: export
#include "common/character_tests.h"     // IWYU pragma: export
