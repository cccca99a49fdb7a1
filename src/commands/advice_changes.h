// What each line of the change log means, and what to do.
#pragma once

#include "commands/advice.h"

namespace dravik {

// An entry for each text of the change log.
AdviceTable changeAdvice();

} // namespace dravik
