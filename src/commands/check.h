// check: the verdict over all volumes or one, from the ledger alone.
#pragma once

#include <string>

#include "commands/own_command.h"
#include "commands/verdict_text.h"

namespace dravik {

// dravik check [VOLUME] [--json]
//
// Prints a line that monitoring systems read, and a line for each volume that is not ok, the worst first; a volume that was
// named gets its line whatever its state. Exit status 0 ok, 1 degraded, 2 last path or none, 3 unknown: nothing observed for
// more than 60 s, no ledger, a volume that the ledger does not know, or a line that cannot be understood.
int check(const OwnCall &call);

// What it prints for people, a line each. `one` is the volume that was asked for, null for all: it is shown in any state.
std::string checkText(const LedgerView &view, const Verdict &verdict, const KnownVolume *one);

} // namespace dravik
