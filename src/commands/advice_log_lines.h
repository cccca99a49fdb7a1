// What each line of the command log means, and what to do.
#pragma once

#include "commands/advice.h"

namespace dravik {

// An entry for every text of the command log but those that show while debugging; several texts may share one.
AdviceTable logLineAdvice();

} // namespace dravik
