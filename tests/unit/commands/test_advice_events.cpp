// The advice on events: each kind has its own.
#include "commands/advice_events.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "ledger/message_ids.h"

using namespace dravik;

TEST(AdviceEvents, EveryKindOfEventHasAnEntryInTheirOrderAndThereIsNoOther) {
    std::vector<std::string> kinds;
    for (const MessageId &message : MESSAGE_IDS) {
        kinds.emplace_back(message.kind);
    }
    std::vector<std::string> entries;
    for (const Advice &advice : eventAdvice()) {
        entries.emplace_back(advice.keys);
    }
    EXPECT_EQ(entries, kinds);
}

TEST(AdviceEvents, IncidentsThatTheJournalLacksStandInTheLedger) {
    EXPECT_STREQ(leftOutAdvice().keys, "left_out");
    EXPECT_NE(std::string(leftOutAdvice().look_at).find("dravik events"), std::string::npos);
}
