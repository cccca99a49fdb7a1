// Handing entries to the host's journal.
//
// Built with libsystemd, entries go to the systemd journal, with all their fields; a host on which that does not run, and a
// build without the library, has them in syslog, the message alone (facility daemon). Neither is ever waited for.
#pragma once

#include "monitor/journal_entry.h"

namespace dravik {

enum class Delivery {
    DONE,  // taken; or there is nobody who would ever take it
    LATER, // it cannot be taken now
};

using JournalSender = Delivery (*)(const JournalEntry &);

// Sends the entry to whichever of the two listens.
Delivery sendToJournal(const JournalEntry &entry);

// Who listens at a datagram socket of the file system.
enum class Listener {
    NOBODY,
    GONE, // its socket is there, and nobody holds it: it is being started again
    BUSY, // its queue is full
    READY,
};

Listener listenerAt(const char *path);

} // namespace dravik
