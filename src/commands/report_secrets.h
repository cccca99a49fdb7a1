// Learning the names of a site from what a report has collected, before any of it is redacted (report_redaction.h).
#pragma once

#include <string>

#include "commands/report_redaction.h"
#include "ledger/sqlite.h"

namespace dravik {

// The host's name, with its short form and its domain. All names with one short form are of one host.
void learnHost(Redactor *redactor, const std::string &host);

// Every alias, WWID and user in the ledger's tables. Throws SqliteError.
void learnLedger(Redactor *redactor, Database *ledger);

// Behind "alias" and "wwid" in a configuration, with quotes or without; of a pattern with the digits of a WWID, the whole of
// it. The volumes of the multipath tool's listing.
void learnConfiguration(Redactor *redactor, const std::string &text);
void learnListing(Redactor *redactor, const std::string &text);

// The snapshot: an alias begins each line. The name cache: WWIDs and virtual-disk names, as written there and as JSON writes
// them, also of one that is damaged. The NVMe view: serial numbers.
void learnSnapshot(Redactor *redactor, const std::string &text);
void learnNameCache(Redactor *redactor, const std::string &text);
void learnSerials(Redactor *redactor, const std::string &text);

// Whether `text` is the whole of a name cache, so that no name in it has been missed.
bool isWholeNameCache(const std::string &text);

// The kernel's view of the paths: disks that stay what they are, be an alias spelled so or not. Of the maps: the names of all of
// them, aliases of multipath maps and others.
void learnDevices(Redactor *redactor, const std::string &text);
void learnMaps(Redactor *redactor, const std::string &text);

} // namespace dravik
