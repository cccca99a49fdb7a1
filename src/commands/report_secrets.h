// Learning the names of a site from what a report has collected, before any of it is redacted (report_redaction.h).
#pragma once

#include <string>

#include "commands/report_redaction.h"
#include "ledger/sqlite.h"

namespace dravik {

// The host's name, with its short form and its domain.
void learnHost(Redactor *redactor, const std::string &host);

// Every alias, WWID and user in the ledger's tables. Throws SqliteError.
void learnLedger(Redactor *redactor, Database *ledger);

// What stands behind the words that name something in logs, listing and configuration: "path_alias: ", "-alias ", "alias ",
// "user " ... ; in a configuration with quotes or without.
void learnLog(Redactor *redactor, const std::string &text);
void learnConfiguration(Redactor *redactor, const std::string &text);
void learnListing(Redactor *redactor, const std::string &text);

// The snapshot: an alias begins each line. The name cache: WWIDs and virtual-disk names, as written there and as JSON writes
// them. The NVMe view: serial numbers.
void learnSnapshot(Redactor *redactor, const std::string &text);
void learnNameCache(Redactor *redactor, const std::string &text);
void learnSerials(Redactor *redactor, const std::string &text);

} // namespace dravik
