// Times as people read them, in the local time zone.
#pragma once

#include <cstdint>
#include <string>

namespace dravik {

// "2026-11-21 03:12:41" for milliseconds since 1970-01-01 UTC.
std::string localTime(int64_t milliseconds);

// "03:12" for a time of the same day as `now`, else "11-20 03:12", and of another year "2025-11-20".
std::string shortTime(int64_t milliseconds, int64_t now);

// A length of time in the largest unit that still tells something: "75 s", "12 min", "5 h", "3 d".
std::string ageText(int64_t milliseconds);

} // namespace dravik
