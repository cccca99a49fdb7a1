// Prometheus' text format: families, labels, numbers, and names that are hostile.
#include "output/metrics_text.h"

#include <cstdint>
#include <string>

#include <gtest/gtest.h>

using namespace dravik;

namespace {

Labels one(const std::string &name, const std::string &value) {
    Labels labels;
    labels.add(name, value);
    return labels;
}

std::string labelText(const std::string &value) {
    return one("l", value).text();
}

// The text of one sample in thousandths.
std::string thousandths(int64_t value) {
    MetricsText text;
    text.family("m", MetricType::GAUGE, "h");
    text.sampleThousandths({}, value);
    const std::string whole = text.take();
    const std::string head = "# HELP m h\n# TYPE m gauge\nm ";
    EXPECT_EQ(whole.substr(0, head.size()), head);
    return whole.substr(head.size());
}

} // namespace

TEST(MetricsText, AFamilyIsItsHelpItsTypeAndItsSamples) {
    MetricsText text;
    text.family("a_total", MetricType::COUNTER, "How many.");
    text.sample({}, 3);
    text.sample(one("kind", "x"), 0);
    text.family("b", MetricType::GAUGE, "How much.");
    text.sample(one("kind", "x"), one("state", "y"), -1);
    text.sample({}, one("state", "y"), 1);
    EXPECT_EQ(text.take(), "# HELP a_total How many.\n"
                           "# TYPE a_total counter\n"
                           "a_total 3\n"
                           "a_total{kind=\"x\"} 0\n"
                           "# HELP b How much.\n"
                           "# TYPE b gauge\n"
                           "b{kind=\"x\",state=\"y\"} -1\n"
                           "b{state=\"y\"} 1\n");
}

TEST(MetricsText, AFamilyWithoutASampleLeavesNothing) {
    MetricsText text;
    text.family("a", MetricType::GAUGE, "Never.");
    text.family("b", MetricType::GAUGE, "Once.");
    text.sample({}, 1);
    text.family("c", MetricType::GAUGE, "Never.");
    EXPECT_EQ(text.take(), "# HELP b Once.\n# TYPE b gauge\nb 1\n");
}

TEST(MetricsText, AHelpEscapesBackslashAndNewlineAndNoQuote) {
    MetricsText text;
    text.family("a", MetricType::GAUGE, "a\\b\n\"c\"");
    text.sample({}, 1);
    EXPECT_EQ(text.take(), "# HELP a a\\\\b\\n\"c\"\n# TYPE a gauge\na 1\n");
}

TEST(MetricsText, WholeNumbersKeepTheirLastDigit) {
    MetricsText text;
    text.family("a", MetricType::GAUGE, "h");
    text.sample({}, INT64_MAX);
    text.sample({}, INT64_MIN);
    EXPECT_EQ(text.take(), "# HELP a h\n# TYPE a gauge\na 9223372036854775807\na -9223372036854775808\n");
}

TEST(MetricsText, ThousandthsHaveThreeDecimals) {
    EXPECT_EQ(thousandths(0), "0.000\n");
    EXPECT_EQ(thousandths(7), "0.007\n");
    EXPECT_EQ(thousandths(1000), "1.000\n");
    EXPECT_EQ(thousandths(1795230761047), "1795230761.047\n");
    EXPECT_EQ(thousandths(-7), "-0.007\n");
    EXPECT_EQ(thousandths(-1500), "-1.500\n");
    EXPECT_EQ(thousandths(INT64_MAX), "9223372036854775.807\n");
    EXPECT_EQ(thousandths(INT64_MIN), "-9223372036854775.808\n");
}

TEST(MetricsText, LabelsComeInTheOrderInWhichTheyWereAdded) {
    Labels labels;
    EXPECT_EQ(labels.text(), "");
    labels.add("b", "1").add("a", "").add("c", "x y{}=,");
    EXPECT_EQ(labels.text(), R"(b="1",a="",c="x y{}=,")");
}

TEST(MetricsText, ALabelEscapesBackslashQuoteAndNewline) {
    EXPECT_EQ(labelText(R"(a"b\c)"), R"(l="a\"b\\c")");
    EXPECT_EQ(labelText("a\nb\n"), R"(l="a\nb\n")");
    EXPECT_EQ(labelText("\\n"), R"(l="\\n")");
    EXPECT_EQ(labelText("\"} 1\nother{x=\""), R"(l="\"} 1\nother{x=\"")");
}

TEST(MetricsText, BytesThatAreNoUtf8BecomeTheReplacementCharacter) {
    EXPECT_EQ(labelText("a\xff"
                        "b\xc3"),
              "l=\"a\xef\xbf\xbd"
              "b\xef\xbf\xbd\"");
    EXPECT_EQ(labelText(std::string("a\0b", 3)), "l=\"a\xef\xbf\xbd"
                                                 "b\"");
    EXPECT_EQ(labelText("gr\xc3\xbc\xc3\x9f \xe2\x82\xac"), "l=\"gr\xc3\xbc\xc3\x9f \xe2\x82\xac\"");
}

// What is read back from the label is the visible text: \x1b.
TEST(MetricsText, ControlBytesBecomeVisible) {
    EXPECT_EQ(labelText("\x1b[2J\r\t\x7f"), R"(l="\\x1b[2J\\x0d\\x09\\x7f")");
    EXPECT_EQ(labelText("\xc2\x9b"
                        "31m"),
              R"(l="\\xc2\\x9b31m")");
}
