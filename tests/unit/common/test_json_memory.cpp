// Telling lack of memory from a text that does not parse.
#include "common/json_memory.h"

#include <cerrno>
#include <cjson/cJSON.h>

#include <gtest/gtest.h>

#include "tests/support/system_calls.h"

TEST(JsonMemory, ATextThatDoesNotParseIsNoLackOfMemory) {
    const dravik::JsonMemory memory;
    EXPECT_EQ(cJSON_Parse("{\"disk\": ["), nullptr);
    EXPECT_FALSE(memory.ranOut());
}

TEST(JsonMemory, AnAllocationThatFailsIsNoted) {
    const dravik::JsonMemory memory;
    const cJSON *parsed = nullptr;
    {
        const FailingCall failing("allocation", ENOMEM, 2);
        parsed = cJSON_Parse("{\"disk\": [1, 2, 3]}");
    }
    EXPECT_EQ(parsed, nullptr);
    EXPECT_TRUE(memory.ranOut());
}

TEST(JsonMemory, ANewWatchKnowsNothingOfWhatWasBefore) {
    {
        const dravik::JsonMemory memory;
        const FailingCall failing("allocation", ENOMEM);
        cJSON_Delete(cJSON_Parse("{}"));
    }
    const dravik::JsonMemory memory;
    EXPECT_FALSE(memory.ranOut());
    cJSON *parsed = cJSON_Parse("{}");
    EXPECT_NE(parsed, nullptr);
    cJSON_Delete(parsed);
    EXPECT_FALSE(memory.ranOut());
}
