// events: what happened, from the ledger.
#pragma once

#include "commands/own_command.h"

namespace dravik {

// dravik events [--since TIME] [--volume VOLUME] [--path PATH] [--incident N] [--all] [--follow] [--json]
//
// Newest last; a line an incident, with --all a line an event; JSON has every event. TIME as in time_word.h, VOLUME as in
// volume_lookup.h, volumes that are gone included; PATH is a path's kernel name or its address, as it was then. With
// --follow it goes on with what comes, until it is ended; JSON is then a document a line, each with the events that were written
// together. Exit status 0 where there were any, 2 where there were none, 1 without a ledger or for a line that cannot be understood.
int events(const OwnCall &call);

} // namespace dravik
