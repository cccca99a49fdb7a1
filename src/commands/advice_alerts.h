// What each alert means, and what to do.
#pragma once

#include "commands/advice.h"

namespace dravik {

// An entry for each alert of the rules that Dravik brings for Prometheus.
AdviceTable alertAdvice();

} // namespace dravik
