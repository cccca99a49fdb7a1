// The exit statuses of the programs.
#pragma once

namespace dravik {

constexpr int EXIT_DONE = 0;
// The command failed: its printed record tells how. Also `devstats` with an interval that is none.
constexpr int EXIT_FAILED = 1;

// ---- `devstats` alone, from the start of sampling on

constexpr int EXIT_NO_DISKS = 2;  // "Cannot find disk data" on standard error
constexpr int EXIT_NO_MEMORY = 4; // the system's reason on standard error
constexpr int EXIT_NO_OUTPUT =
    6; // standard output cannot be written to; the system's reason on standard error

} // namespace dravik
