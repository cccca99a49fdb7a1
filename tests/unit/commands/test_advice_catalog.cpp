// The journal's message catalog.
#include "commands/advice_catalog.h"

#include <gtest/gtest.h>

#include <string>

#include "ledger/message_ids.h"

using namespace dravik;

TEST(AdviceCatalog, AnEntryNamesItsIdSubjectAuthorAndManualPageAndHoldsTheFieldsOfTheJournal) {
    const std::string entry = R"(
-- 2e56e8c8bedb4bebb190fec4f5a92b6f
Subject: The path has failed three times within thirty minutes
Defined-By: Dravik
Documentation: man:dravik(8)

What to look at:
    dravik events --path @DRAVIK_PATH@ --since 1d
    dravik list --bad

A loose cable, a dying transceiver, a bad switch port: look at the error
counters of both ends and replace what has them. Until then take the path out of
use with "dravik setstate".

-- )";
    EXPECT_NE(catalogText().find(entry), std::string::npos);
}

TEST(AdviceCatalog, EveryKindOfEventHasAnEntryInOrderAndTheIncidentsThatWereLeftOutTheLast) {
    const std::string text = catalogText();
    size_t place = 0;
    for (const MessageId &message : MESSAGE_IDS) {
        place = text.find(std::string("\n-- ") + message.id + "\n", place);
        ASSERT_NE(place, std::string::npos) << message.kind;
    }
    place = text.find(std::string("\n-- ") + LEFT_OUT_MESSAGE_ID + "\n", place);
    ASSERT_NE(place, std::string::npos);
    EXPECT_EQ(text.find("\n-- ", place + 1), std::string::npos);
}

TEST(AdviceCatalog, LinesFit80ColumnsButForTheNamesOfFields) {
    const std::string text = catalogText();
    for (size_t place = 0; place < text.size();) {
        const size_t end = text.find('\n', place);
        const std::string line = text.substr(place, end - place);
        EXPECT_TRUE(line.size() <= 80 || line.find('@') != std::string::npos ||
                    line.substr(0, 9) == "Subject: ")
            << line;
        place = end + 1;
    }
}
