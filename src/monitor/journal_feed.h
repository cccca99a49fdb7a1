// The ledger's events on their way into the journal: each incident is one entry.
//
// What has been told is told from the ledger, by the numbers of its events: so commands' operations are told too, and what
// happened while no entry could be sent is told later. A monitor that is killed between sending and marking tells that batch
// once more; nothing is lost.
#pragma once

#include <cstddef>
#include <cstdint>

#include "array/vdisk_names.h"
#include "ledger/sqlite.h"
#include "monitor/journal_sender.h"

namespace dravik {

// More incidents than this are not told at once: the oldest are left out, with one entry that says how many.
constexpr size_t MOST_UNTOLD = 1000;

class JournalFeed {
  public:
    explicit JournalFeed(JournalSender entry_sender) : send(entry_sender) {}

    // Tells what has not been told, an incident's events in memory at a time, and marks it. Where the sender answers LATER
    // the rest waits for the next call. True when something was there to be told. Throws SqliteError, std::bad_alloc.
    bool tell(Database *database);

  private:
    bool leaveOut(size_t incidents, int64_t last);
    bool tellIncident(Database *database, int64_t incident, const VdiskNames &names);

    JournalSender send;
    // The last incident that was sent, of a batch that could not be marked as a whole; 0 for none.
    int64_t sent = 0;
    int64_t sent_newest = 0; // the batch's newest event
};

} // namespace dravik
