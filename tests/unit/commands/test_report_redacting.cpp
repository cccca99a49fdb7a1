// What of a report is redacted, and what is left out of it.
#include "commands/report_redacting.h"

#include <csignal>

#include "commands/report_collection.h"
#include "commands/report_folder.h"
#include "host/interruption.h"
#include "tests/support/children.h"
#include "tests/support/ledger_on_host.h"

using namespace dravik;

namespace {

ReportItem item(const std::string &name, const std::string &text) {
    ReportItem made;
    made.name = name;
    made.limit = 1 << 20;
    made.is_there = true;
    made.text = text;
    return made;
}

void learnWord(Redactor *redactor, const std::string &text) {
    redactor->learn(Secret::ALIAS, text.substr(0, text.find(' ')));
}

bool isNeverWhole(const std::string & /*text*/) {
    return false;
}

bool isAlwaysWhole(const std::string & /*text*/) {
    return true;
}

class ReportRedacting : public LedgerOnHost {
  protected:
    Redactor redactor;
    std::vector<ReportItem> items;
};

} // namespace

TEST_F(ReportRedacting, WhatOneItemNamesIsReplacedInEveryItemItsProblemAndTheSentences) {
    items = {item("a", "mpatha is first"), item("b", "see mpatha"), item("c", "")};
    items[0].learn = learnWord;
    items[2].is_there = false;
    items[2].problem = "mpatha hangs";
    learnItems(&items, &redactor);
    redactItems(&items, &redactor);
    std::vector<std::string> sentences = {"look at mpatha", "or not"};
    redactSentences(&sentences, &redactor);
    EXPECT_EQ(items[0].text, "alias-1 is first");
    EXPECT_EQ(items[1].text, "see alias-1");
    EXPECT_EQ(items[2].problem, "alias-1 hangs");
    EXPECT_EQ(sentences, (std::vector<std::string>{"look at alias-1", "or not"}));
}

TEST_F(ReportRedacting, AnItemWhoseNamesAreKnownFromAWholeOneAloneIsLeftOutWhenItIsNot) {
    items = {item("torn", "x"), item("whole", "y")};
    items[0].is_whole = isNeverWhole;
    items[0].left_out = 7;
    items[1].is_whole = isAlwaysWhole;
    learnItems(&items, &redactor);
    EXPECT_FALSE(items[0].is_there);
    EXPECT_EQ(items[0].text, "");
    EXPECT_EQ(items[0].left_out, 0U);
    EXPECT_EQ(items[0].problem,
              "it is damaged or too large, and not all of its names are known: it cannot be redacted");
    EXPECT_TRUE(items[1].is_there);
    EXPECT_EQ(items[1].problem, "");
}

TEST_F(ReportRedacting, WhatIsFromTheLedgerIsLeftOutWhereItsCopyIs) {
    for (const bool is_known : {true, false}) {
        items = {item("check.txt", "x"), item(LEDGER_ITEM, ""), item("other", "z")};
        items[0].is_from_ledger = true;
        items[1].is_there = is_known;
        learnItems(&items, &redactor);
        EXPECT_EQ(items[0].is_there, is_known);
        EXPECT_EQ(items[0].problem,
                  is_known ? ""
                           : "its names are those of the ledger, which are not known: it cannot be redacted");
        EXPECT_TRUE(items[2].is_there);
    }
}

TEST_F(ReportRedacting, AnItemThatHasGrownByItsTokensIsCutToItsLimit) {
    items = {item("a", "vol is\nvol is\n")};
    items[0].limit = 14;
    items[0].learn = learnWord;
    learnItems(&items, &redactor);
    redactItems(&items, &redactor);
    EXPECT_EQ(items[0].text, "alias-1 is\n");
    EXPECT_EQ(items[0].left_out, 11U);
}

TEST_F(ReportRedacting, ALedgersNamesAreLearntFromItsCopy) {
    observe({okVolume("database")}, NOW - 10000);
    EXPECT_EQ(learnCopy(host.dumps.path("dravik.db").c_str(), &redactor), "");
    EXPECT_EQ(redactor.text("database"), "alias-1");
}

TEST_F(ReportRedacting, ALedgerOfANewerVersionOrOfOtherTablesCannotBeRedacted) {
    observe({okVolume("database")}, NOW - 10000);
    const std::string file = host.dumps.path("dravik.db");
    const auto database = ledger();
    const std::string known = std::to_string(database->number("PRAGMA user_version"));
    database->run("PRAGMA user_version = 99");
    EXPECT_EQ(learnCopy(file.c_str(), &redactor),
              "it has been written by a newer dravik (its version 99, known here " + known +
                  "), and its names are not known: it cannot be redacted");
    database->run(("PRAGMA user_version = " + known).c_str());
    database->run("ALTER TABLE baseline RENAME TO baseline_2");
    EXPECT_EQ(learnCopy(file.c_str(), &redactor),
              "its names cannot be read (no such table: baseline): it cannot be redacted");
}

TEST_F(ReportRedacting, ASignalEndsLearningAndReplacing) {
    const int status = inChild([&] {
        deferEndingSignals(nullptr);
        items = {item("a", std::string(200000, '\n'))};
        raise(SIGTERM);
        int ended = 0;
        for (const bool learning : {true, false}) {
            try {
                learning ? learnItems(&items, &redactor) : redactItems(&items, &redactor);
            } catch (const ReportInterrupted &) {
                ++ended;
            }
        }
        try {
            redactor.text(items[0].text);
        } catch (const ReportInterrupted &) {
            ++ended;
        }
        return ended;
    });
    EXPECT_EQ(status, 3);
}
