// list: a row for each volume, how it is reached and what is wrong with it.
#pragma once

#include "commands/own_command.h"

namespace dravik {

// dravik list [--bad] [--watch SECONDS] [--json]
//
// A table within 80 columns, from the ledger. Where its last observation is older than 60 s, the command makes one of its
// own, by the same judgement, writes nothing, and says so above the table. Exit status 0; 1 without a ledger, where nothing
// could be observed, or for a line that cannot be understood. With --watch it goes on until it is ended.
int list(const OwnCall &call);

} // namespace dravik
