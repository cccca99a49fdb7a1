// A point in time as it is typed.
#pragma once

#include <optional>
#include <string_view>

#include "ledger/records.h"

namespace dravik {

// The time that `word` means at `now`; nothing for a word that means none.
//   2026-11-21, 2026-11-21T03:12, 2026-11-21T03:12:41.047   local time (ISO 8601; a blank may stand for the T), or that of
//                                                           a zone behind it: Z, +01:00, +0100, +01
//   03:12, 03:12:41                                         the last time that the clock showed this
//   90s, 90m, 2h, 2d, 1w                                    so long ago
std::optional<Milliseconds> parseTimeWord(std::string_view word, Milliseconds now);

} // namespace dravik
