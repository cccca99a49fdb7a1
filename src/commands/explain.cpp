// Explaining.
#include "commands/explain.h"

#include <algorithm>
#include <cstdio>
#include <string>
#include <utility>
#include <vector>

#include "commands/advice.h"
#include "commands/advice_catalog.h"
#include "commands/advice_guide.h"
#include "commands/ledger_view.h"
#include "commands/log_pattern.h"
#include "commands/own_options.h"
#include "common/exit_status.h"
#include "output/json.h"
#include "output/table.h"
#include "output/well_formed.h"

namespace dravik {

namespace {

constexpr size_t ANY_NUMBER = static_cast<size_t>(-1);
constexpr size_t MOST_ASKED = 8192; // bytes that are looked at; a log's line has 1023 at most
constexpr size_t MOST_SHOWN = 200;  // characters of what is not known, in the answer

// ---- what is asked

// The first line of standard input, as far as it is looked at.
std::string lineOfInput() {
    std::string line;
    for (int next = getchar(); next != EOF && next != '\n' && line.size() < MOST_ASKED; next = getchar()) {
        line += static_cast<char>(next);
    }
    return line;
}

std::string joined(const std::vector<std::string> &words) {
    std::string text;
    for (const std::string &word : words) {
        text += (text.empty() ? "" : " ") + word.substr(0, MOST_ASKED);
        if (text.size() >= MOST_ASKED) {
            break;
        }
    }
    return text.substr(0, MOST_ASKED);
}

bool isBlank(const std::string &text) {
    return text.find_first_not_of(" \t\r\n") == std::string::npos;
}

// ---- the answer as text

std::string title(const Explanation &found) {
    char code[16] = "";
    switch (found.kind) {
    case AdviceKind::RECORD:
        snprintf(code, sizeof(code), "%04d", found.code);
        return std::string(found.is_certain ? "Result " : "Perhaps result ") + code + ", " + found.key;
    case AdviceKind::EVENT:
        return "Event " + found.key;
    case AdviceKind::ALERT:
        return "Alert " + found.key;
    case AdviceKind::CHANGE_LINE:
        return found.is_certain ? "Line of the change log" : "Perhaps a line of the change log";
    case AdviceKind::LOG_LINE:
        break;
    }
    return found.is_certain ? "Line of the command log" : "Perhaps a line of the command log";
}

// The text, set in and no wider than a screen.
void printParagraph(const std::string &text) {
    constexpr size_t MARGIN = 4;
    std::string wrapped = wrapLines(text, TABLE_WIDTH - MARGIN);
    for (size_t end = wrapped.find('\n'); end != std::string::npos; end = wrapped.find('\n', end + 1)) {
        wrapped.insert(end + 1, std::string(MARGIN, ' '));
    }
    printf("%s%s\n", std::string(MARGIN, ' ').c_str(), wrapped.c_str());
}

void printExplanation(const Explanation &found) {
    printf("%s%s\n", title(found).c_str(), found.is_certain ? "" : " (a part of it fits)");
    if (found.kind == AdviceKind::RECORD) {
        printParagraph(found.text);
    } else if (found.kind == AdviceKind::CHANGE_LINE || found.kind == AdviceKind::LOG_LINE) {
        printParagraph(found.key);
    }
    puts("What it means");
    printParagraph(withQuotes(found.advice->meaning));
    const std::vector<std::string> commands = commandsOf(*found.advice);
    if (!commands.empty()) {
        puts("What to look at");
    }
    for (const std::string &command : commands) {
        printf("    %s\n", command.c_str());
    }
    puts("What usually cures it");
    printParagraph(withQuotes(found.advice->cure));
}

void printAll(const std::vector<Explanation> &found) {
    for (size_t i = 0; i < found.size(); ++i) {
        if (i > 0) {
            puts("");
        }
        printExplanation(found[i]);
    }
}

// ---- the answer as JSON

Json explanationJson(const Explanation &found) {
    Json commands = Json::array();
    for (const std::string &command : commandsOf(*found.advice)) {
        commands.add(Json::text(command));
    }
    Json entry = Json::object();
    entry.set("kind", adviceKindWord(found.kind))
        .set("key", found.key)
        .set("code", found.code < 0 ? Json::null() : Json::number(found.code))
        .set("certain", found.is_certain)
        .set("meaning", withQuotes(found.advice->meaning))
        .set("look_at", std::move(commands))
        .set("cure", withQuotes(found.advice->cure));
    return entry;
}

void printJson(const std::vector<Explanation> &found) {
    Json entries = Json::array();
    for (const Explanation &explanation : found) {
        entries.add(explanationJson(explanation));
    }
    puts(beginDocument("explain").set("entries", std::move(entries)).line().c_str());
}

// ---- the list

void printList(const std::vector<Explanation> &all) {
    for (const Explanation &explanation : all) {
        printf("%s\t%s\t%s\n", adviceKindWord(explanation.kind), explanation.key.c_str(),
               withQuotes(explanation.advice->meaning).c_str());
    }
}

int answer(const std::vector<Explanation> &found, bool json,
           void (*print)(const std::vector<Explanation> &)) {
    if (json) {
        printJson(found);
    } else {
        print(found);
    }
    return EXIT_DONE;
}

// ---- no answer

std::string nothingKnown(const std::string &asked) {
    std::string problem = "nothing is known of \"" + cutEnd(wellFormed(asked), MOST_SHOWN) + "\"";
    const std::vector<std::string> near = nearestAdvice(asked);
    for (size_t i = 0; i < near.size(); ++i) {
        problem += (i == 0 ? "; did you mean " : i + 1 < near.size() ? ", " : " or ") + near[i];
    }
    if (!near.empty()) {
        return problem + "?";
    }
    // What a tool has printed stands in the command log as it came.
    const bool has_head = messageOf(asked).size() < asked.size();
    return problem + (asked.find(' ') == std::string::npos || has_head
                          ? "; \"dravik explain --list\" shows what is known"
                          : "; a line of a log that has no time stamp belongs to the line above it");
}

int explainText(const std::string &asked, bool json) {
    if (isBlank(asked)) {
        return failOwnCommand(
            "explain",
            "say what is to be explained: a code, a name or a line of a log; see \"dravik help "
            "explain\"",
            json, EXIT_FAILED);
    }
    const std::vector<Explanation> found = findAdvice(asked);
    return found.empty() ? failOwnCommand("explain", nothingKnown(asked), json, EXIT_FAILED)
                         : answer(found, json, printAll);
}

int printGuide(const std::string &table) {
    const std::string rows = guideTable(table);
    fputs(rows.c_str(), stdout);
    return rows.empty() ? failOwnCommand("explain", "the guide has no such table", false, EXIT_FAILED)
                        : EXIT_DONE;
}

} // namespace

int explain(const OwnCall &call) {
    const OwnWords words =
        readOwnWords(call, {{"list", false}, {"catalog", false}, {"guide", true}}, ANY_NUMBER);
    const bool json = words.has("json");
    if (!words.problem.empty()) {
        return failOwnCommand("explain", words.problem, json, EXIT_FAILED);
    }
    if (words.has("catalog")) {
        fputs(catalogText().c_str(), stdout);
        return EXIT_DONE;
    }
    if (words.has("guide")) {
        return printGuide(words.value("guide"));
    }
    if (words.has("list")) {
        return words.words.empty() ? answer(allAdvice(), json, printList)
                                   : failOwnCommand("explain", "--list lists everything: leave the words out",
                                                    json, EXIT_FAILED);
    }
    const bool reads_input = words.words.size() == 1 && words.words.front() == "-";
    return explainText(reads_input ? lineOfInput() : joined(words.words), json);
}

} // namespace dravik
