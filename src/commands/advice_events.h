// What each kind of event means, and what to do.
#pragma once

#include "commands/advice.h"

namespace dravik {

// An entry for each kind of ledger/event_kinds.h, in their order.
AdviceTable eventAdvice();

// What the journal's entry means that stands for incidents which were left out of it.
const Advice &leftOutAdvice();

} // namespace dravik
