// The words of the ledger's records.
#include "ledger/records.h"

#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

using namespace dravik;

TEST(Records, EveryQualityHasItsWordAndComesBackFromIt) {
    const std::vector<std::pair<Quality, std::string>> words = {{Quality::GOOD, "good"},
                                                                {Quality::DOUBTFUL, "doubtful"},
                                                                {Quality::FAILED, "failed"},
                                                                {Quality::NEVER, "never"}};
    for (const auto &[quality, word] : words) {
        EXPECT_EQ(qualityWord(quality), word);
        EXPECT_EQ(qualityOfWord(word), quality);
    }
}

TEST(Records, AnyOtherWordIsNoObservationAtAll) {
    for (const char *word : {"", "GOOD", "good ", "fine"}) {
        EXPECT_EQ(qualityOfWord(word), Quality::NEVER) << word;
    }
}

TEST(Records, ARecordThatNothingHasBeenPutIntoClaimsNothing) {
    EXPECT_EQ(Observation().quality, Quality::NEVER);
    EXPECT_EQ(Observation().time, 0);
    EXPECT_EQ(KnownPath().id, 0);
    EXPECT_FALSE(KnownPath().working);
    EXPECT_EQ(KnownPath().last_failed, 0);
    EXPECT_EQ(Event().number, 0);
    EXPECT_FALSE(Event().has_path);
    EXPECT_EQ(Operation().ended, 0);
}
