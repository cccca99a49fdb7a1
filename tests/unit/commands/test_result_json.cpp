// Result records as structured data.
#include "commands/result_json.h"

#include <gtest/gtest.h>

TEST(ResultJson, AFailureHasItsCodeAndItsTextWithoutTheHead) {
    initEcItems1(&EC_no_this_device, "mpathz");
    EXPECT_EQ(dravik::recordJson(&EC_no_this_device).line(),
              R"({"code":133,"message":"This device [mpathz] does not exist."})");
    initEcItems1(&EC_no_this_device, "a: b \"c\"");
    EXPECT_EQ(dravik::recordJson(&EC_no_this_device).line(),
              R"({"code":133,"message":"This device [a: b \"c\"] does not exist."})");
    EXPECT_EQ(dravik::recordJson(&EC_molloc_failed).line(),
              R"({"code":4,"message":"Molloc memory space failed."})");
}

TEST(ResultJson, ACommandThatWasNotRunHasNoCode) {
    EXPECT_EQ(dravik::notRunJson("not run").line(), R"({"code":null,"message":"not run"})");
}

TEST(ResultJson, ASuccessOfEitherKindHasTheTextThatIsPrinted) {
    for (const s_ecItems *record : {&EC_ok, &EC_info_ok}) {
        EXPECT_EQ(dravik::recordJson(record).line(),
                  R"({"code":0,"message":"Command executed successfully."})");
    }
}
