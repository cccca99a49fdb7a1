// What each result record means, and what to do.
#pragma once

#include "commands/advice.h"

namespace dravik {

// An entry for each of EC_RECORDS, by the record's name, in their order.
AdviceTable recordAdvice();

} // namespace dravik
