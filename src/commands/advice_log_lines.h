// What each line of the command log means, and what to do.
#pragma once

#include <string_view>

#include "commands/advice.h"

namespace dravik {

// An entry for every text of the command log, those that show only while debugging included; several texts may share one.
AdviceTable logLineAdvice();

// Whether a value in the text is one of several lines, which the log leaves as they are: what a file holds. (What a tool
// has printed, "Error message: ...", is known by its first line alone.)
bool mayHoldLines(std::string_view text);

} // namespace dravik
