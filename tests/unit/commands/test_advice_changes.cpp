// The advice on lines of the change log. (That each line has its own: tests/host/explain_texts.bats.)
#include "commands/advice_changes.h"

#include <gtest/gtest.h>

#include <string>

using namespace dravik;

TEST(AdviceChanges, EachOfTheElevenLinesHasAnEntryOfItsOwn) {
    size_t count = 0;
    for (const Advice &advice : changeAdvice()) {
        ++count;
        EXPECT_EQ(std::string(advice.keys).substr(0, 4), "The ");
        EXPECT_EQ(std::string(advice.keys).find('\n'), std::string::npos);
    }
    EXPECT_EQ(count, 11u);
}
