// Numbers with two decimals, as printf prints them.
#include "stats/two_decimals.h"

#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <limits>
#include <random>
#include <string>

#include <gtest/gtest.h>

#include "tests/support/seeded_random.h"

namespace {

std::string number(int width, double value) {
    char text[NUMBER_TEXT_SIZE];
    return {text, writeNumber(text, width, value)};
}

std::string printfNumber(int width, double value) {
    char text[NUMBER_TEXT_SIZE];
    snprintf(text, sizeof(text), "%*.2f", width, value);
    return text;
}

TEST(TwoDecimals, AreWrittenAsPrintfWritesThem) {
    const double infinity = std::numeric_limits<double>::infinity();
    for (const double value : {0.0,
                               -0.0,
                               0.001,
                               0.004999999999999999,
                               0.005,
                               0.015,
                               0.025,
                               0.125,
                               0.375,
                               0.625,
                               1.005,
                               2.675,
                               0.994999,
                               0.995,
                               0.999,
                               9.995,
                               99.995,
                               999.995,
                               1e-300,
                               5e-324,
                               2.2250738585072014e-308,
                               1.0,
                               123456.789,
                               4503599627370495.5,
                               4503599627370496.0,
                               9007199254740993.0,
                               1e15,
                               1e17,
                               1e300,
                               1.7976931348623157e308,
                               -1.5,
                               -0.001,
                               infinity,
                               -infinity,
                               std::nan(""),
                               18446744073709551615.0 * 100,
                               42949672.95,
                               42949672.955}) {
        for (const int width : {0, 1, 7, 8, 9, 10, 32}) {
            EXPECT_EQ(number(width, value), printfNumber(width, value));
        }
    }
}

TEST(TwoDecimals, RandomOnesAreWrittenAsPrintfWritesThem) {
    auto random = seededRandom<std::mt19937_64>(2718);
    for (int i = 0; i < 1000000; i++) {
        double value = 0;
        const uint64_t bits = random();
        switch (i % 4) {
        case 0: // any bits at all
            memcpy(&value, &bits, sizeof(value));
            break;
        case 1: // rates as they occur
            value =
                static_cast<double>(bits % 1000000007) / static_cast<double>(1 + (bits >> 40) % 6000) * 100;
            break;
        case 2: // ties
            value = static_cast<double>(bits % 100000000) / 8.0 / 25.0;
            break;
        default: // eighths: exact ties at the third decimal
            value = static_cast<double>(bits >> 12) / 8.0;
        }
        ASSERT_EQ(number(9, value), printfNumber(9, value)) << "at " << i;
    }
}

} // namespace
