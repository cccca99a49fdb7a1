// Writing the catalog.
#include "commands/advice_catalog.h"

#include <cstring>
#include <vector>

#include "commands/advice.h"
#include "commands/advice_events.h"
#include "ledger/message_ids.h"
#include "output/table.h"

namespace dravik {

namespace {

constexpr char HEAD[] = "# What the entries of dravik-monitor in the journal mean: journalctl -x\n"
                        "# Printed by the program; change the texts in its source.\n";

void replaceAll(std::string *text, const std::string &word, const std::string &by) {
    for (size_t place = text->find(word); place != std::string::npos;
         place = text->find(word, place + by.size())) {
        text->replace(place, word.size(), by);
    }
}

// The text with the fields of the entry in the place of what they stand for.
std::string withFields(std::string text) {
    replaceAll(&text, "VOLUME", "@DRAVIK_VOLUME@");
    replaceAll(&text, "PATH", "@DRAVIK_PATH@");
    return text;
}

std::string withoutStop(std::string sentence) {
    if (!sentence.empty() && sentence.back() == '.') {
        sentence.pop_back();
    }
    return sentence;
}

std::string entryText(const char *id, const Advice &advice) {
    std::string text = std::string("\n-- ") + id + "\nSubject: " + withoutStop(withQuotes(advice.meaning)) +
                       "\nDefined-By: Dravik\nDocumentation: man:dravik(8)\n\n";
    text += "What to look at:\n";
    for (const std::string &command : commandsOf(advice)) {
        text += "    " + withFields(command) + "\n";
    }
    return text + "\n" + wrapLines(withFields(withQuotes(advice.cure)), TABLE_WIDTH) + "\n";
}

const Advice *adviceOn(const char *kind) {
    for (const Advice &advice : eventAdvice()) {
        if (strcmp(advice.keys, kind) == 0) {
            return &advice;
        }
    }
    return nullptr;
}

} // namespace

std::string catalogText() {
    std::string text = HEAD;
    for (const MessageId &message : MESSAGE_IDS) {
        const Advice *advice = adviceOn(message.kind);
        text += advice == nullptr ? "" : entryText(message.id, *advice);
    }
    return text + entryText(LEFT_OUT_MESSAGE_ID, leftOutAdvice());
}

} // namespace dravik
