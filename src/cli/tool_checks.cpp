// The tool's own checks of a command line.
#include "cli/tool_checks.h"

#include <algorithm>
#include <string_view>

#include "commands/parameter_buffers.h"
#include "common/plain_word.h"

namespace {

constexpr std::string_view CHANGING_COMMANDS[] = {
    "config", "mkconfig", "setpathpolicy", "setalias", "delalias", "setstate", "delete",
    "scan",   "refresh",  "aggregation",   "start",    "stop",     "restart",  "setselfstart"};
constexpr std::string_view SERVICE_COMMANDS[] = {"mkconfig", "lsselfstart", "setselfstart"};

template <size_t N> bool isOneOf(const char *name, const std::string_view (&names)[N]) {
    return std::find(std::begin(names), std::end(names), name) != std::end(names);
}

s_ecItems *checkWwidForShell() {
    return isPlainWwid(gParamWwidVal) ? &EC_ok : &EC_wwid_format_error;
}

s_ecItems *checkInterval() {
    if (gParamIntervalVal[0] == '\0') {
        return &EC_miss_interval;
    }
    const unsigned long long seconds = intervalSeconds();
    return seconds == 0 || seconds > MAX_STAT_INTERVAL ? &EC_interval_format_error : &EC_ok;
}

} // namespace

bool changesHost(const char *name) {
    return isOneOf(name, CHANGING_COMMANDS);
}

s_ecItems *checkServiceName(const char *name) {
    if (isOneOf(name, SERVICE_COMMANDS)) {
        return &EC_ok;
    }
    initEcItems1(&EC_invalid_cli_name, name);
    return &EC_invalid_cli_name;
}

s_ecItems *checkBeforeRun(const char *name) {
    if (std::string_view("delalias") == name) {
        return checkWwidForShell();
    }
    return std::string_view("devstats") == name ? checkInterval() : &EC_ok;
}

unsigned long long intervalSeconds() {
    unsigned long long seconds = 0;
    for (const char *digit = gParamIntervalVal; *digit >= '0' && *digit <= '9'; ++digit) {
        seconds = std::min(seconds * 10 + static_cast<unsigned int>(*digit - '0'), MAX_STAT_INTERVAL + 1ULL);
    }
    return seconds;
}
