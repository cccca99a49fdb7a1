// What a report collects of a host, each item with its source, its limit of bytes, and its limit of time.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "commands/report_sources.h"

namespace dravik {

// The archive is at most 64 MiB even if nothing of it can be compressed: so much is left for its own texts and headers.
constexpr uint64_t REPORT_LIMIT = 64ULL << 20;
constexpr uint64_t REPORT_OWN_BYTES = 1ULL << 20;

// The copy of the ledger, which is made by report_ledger_copy.h.
constexpr char LEDGER_ITEM[] = "dravik.db";
constexpr uint64_t LEDGER_ITEM_LIMIT = 21ULL << 20;

// Collects everything but the ledger's copy, in the order of the archive: the verdict and the last events, versions, services,
// what lies in /dumps, logs, snapshot, name cache, configuration, the multipath tool's listing, the kernel's view, the journal.
// What cannot be had is an item that is not there, with the reason. Throws ReportInterrupted.
std::vector<ReportItem> collectItems();

// The most bytes that all items together may have.
uint64_t itemLimits();

// The item of that name; null when there is none.
const ReportItem *findItem(const std::vector<ReportItem> &items, const std::string &name);

} // namespace dravik
