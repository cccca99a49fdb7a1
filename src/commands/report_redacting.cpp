// What of a report can be redacted.
#include "commands/report_redacting.h"

#include "commands/report_collection.h"
#include "commands/report_folder.h"
#include "commands/report_secrets.h"
#include "ledger/schema.h"

namespace dravik {

namespace {

constexpr unsigned int LEARNING_SECONDS = 60;
constexpr unsigned int REDACTING_SECONDS = 120;

void leaveOut(ReportItem *item, const std::string &why) {
    item->is_there = false;
    item->text = std::string();
    item->left_out = 0;
    item->problem = why;
}

void leaveOutUnknown(std::vector<ReportItem> *items) {
    const ReportItem *ledger = findItem(*items, LEDGER_ITEM);
    const bool is_ledger_known = ledger != nullptr && ledger->is_there;
    for (ReportItem &item : *items) {
        if (!item.is_there) {
            continue;
        }
        if (item.is_from_ledger && !is_ledger_known) {
            leaveOut(&item, "its names are those of the ledger, which are not known: it cannot be redacted");
        } else if (item.is_whole != nullptr && !item.is_whole(item.text)) {
            leaveOut(&item,
                     "it is damaged or too large, and not all of its names are known: it cannot be redacted");
        }
    }
}

} // namespace

std::string learnCopy(const char *copy, Redactor *redactor) {
    try {
        Database ledger(copy, SQLITE_OPEN_READONLY, 0);
        const int version = versionOf(&ledger);
        if (version > ledgerVersion()) {
            return "it has been written by a newer dravik (its version " + std::to_string(version) +
                   ", known here " + std::to_string(ledgerVersion()) +
                   "), and its names are not known: it cannot be redacted";
        }
        learnLedger(redactor, &ledger);
        return "";
    } catch (const SqliteError &error) {
        return std::string("its names cannot be read (") + error.what() + "): it cannot be redacted";
    }
}

void learnItems(std::vector<ReportItem> *items, Redactor *redactor) {
    redactor->limitTime(LEARNING_SECONDS);
    try {
        for (const ReportItem &item : *items) {
            redactor->checkTime();
            if (item.is_there && item.learn != nullptr) {
                item.learn(redactor, item.text);
            }
        }
    } catch (const RedactionOverrun &) {
        throw ReportFailure("the names could not be learnt within " + std::to_string(LEARNING_SECONDS) +
                            " seconds: try again when the host has less to do");
    }
    leaveOutUnknown(items);
    redactor->limitTime(REDACTING_SECONDS);
}

void redactItems(std::vector<ReportItem> *items, Redactor *redactor) {
    redactor->limitTime(REDACTING_SECONDS);
    for (ReportItem &item : *items) {
        checkInterruption();
        if (item.is_there && item.name != LEDGER_ITEM) {
            try {
                item.text = redactor->text(item.text);
                cutItem(&item); // tokens may be longer than what they stand for
            } catch (const RedactionOverrun &) {
                leaveOut(&item, "it took too long to redact");
            }
        }
        item.problem = redactor->text(item.problem);
    }
}

void redactSentences(std::vector<std::string> *sentences, Redactor *redactor) {
    for (std::string &sentence : *sentences) {
        sentence = redactor->text(sentence);
    }
}

} // namespace dravik
