// A consistent copy of the ledger for a report, and a copy of that copy without names.
//
// Nothing of what is left out stays in a file: the second copy is written anew, row by row.
#pragma once

#include <cstdint>
#include <string>

#include "commands/report_redaction.h"

namespace dravik {

// Copies the ledger, whatever its version and while others write it, into the new file `to` by SQLite's backup interface.
// A sentence for people when that fails, be it that it is locked for longer than five seconds, damaged, or that `seconds` do not
// suffice; empty when it is done. Throws std::bad_alloc.
std::string backUpLedger(const std::string &to, unsigned int seconds);

struct LedgerRewriting {
    std::string problem; // a sentence for people; empty when it is done
    int64_t events_left_out = 0;
};

// Writes every table of the database `from` into the new file `to`, texts as `redactor` gives them where it is not null, and of
// the table of events only the newest, so that the file has no more than `limit` bytes.
LedgerRewriting rewriteLedger(const std::string &from, const std::string &to, Redactor *redactor,
                              uint64_t limit, unsigned int seconds);

} // namespace dravik
