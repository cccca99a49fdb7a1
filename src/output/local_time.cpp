// Local time as text.
#include "output/local_time.h"

#include <ctime>

namespace dravik {

namespace {

constexpr int64_t SECOND_MS = 1000;
constexpr int64_t MINUTE_MS = 60 * SECOND_MS;
constexpr int64_t HOUR_MS = 60 * MINUTE_MS;
constexpr int64_t DAY_MS = 24 * HOUR_MS;

tm localOf(int64_t milliseconds) {
    const auto seconds = static_cast<time_t>(milliseconds / SECOND_MS);
    tm local = {};
    localtime_r(&seconds, &local);
    return local;
}

std::string formatted(const char *format, const tm &local) {
    char text[64] = "";
    const size_t length = strftime(text, sizeof(text), format, &local);
    return {text, length};
}

} // namespace

std::string localTime(int64_t milliseconds) {
    return formatted("%Y-%m-%d %H:%M:%S", localOf(milliseconds));
}

std::string shortTime(int64_t milliseconds, int64_t now) {
    const tm then = localOf(milliseconds);
    const tm today = localOf(now);
    if (then.tm_year != today.tm_year) {
        return formatted("%Y-%m-%d", then);
    }
    return formatted(then.tm_yday == today.tm_yday ? "%H:%M" : "%m-%d %H:%M", then);
}

std::string ageText(int64_t milliseconds) {
    if (milliseconds < 2 * MINUTE_MS) {
        return std::to_string(milliseconds / SECOND_MS) + " s";
    }
    if (milliseconds < 2 * HOUR_MS) {
        return std::to_string(milliseconds / MINUTE_MS) + " min";
    }
    return milliseconds < 2 * DAY_MS ? std::to_string(milliseconds / HOUR_MS) + " h"
                                     : std::to_string(milliseconds / DAY_MS) + " d";
}

} // namespace dravik
