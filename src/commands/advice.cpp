// Looking up advice.
#include "commands/advice.h"

#include <algorithm>
#include <cctype>
#include <cstring>
#include <iterator>
#include <utility>

#include "commands/advice_alerts.h"
#include "commands/advice_changes.h"
#include "commands/advice_events.h"
#include "commands/advice_log_lines.h"
#include "commands/advice_records.h"
#include "commands/log_pattern.h"
#include "commands/own_options.h"
#include "common/nearest_name.h"
#include "common/result.h"

namespace dravik {

namespace {

using Explanations = std::vector<Explanation>;

constexpr size_t MOST_NEAREST = 5;
constexpr size_t LEAST_PART = 3;    // letters that a name must hold to be like them
constexpr size_t LONGEST_CODE = 4;  // digits
constexpr size_t SHORTEST_PART = 8; // characters of a text that stand for it
constexpr size_t MOST_OF_PART = 5;  // texts that a part may stand for
constexpr char ERROR_HEAD[] = "Error(";
constexpr char SUCCESS[] = "Command executed successfully.";

// ---- the tables as one

struct Record {
    int code;
    const char *name;
    const char *message;
};

#define EC_ROW(code, name, message) {code, #name, message},
constexpr Record RECORDS[] = {EC_RECORDS(EC_ROW)};
#undef EC_ROW

std::vector<std::string> linesOf(std::string_view text) {
    std::vector<std::string> lines;
    while (!text.empty()) {
        const std::string_view line = text.substr(0, text.find('\n'));
        lines.emplace_back(line);
        text.remove_prefix(std::min(line.size() + 1, text.size()));
    }
    return lines;
}

// A record's message as a pattern.
std::string patternOf(std::string message) {
    for (size_t place = message.find("%s"); place != std::string::npos; place = message.find("%s", place)) {
        message.replace(place, 2, "...");
    }
    return message;
}

void addRecords(Explanations *all) {
    const AdviceTable table = recordAdvice();
    for (const Record &record : RECORDS) {
        const Advice *advice = std::find_if(table.begin(), table.end(), [&record](const Advice &entry) {
            return strcmp(entry.keys, record.name) == 0;
        });
        if (advice != table.end()) {
            all->push_back({AdviceKind::RECORD, advice, record.name, record.code, patternOf(record.message)});
        }
    }
}

void addTable(AdviceKind kind, AdviceTable table, Explanations *all) {
    for (const Advice &advice : table) {
        for (const std::string &key : linesOf(advice.keys)) {
            all->push_back({kind, &advice, key, -1, ""});
        }
    }
}

template <typename Wanted> Explanations filtered(const Explanations &all, const Wanted &wanted) {
    Explanations found;
    std::copy_if(all.begin(), all.end(), std::back_inserter(found), wanted);
    return found;
}

bool isLogLine(const Explanation &explanation) {
    return explanation.kind == AdviceKind::CHANGE_LINE || explanation.kind == AdviceKind::LOG_LINE;
}

// ---- results

// The code that digits at the beginning of the text are; -1 for none. `*length` receives how many they are.
int leadingCode(std::string_view text, size_t *length) {
    *length = std::min(text.find_first_not_of("0123456789"), text.size());
    return *length == 0 || *length > LONGEST_CODE
               ? -1
               : static_cast<int>(positiveNumber(std::string(text.substr(0, *length))));
}

Explanations recordsOfCode(const Explanations &all, int code) {
    return filtered(all, [code](const Explanation &entry) { return entry.code == code && code >= 0; });
}

// The records that "Error(0115): MESSAGE" at the beginning of the text may be; those of the code where nobody's message is
// there, as in a line that goes on behind it.
Explanations printedRecords(const Explanations &all, std::string_view text) {
    text.remove_prefix(strlen(ERROR_HEAD));
    size_t digits = 0;
    const int code = leadingCode(text, &digits);
    if (text.substr(digits, 1) != ")") {
        return {};
    }
    text.remove_prefix(digits + 1);
    text.remove_prefix(std::min(text.find_first_not_of(": "), text.size()));
    const Explanations of_code = recordsOfCode(all, code);
    // The monitor's error lines bring a full stop of their own.
    Explanations exact = filtered(of_code, [text](const Explanation &entry) {
        return isOfPattern(text, entry.text) || isOfPattern(text, entry.text + ".");
    });
    return exact.empty() ? of_code : exact;
}

Explanations findRecords(const Explanations &all, std::string_view asked) {
    if (asked.substr(0, strlen(ERROR_HEAD)) == ERROR_HEAD) {
        return printedRecords(all, asked);
    }
    size_t digits = 0;
    const int code = leadingCode(asked, &digits);
    if (digits == asked.size()) {
        return recordsOfCode(all, code);
    }
    if (asked == SUCCESS) {
        return recordsOfCode(all, 0);
    }
    return filtered(all, [asked](const Explanation &entry) {
        return entry.kind == AdviceKind::RECORD && isOfPattern(asked, entry.text);
    });
}

// ---- lines of the logs

// How much the text says of a message that is whole, 0 where it is not the message's.
size_t wholeScore(std::string_view message, std::string_view text) {
    // A blank at its end does not outlive every paste.
    return isOfPattern(message, text) || isOfPattern(std::string(message) + " ", text) ? fixedLength(text)
                                                                                       : 0;
}

// How much the text says of a message that the log has cut, 0 where too little of it is there to tell it by.
size_t cutScore(std::string_view message, std::string_view text) {
    constexpr size_t LEAST = 8; // "Ledger: "; "user " begins what is none of ours, too
    const size_t begun = begunLength(message, text);
    return begun >= LEAST ? begun : 0;
}

// The same of the first line of a message that holds what a file or a tool has said in several.
size_t firstLineScore(std::string_view message, std::string_view text) {
    return mayHoldLines(text) ? begunLength(message, text) : 0;
}

using Score = size_t (*)(std::string_view message, std::string_view text);

// The entries of the log lines with the highest score, each once.
Explanations mostSpecific(const Explanations &all, std::string_view message, Score score) {
    Explanations best;
    size_t highest = 1;
    for (const Explanation &entry : all) {
        const size_t reached = isLogLine(entry) ? score(message, entry.key) : 0;
        if (reached > highest) {
            best.clear();
        }
        if (reached >= highest && (best.empty() || best.back().advice != entry.advice)) {
            best.push_back(entry);
        }
        highest = std::max(highest, reached);
    }
    return best;
}

Explanations beginningSo(const Explanations &all, std::string_view line, std::string_view message) {
    const bool has_head = message.size() < line.size();
    Explanations found = mayBeCut(line) ? mostSpecific(all, message, cutScore)
                         : has_head     ? mostSpecific(all, message, firstLineScore)
                                        : Explanations();
    for (Explanation &entry : found) {
        entry.is_certain = false;
    }
    return found;
}

// The records of the result in a message: behind an audited command, or where another message has the first one.
Explanations recordsIn(const Explanations &all, std::string_view message) {
    const std::string_view audited = auditedResult(message);
    const size_t place = audited.empty() ? message.find(ERROR_HEAD) : 0;
    if (place == std::string_view::npos) {
        return {};
    }
    const std::string_view result = audited.empty() ? message.substr(place) : audited;
    return result.substr(0, strlen(ERROR_HEAD)) == ERROR_HEAD ? printedRecords(all, result) : Explanations();
}

Explanations findLogLine(const Explanations &all, std::string_view line) {
    const std::string_view message = messageOf(line);
    Explanations found = mostSpecific(all, message, wholeScore);
    if (found.empty()) {
        found = beginningSo(all, line, message);
    } else {
        found.resize(1); // of two that fit alike, the first in the table
    }
    if (!found.empty()) {
        const Explanations records = recordsIn(all, message);
        found.insert(found.end(), records.begin(), records.end());
    }
    return found;
}

// ---- parts of texts

// The words without the dots and blanks by which people leave something out at both ends.
std::string_view withoutDots(std::string_view words) {
    constexpr std::string_view LEFT_OUT = ". ";
    words.remove_prefix(std::min(words.find_first_not_of(LEFT_OUT), words.size()));
    return words.substr(0, words.find_last_not_of(LEFT_OUT) + 1);
}

// The entries whose text holds the words, each once; none where they are too short, or are part of too many.
Explanations findByPart(const Explanations &all, std::string_view asked) {
    const std::string_view part = withoutDots(messageOf(asked));
    Explanations found;
    for (const Explanation &entry : all) {
        const std::string &text = isLogLine(entry) ? entry.key : entry.text;
        const bool is_new = found.empty() || found.back().advice != entry.advice;
        if (part.size() >= SHORTEST_PART && is_new && text.find(part) != std::string::npos) {
            found.push_back(entry);
            found.back().is_certain = false;
        }
    }
    return found.size() <= MOST_OF_PART ? found : Explanations();
}

// ---- names

std::string lowerCase(std::string_view text) {
    std::string lower(text);
    std::transform(lower.begin(), lower.end(), lower.begin(),
                   [](unsigned char letter) { return static_cast<char>(tolower(letter)); });
    return lower;
}

std::string_view trimmed(std::string_view text) {
    constexpr std::string_view BLANKS = " \t\r\n";
    text.remove_prefix(std::min(text.find_first_not_of(BLANKS), text.size()));
    return text.substr(0, text.find_last_not_of(BLANKS) + 1);
}

} // namespace

const char *adviceKindWord(AdviceKind kind) {
    switch (kind) {
    case AdviceKind::RECORD:
        return "record";
    case AdviceKind::EVENT:
        return "event";
    case AdviceKind::ALERT:
        return "alert";
    case AdviceKind::CHANGE_LINE:
    case AdviceKind::LOG_LINE:
        break;
    }
    return "log_line";
}

std::vector<Explanation> allAdvice() {
    Explanations all;
    addRecords(&all);
    addTable(AdviceKind::EVENT, eventAdvice(), &all);
    addTable(AdviceKind::ALERT, alertAdvice(), &all);
    addTable(AdviceKind::CHANGE_LINE, changeAdvice(), &all);
    addTable(AdviceKind::LOG_LINE, logLineAdvice(), &all);
    return all;
}

std::vector<Explanation> findAdvice(std::string_view asked) {
    const std::string_view words = trimmed(asked);
    if (words.empty()) {
        return {};
    }
    const Explanations all = allAdvice();
    Explanations found = filtered(all, [words](const Explanation &entry) { return words == entry.key; });
    if (found.empty()) {
        found = findRecords(all, words);
    }
    if (found.empty()) {
        found = findLogLine(all, words);
    }
    return found.empty() ? findByPart(all, words) : found;
}

std::vector<std::string> nearestAdvice(std::string_view word) {
    const std::string typed = lowerCase(trimmed(word).substr(0, LONGEST_NAME + MOST_MISTAKES + 1));
    std::vector<std::pair<size_t, std::string>> near;
    for (const Explanation &entry : allAdvice()) {
        const std::string name = lowerCase(entry.key);
        const size_t mistakes = mistakesBetween(typed, name);
        const bool holds = typed.size() >= LEAST_PART && name.find(typed) != std::string::npos;
        if (!isLogLine(entry) && (mistakes <= MOST_MISTAKES || holds)) {
            near.emplace_back(std::min(mistakes, MOST_MISTAKES + 1), entry.key);
        }
    }
    std::stable_sort(near.begin(), near.end(),
                     [](const auto &a, const auto &b) { return a.first < b.first; });
    near.resize(std::min(near.size(), MOST_NEAREST));
    std::vector<std::string> names;
    std::transform(near.begin(), near.end(), std::back_inserter(names),
                   [](const auto &pair) { return pair.second; });
    return names;
}

std::vector<std::string> commandsOf(const Advice &advice) {
    return linesOf(advice.look_at);
}

std::string withQuotes(const char *text) {
    std::string quoted = text;
    std::replace(quoted.begin(), quoted.end(), '`', '"');
    return quoted;
}

} // namespace dravik
