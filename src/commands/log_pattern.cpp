// Holding lines against patterns.
#include "commands/log_pattern.h"

#include <algorithm>

namespace dravik {

namespace {

constexpr std::string_view GAP = "...";
constexpr std::string_view DIGITS = "0123456789";
constexpr std::string_view STAMP_CHARACTERS = "0123456789-:. ";
constexpr std::string_view RAN = " ran [";
constexpr std::string_view COMMAND_END = "]: ";
constexpr std::string_view CUT_COMMAND_END = "...]: ";
constexpr std::string_view INTERRUPTED = "interrupted by signal ";
// The log never cuts inside "\xHH", so that a cut line may lack up to three of its 1023 characters.
constexpr size_t CUT_FROM = 1020;

bool startsWith(std::string_view text, std::string_view beginning) {
    return text.substr(0, beginning.size()) == beginning;
}

std::string_view withoutBlanks(std::string_view text) {
    text.remove_prefix(std::min(text.find_first_not_of(' '), text.size()));
    return text;
}

std::string_view withoutStamp(std::string_view line) {
    const size_t end = startsWith(line, "[") ? line.find(']') : std::string_view::npos;
    const bool is_stamp =
        end != std::string_view::npos && end > 1 &&
        line.substr(1, end - 1).find_first_not_of(STAMP_CHARACTERS) == std::string_view::npos;
    return is_stamp ? withoutBlanks(line.substr(end + 1)) : line;
}

// Cuts the first word and the blanks behind it off.
std::string_view takeWord(std::string_view *rest) {
    const std::string_view word = rest->substr(0, rest->find(' '));
    *rest = withoutBlanks(rest->substr(word.size()));
    return word;
}

bool isLevel(std::string_view word) {
    return word == "ERROR" || word == "INFO" || word == "DEBUG" || startsWith(word, "LEVEL[");
}

// Where the brackets around a command line close: behind its last word, of which one in quotes may hold anything. Of a
// long command line the audit shows the beginning, with dots at the end, and so perhaps half of such a word.
size_t commandEnd(std::string_view command) {
    bool in_quotes = false;
    for (size_t i = 0; i < command.size(); ++i) {
        if (in_quotes && command[i] == '\\') {
            ++i;
        } else if (command[i] == '"') {
            in_quotes = !in_quotes;
        } else if (!in_quotes && startsWith(command.substr(i), COMMAND_END)) {
            return i;
        }
    }
    const size_t dots = command.rfind(CUT_COMMAND_END);
    return dots == std::string_view::npos ? dots : dots + CUT_COMMAND_END.size() - COMMAND_END.size();
}

} // namespace

bool isOfPattern(std::string_view message, std::string_view pattern) {
    size_t gap = pattern.find(GAP);
    if (gap == std::string_view::npos) {
        return message == pattern;
    }
    if (!startsWith(message, pattern.substr(0, gap))) {
        return false;
    }
    message.remove_prefix(gap);
    pattern.remove_prefix(gap + GAP.size());
    for (gap = pattern.find(GAP); gap != std::string_view::npos; gap = pattern.find(GAP)) {
        const size_t place = message.find(pattern.substr(0, gap));
        if (place == std::string_view::npos) {
            return false;
        }
        message.remove_prefix(place + gap);
        pattern.remove_prefix(gap + GAP.size());
    }
    return message.size() >= pattern.size() && message.substr(message.size() - pattern.size()) == pattern;
}

size_t begunLength(std::string_view message, std::string_view pattern) {
    size_t gap = std::min(pattern.find(GAP), pattern.size());
    if (!startsWith(message, pattern.substr(0, gap))) {
        return 0;
    }
    size_t length = gap;
    message.remove_prefix(gap);
    while (gap > 0 && gap < pattern.size()) {
        pattern.remove_prefix(gap + GAP.size());
        gap = std::min(pattern.find(GAP), pattern.size());
        const size_t place = message.find(pattern.substr(0, gap));
        if (place == std::string_view::npos) {
            break;
        }
        length += gap;
        message.remove_prefix(place + gap);
    }
    return length;
}

size_t fixedLength(std::string_view pattern) {
    size_t length = pattern.size();
    for (size_t gap = pattern.find(GAP); gap != std::string_view::npos;
         gap = pattern.find(GAP, gap + GAP.size())) {
        length -= GAP.size();
    }
    return length;
}

std::string_view messageOf(std::string_view line) {
    const std::string_view message = withoutStamp(withoutBlanks(line));
    std::string_view rest = message;
    if (!isLevel(takeWord(&rest))) {
        return message;
    }
    const std::string_view function = takeWord(&rest);
    const std::string_view number = takeWord(&rest);
    const bool is_head =
        !function.empty() && !number.empty() && number.find_first_not_of(DIGITS) == std::string_view::npos;
    return is_head ? rest : message;
}

bool mayBeCut(std::string_view line) {
    return line.size() >= CUT_FROM;
}

std::string_view auditedResult(std::string_view message) {
    const size_t ran = startsWith(message, "user ") ? message.find(RAN) : std::string_view::npos;
    if (ran == std::string_view::npos) {
        return "";
    }
    const std::string_view command = message.substr(ran + RAN.size());
    const size_t end = commandEnd(command);
    if (end == std::string_view::npos) {
        return "";
    }
    std::string_view result = command.substr(end + COMMAND_END.size());
    if (startsWith(result, INTERRUPTED)) {
        result.remove_prefix(std::min(result.find(", "), result.size() - 2) + 2);
    }
    return result;
}

} // namespace dravik
