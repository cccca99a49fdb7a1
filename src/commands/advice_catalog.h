// The journal's message catalog: what `journalctl -x` shows below an entry of the monitor's.
#pragma once

#include <string>

namespace dravik {

// The file systemd/dravik.catalog, in the format of systemd's message catalogs: an entry for each kind of event under its
// MESSAGE_ID, in the order of ledger/message_ids.h, and one for incidents that were left out. VOLUME and PATH in a text stand
// there as the journal's fields.
std::string catalogText();

} // namespace dravik
