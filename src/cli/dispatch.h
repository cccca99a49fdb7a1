// From a command's name to its handler.
#pragma once

#include "common/result.h"

// Runs the command `argv[1]`, whose parameters `checkCliParams` has accepted and left in the parameter buffers
// (params.h); `argc` and `argv` are the same as there. Returns the handler's record, or EC_invalid_cli_name
// with the name. The service commands `mkconfig`, `lsselfstart` and `setselfstart` are accepted here, though
// `checkCliNames` rejects them.
// Prints nothing of its own but a word of patience before `scan`; the record is the caller's to print.
s_ecItems *exeCli(int argc, const char *const *argv);
