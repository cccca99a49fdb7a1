// An observation that a command makes itself, where the ledger's last one is too old.
#pragma once

#include "commands/ledger_view.h"

namespace dravik {

// Looks at the host as the monitor does, and judges what is seen against what `*view` knows (readWholeLedger), which becomes
// the result; nothing is written. The multipath tool has TOOL_DEADLINE_SECONDS. Where nothing could be observed the view keeps
// its volumes and stays stale, and its observation says why.
void observeNow(LedgerView *view);

} // namespace dravik
