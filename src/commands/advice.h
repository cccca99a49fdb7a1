// What Dravik says means, what to look at, and what usually cures it: one table for `dravik explain`, the journal's message
// catalog and the operator guide.
//
// The entries stand in tables by subject (advice_records.h and the like). In their texts a backtick stands on each side of
// what is typed or shown.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace dravik {

enum class AdviceKind { RECORD, EVENT, ALERT, CHANGE_LINE, LOG_LINE };

struct Advice {
    const char
        *keys; // a record's, event kind's or alert's name; the texts of log lines, one a line (log_pattern.h)
    const char *meaning; // a sentence
    const char *look_at; // commands, one a line; empty where there is nothing to look at
    const char *cure;    // sentences
};

constexpr char NOTHING_TO_DO[] = "Nothing to do.";

struct AdviceTable {
    const Advice *list;
    size_t count;
    const Advice *begin() const {
        return list;
    }
    const Advice *end() const {
        return list + count;
    }
};

// An entry under one of its keys. The entry lives as long as the process.
struct Explanation {
    AdviceKind kind;
    const Advice *advice;
    std::string key;
    int code = -1;    // of a record
    std::string text; // of a record: its message, "..." for each word that is filled in
    // False where there was only a part of its text to tell by.
    bool is_certain = true;
};

// "record", "event", "alert", "log_line" (for both logs).
const char *adviceKindWord(AdviceKind kind);

// Every entry under each of its keys: records in the order of EC_RECORDS, events, alerts, lines of the change log, lines of
// the command log.
std::vector<Explanation> allAdvice();

// What `asked` is about, which may be
//   a record's name or code (115, 0115, Error(0115)), or a result as it is printed: code and message, or the message
//   the name of a kind of event or of an alert
//   a line of either log, with or without what stands before its message; behind the line's own entry that of a result
//   that stands in it. Of one that the log has cut, each entry that begins so, and of the first line of a message that
//   holds text of several lines, that one
//   a part of the text of a result or line, of 8 characters at least, with or without "..." at its ends, where five entries at
//   most have it
// Several records may have one code. Of several texts that a line fits, the one with the most characters of its own counts.
// What merely begins like a line is not it. What is found by a part of its text is not certain. Empty for what is not known.
std::vector<Explanation> findAdvice(std::string_view asked);

// The names that `word` is most like, the nearest first, five at most: those with two mistakes at most, whatever the case,
// and those that hold it.
std::vector<std::string> nearestAdvice(std::string_view word);

// The commands of an entry.
std::vector<std::string> commandsOf(const Advice &advice);

// A text of an entry as it is read where no backticks are: with quotes.
std::string withQuotes(const char *text);

} // namespace dravik
