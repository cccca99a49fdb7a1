// explain: what a result, an event, an alert or a line of a log means, and what to do.
#pragma once

#include "commands/own_command.h"

namespace dravik {

// dravik explain CODE|WORDS | - | --list [--json]
//
// Prints what is known of the words, joined with blanks, or of the first line of standard input (advice.h says what they
// may be). "--list" prints every key, a line each: kind, key, meaning, with tabs between. Asks nothing of the host: no root,
// no ledger, no file. Exit status 0 where something is known, otherwise 1, with a sentence on standard error that names what
// is most like it.
//
// For the build of the project, and not told to people: "--catalog" prints the journal's message catalog, "--guide TABLE" a
// table of the operator guide (advice_catalog.h, advice_guide.h).
int explain(const OwnCall &call);

} // namespace dravik
