// Names by the words before them. A place costs a few hundred bytes at most, however long its line is.
#include "commands/report_log_secrets.h"

#include <algorithm>
#include <string_view>

#include "commands/report_names.h"

namespace dravik {

namespace {

// What begins and ends a name in a line.
struct Marker {
    std::string_view before;
    std::string_view ends; // any of these characters, or the end of the line
    Secret kind;
    std::string_view between; // what stands between it and a second name, "" where there is none
};

constexpr Marker MARKERS[] = {
    {"path_alias: ", ",]", Secret::ALIAS, ""},
    {"path alias is changed from [", "]", Secret::ALIAS, "] to ["},
    {"lun wwid is changed from [", "]", Secret::WWID, "] to ["},
    {"-alias ", " ]", Secret::ALIAS, ""},
    {"-path_alias ", " ]", Secret::ALIAS, ""},
    {"This device [", "]", Secret::ALIAS, ""},
    {"This path_alias [", "]", Secret::ALIAS, ""},
    {"wwid: ", ", ]", Secret::WWID, ""},
    {"-wwid ", " ]", Secret::WWID, ""},
    {"vdisk name change from (", ")", Secret::VDISK, ") to ("},
    {"audit user ", " ", Secret::USER, ""},
    {": user ", " ", Secret::USER, ""},
    {"(login ", ")", Secret::USER, ""},
};

// The commands whose words without a dash name volumes.
constexpr std::string_view COMMANDS[] = {"dravik delete ", "dravik baseline accept "};

void learnFound(Redactor *redactor, Secret kind, std::string_view name) {
    if (name != "NULL") { // as the logs write that there is none
        learnName(redactor, kind, std::string(name));
    }
}

// The name or the two names at `begin`; the place where the last one ends.
size_t learnMarked(Redactor *redactor, const Marker &marker, std::string_view line, size_t begin) {
    constexpr size_t WINDOW = 300; // the longest name that is known as a whole, and what follows it
    const auto end_behind = [&](size_t from) {
        return std::min(line.find_first_of(marker.ends, from), line.size());
    };
    const size_t between =
        marker.between.empty() ? std::string_view::npos : line.substr(begin, WINDOW).find(marker.between);
    if (between == std::string_view::npos) {
        learnFound(redactor, marker.kind, line.substr(begin, end_behind(begin) - begin));
        return end_behind(begin);
    }
    const size_t second = begin + between + marker.between.size();
    learnFound(redactor, marker.kind, line.substr(begin, between));
    learnFound(redactor, marker.kind, line.substr(second, end_behind(second) - second));
    return end_behind(second);
}

// INFO  audit 93 user alice ran
void learnAuditUser(Redactor *redactor, std::string_view line) {
    constexpr std::string_view AUDIT = " audit ";
    constexpr std::string_view USER = " user ";
    const size_t audit = line.find(AUDIT);
    if (audit == std::string_view::npos) {
        return;
    }
    const size_t number_end = line.find_first_not_of("0123456789", audit + AUDIT.size());
    if (number_end != std::string_view::npos && line.substr(number_end, USER.size()) == USER) {
        const size_t begin = number_end + USER.size();
        learnFound(redactor, Secret::USER,
                   line.substr(begin, std::min(line.find(' ', begin), line.size()) - begin));
    }
}

// [dravik delete mpatha]
void learnOperands(Redactor *redactor, std::string_view line) {
    for (const std::string_view command : COMMANDS) {
        const size_t at = line.find(command);
        if (at == std::string_view::npos) {
            continue;
        }
        std::string_view words = line.substr(at + command.size());
        words = words.substr(0, words.find(']'));
        while (!words.empty()) {
            const std::string_view word = words.substr(0, words.find_first_of(" \""));
            words.remove_prefix(std::min(word.size() + 1, words.size()));
            if (!word.empty() && word.front() != '-') {
                learnFound(redactor, Secret::ALIAS, word);
            }
        }
    }
}

void learnLine(Redactor *redactor, std::string_view line) {
    learnAuditUser(redactor, line);
    for (const Marker &marker : MARKERS) {
        for (size_t at = line.find(marker.before); at != std::string_view::npos;) {
            at = line.find(marker.before, learnMarked(redactor, marker, line, at + marker.before.size()));
        }
    }
    learnOperands(redactor, line);
}

} // namespace

void learnLog(Redactor *redactor, const std::string &text) {
    forEachLine(redactor, text, [redactor](std::string_view line) { learnLine(redactor, line); });
}

} // namespace dravik
