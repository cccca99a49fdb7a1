// Tables in Markdown.
#include "commands/advice_guide.h"

#include <cstdio>

#include "commands/advice.h"
#include "output/table.h"

namespace dravik {

namespace {

constexpr size_t SECTION_WIDTH = 120;

// What to do, behind it what to look at: "Repair now. Look at `dravik check VOLUME`, `dravik port`".
std::string remedy(const Advice &advice) {
    std::string text = advice.cure;
    const char *before = " *Look at* ";
    for (const std::string &command : commandsOf(advice)) {
        text += before + ("`" + command) + "`";
        before = ", ";
    }
    return text;
}

std::string keyCells(const Explanation &entry) {
    if (entry.kind != AdviceKind::RECORD) {
        return "`" + entry.key + "`";
    }
    char code[16] = "";
    snprintf(code, sizeof(code), "%04d | ", entry.code);
    return code + entry.text;
}

// One row for each entry; texts that share one stand in one cell.
std::string tableOf(AdviceKind kind, const std::string &heading) {
    std::string table = heading;
    const Advice *last = nullptr;
    std::string keys;
    for (const Explanation &entry : allAdvice()) {
        if (entry.kind != kind) {
            continue;
        }
        if (entry.advice == last) {
            keys += "<br>" + keyCells(entry);
            continue;
        }
        table += last == nullptr ? "" : "| " + keys + " | " + last->meaning + " | " + remedy(*last) + " |\n";
        last = entry.advice;
        keys = keyCells(entry);
    }
    return table +
           (last == nullptr ? "" : "| " + keys + " | " + last->meaning + " | " + remedy(*last) + " |\n");
}

// A section for each alert, which the rules name by its heading.
std::string alertSections() {
    std::string sections;
    for (const Explanation &entry : allAdvice()) {
        if (entry.kind == AdviceKind::ALERT) {
            sections += (sections.empty() ? "#### " : "\n#### ") + entry.key + "\n\n" +
                        wrapLines(entry.advice->meaning + (" " + remedy(*entry.advice)), SECTION_WIDTH) +
                        "\n";
        }
    }
    return sections;
}

} // namespace

std::string guideTable(std::string_view name) {
    constexpr char LINES[] = "| The line | It means | What to do |\n|---|---|---|\n";
    if (name == "records") {
        return tableOf(AdviceKind::RECORD, "| Code | Text | It means | What to do |\n|---|---|---|---|\n");
    }
    if (name == "events") {
        return tableOf(AdviceKind::EVENT, "| Kind | It means | What to do |\n|---|---|---|\n");
    }
    if (name == "alerts") {
        return alertSections();
    }
    if (name == "change-log") {
        return tableOf(AdviceKind::CHANGE_LINE, LINES);
    }
    if (name == "command-log") {
        return tableOf(AdviceKind::LOG_LINE, LINES);
    }
    return name == "log-lines" ? guideTable("change-log") + "\n" + guideTable("command-log") : "";
}

} // namespace dravik
