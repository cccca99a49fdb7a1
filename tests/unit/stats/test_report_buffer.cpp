// A report that is gathered: the bytes of as many small writes, whatever its size.
#include "stats/report_buffer.h"

#include <cmath>
#include <cstdio>
#include <string>

#include <gtest/gtest.h>

#include "tests/support/console.h"

namespace {

// What gathering by `gather` leaves on standard output at the end.
template <typename Gather> std::string gathered(const Gather &gather) {
    return printedBy([&] {
        ReportText text;
        gather(text);
    });
}

} // namespace

TEST(ReportBuffer, NothingIsWrittenOfNothing) {
    EXPECT_EQ(gathered([](ReportText & /*text*/) {}), "");
    EXPECT_EQ(gathered([](ReportText &text) {
                  text.add("");
                  text.repeat(0, 'x');
                  text.addPadded("", 0);
                  text.flush();
              }),
              "");
}

TEST(ReportBuffer, TextsStandBehindOneAnother) {
    EXPECT_EQ(gathered([](ReportText &text) {
                  text.add("mpatha");
                  text.repeat(3, '=');
                  text.add(std::string("a\0b", 3));
                  text.add("100%s\n");
              }),
              std::string("mpatha===a\0b100%s\n", 18));
}

TEST(ReportBuffer, APaddedTextHasBlanksUpToItsWidthAndIsNeverCut) {
    const auto padded = [](const char *text, size_t width) {
        return gathered([&](ReportText &report) { report.addPadded(text, width); });
    };
    EXPECT_EQ(padded("sdb", 5), "sdb  ");
    EXPECT_EQ(padded("sdb", 3), "sdb");
    EXPECT_EQ(padded("sdb", 2), "sdb");
    EXPECT_EQ(padded("sdb", 0), "sdb");
    EXPECT_EQ(padded("", 4), "    ");
}

TEST(ReportBuffer, ANumberStandsBehindABlankAsPrintfPrintsIt) {
    for (const double value : {0.0, 1.005, 99.999, -3.5, 1e15, 1.7976931348623157e308, std::nan("")}) {
        for (const int width : {0, 7, 10, 32}) {
            char expected[400];
            snprintf(expected, sizeof(expected), " %*.2f", width, value);
            EXPECT_EQ(gathered([&](ReportText &text) { text.addNumber(width, value); }), expected);
        }
    }
}

TEST(ReportBuffer, FlushingWritesAtOnceAndEachTextOnlyOnce) {
    EXPECT_EQ(printedBy([] {
                  ReportText text;
                  text.add("one ");
                  text.flush();
                  fputs("two ", stdout); // another's writing between
                  text.add("three ");
                  text.flush();
                  text.flush();
                  fputs("four", stdout);
              }),
              "one two three four");
}

TEST(ReportBuffer, WhatIsLeftIsWrittenWhenItGoesAndTheNextOneBeginsAnew) {
    EXPECT_EQ(printedBy([] {
                  {
                      ReportText text;
                      text.add("first\n");
                  }
                  fputs("between\n", stdout);
                  ReportText text;
                  text.add("second\n");
              }),
              "first\nbetween\nsecond\n");
}

TEST(ReportBuffer, AReportOfAnySizeIsWholeByteForByte) {
    for (const size_t size : {65535U, 65536U, 65537U, 131072U, 200000U}) {
        EXPECT_TRUE(gathered([&](ReportText &text) { text.add(std::string(size, 'a')); }) ==
                    std::string(size, 'a'))
            << size;
        EXPECT_TRUE(gathered([&](ReportText &text) { text.repeat(size, 'r'); }) == std::string(size, 'r'))
            << size;
        EXPECT_TRUE(gathered([&](ReportText &text) { text.addPadded("x", size); }) ==
                    "x" + std::string(size - 1, ' '))
            << size;
    }
}

TEST(ReportBuffer, ManySmallTextsAndNumbersAreThoseOfAsManySmallWrites) {
    std::string expected;
    const std::string written = gathered([&](ReportText &text) {
        for (int i = 0; i < 20000; ++i) {
            char number[64];
            snprintf(number, sizeof(number), " %9.2f", i / 7.0);
            expected += std::string(static_cast<size_t>(i % 13), 'n') + number + "|\n";
            text.repeat(static_cast<size_t>(i % 13), 'n');
            text.addNumber(9, i / 7.0);
            text.add("|\n");
        }
    });
    EXPECT_TRUE(written == expected);
}
