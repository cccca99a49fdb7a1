// The face of the administration tool's front: command table, parameters, dispatch.
#pragma once

#include "cli/params.h" // IWYU pragma: export
