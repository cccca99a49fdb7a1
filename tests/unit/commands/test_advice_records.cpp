// The advice on result records: each has its own.
#include "commands/advice_records.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "common/result.h"

using namespace dravik;

TEST(AdviceRecords, EveryRecordHasAnEntryInTheirOrderAndThereIsNoOther) {
    std::vector<std::string> records;
#define NAME_OF(code, name, message) records.emplace_back(#name);
    EC_RECORDS(NAME_OF)
#undef NAME_OF
    std::vector<std::string> entries;
    for (const Advice &advice : recordAdvice()) {
        entries.emplace_back(advice.keys);
    }
    EXPECT_EQ(entries, records);
}
