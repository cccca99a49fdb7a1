// JSON on its way out: always well-formed, numbers to the last digit.
#include "output/json.h"

#include <cstdint>
#include <limits>
#include <regex>
#include <string>

#include <gtest/gtest.h>

using namespace dravik;

TEST(Json, ADocumentIsOneLineInTheOrderInWhichItWasSet) {
    Json volume = Json::object();
    volume.set("alias", "database").set("paths", 4).set("ok", true).set("wwid", std::string("36a"));
    volume.setKnown("vdisk_name", "").setKnown("map", "dm-3").set("none", Json::null());
    Json volumes = Json::array();
    volumes.add(std::move(volume)).add(Json::text("x")).add(Json::boolean(false));
    Json all = Json::object();
    all.set("volumes", std::move(volumes)).set("empty", Json::array()).set("nothing", Json::object());
    EXPECT_EQ(all.line(),
              R"({"volumes":[{"alias":"database","paths":4,"ok":true,"wwid":"36a","vdisk_name":null,)"
              R"("map":"dm-3","none":null},"x",false],"empty":[],"nothing":{}})");
}

TEST(Json, LargeNumbersKeepTheirLastDigit) {
    EXPECT_EQ(Json::number(INT64_MAX).line(), "9223372036854775807");
    EXPECT_EQ(Json::number(INT64_MIN).line(), "-9223372036854775808");
    EXPECT_EQ(Json::number(9007199254740993).line(), "9007199254740993");
}

TEST(Json, DecimalsAreRoundedAndWhatIsNoNumberIsNull) {
    EXPECT_EQ(Json::decimal(4.25, 1).line(), "4.2");
    EXPECT_EQ(Json::decimal(0.0, 3).line(), "0.000");
    EXPECT_EQ(Json::decimal(-1.005e10, 0).line(), "-10050000000");
    EXPECT_EQ(Json::decimal(std::numeric_limits<double>::quiet_NaN(), 1).line(), "null");
    EXPECT_EQ(Json::decimal(std::numeric_limits<double>::infinity(), 1).line(), "null");
    EXPECT_EQ(Json::decimal(1e300, 2).line().substr(0, 4), "1000");
}

TEST(Json, QuotesAndControlBytesAreEscaped) {
    EXPECT_EQ(Json::text("a\"b\\c\n\t\x01\x1b[31m\x7f").line(),
              "\"a\\\"b\\\\c\\n\\t\\u0001\\u001b[31m\x7f\"");
}

TEST(Json, BytesThatAreNoUtf8BecomeTheReplacementCharacter) {
    EXPECT_EQ(Json::text("a\xff").line(), "\"a\xef\xbf\xbd\"");
}

TEST(Json, TimesAreUtcWithMilliseconds) {
    EXPECT_EQ(isoTime(0), "1970-01-01T00:00:00.000Z");
    EXPECT_EQ(isoTime(1795230761047), "2026-11-21T03:12:41.047Z");
    EXPECT_EQ(isoTime(999), "1970-01-01T00:00:00.999Z");
    EXPECT_EQ(isoTime(-1), "1969-12-31T23:59:59.999Z");
    EXPECT_EQ(isoTime(-1000), "1969-12-31T23:59:59.000Z");
    EXPECT_EQ(isoTime(INT64_MAX), "292278994-08-17T07:12:55.807Z");
}

TEST(Json, EveryDocumentBeginsWithTheSameHead) {
    const std::string line = beginDocument("list").line();
    EXPECT_TRUE(std::regex_match(
        line, std::regex(R"(\{"format_version":"1\.0","host":"[^"]*",)"
                         R"("time":"\d{4}-\d\d-\d\dT\d\d:\d\d:\d\d\.\d{3}Z","command":"list"\})")))
        << line;
}
