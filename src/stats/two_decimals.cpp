// "%*.2f" without printf: a report of 36,864 rows holds a third of a million numbers, and printf alone would
// take ten times as long as reading the counters does.
//
// A number below 2^52 is M / 2^S with whole M < 2^53. M * 100 fits into 60 bits, so the hundredths and what is
// left over are exact in whole numbers, and rounding half to even gives printf's digits.
#include "stats/two_decimals.h"

#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstring>

namespace {

constexpr double WHOLE_FROM = 4503599627370496.0; // 2^52: no fraction from here on
constexpr int MANTISSA_BITS = 52;
constexpr int EXPONENT_BIAS = 1075; // with the mantissa taken for a whole number

// `value` in hundredths; it is not negative and below WHOLE_FROM.
uint64_t hundredthsOf(double value) {
    uint64_t bits = 0;
    memcpy(&bits, &value, sizeof(bits));
    const int exponent = static_cast<int>(bits >> MANTISSA_BITS);
    const int shift = EXPONENT_BIAS - exponent; // at least 1
    if (shift >= 62) {
        return 0; // M * 100 is below 2^60, less than half of 2^62; so are all numbers without a leading 1
    }
    const uint64_t mantissa = (bits & ((uint64_t{1} << MANTISSA_BITS) - 1)) | (uint64_t{1} << MANTISSA_BITS);
    const uint64_t product = mantissa * 100;
    const uint64_t whole = product >> shift;
    const uint64_t rest = product & ((uint64_t{1} << shift) - 1);
    const uint64_t half = uint64_t{1} << (shift - 1);
    const bool up = rest > half || (rest == half && (whole & 1) != 0);
    return whole + (up ? 1 : 0);
}

// Two digits before `end`; where they begin.
char *writePair(char *end, uint64_t below_hundred) {
    static constexpr char PAIRS[] =
        "00010203040506070809101112131415161718192021222324252627282930313233343536373839"
        "40414243444546474849505152535455565758596061626364656667686970717273747576777879"
        "8081828384858687888990919293949596979899";
    memcpy(end - 2, PAIRS + 2 * below_hundred, 2);
    return end - 2;
}

} // namespace

size_t writeNumber(char *out, int width, double value) {
    if (std::signbit(value) || !(value < WHOLE_FROM)) {
        return static_cast<size_t>(snprintf(out, NUMBER_TEXT_SIZE, "%*.2f", width, value));
    }
    const uint64_t hundredths = hundredthsOf(value);
    char digits[32]; // from the end
    char *first = digits + sizeof(digits);
    first = writePair(first, hundredths % 100);
    *--first = '.';
    uint64_t whole = hundredths / 100;
    for (; whole >= 100; whole /= 100) {
        first = writePair(first, whole % 100);
    }
    if (whole >= 10) {
        first = writePair(first, whole);
    } else {
        *--first = static_cast<char>('0' + whole);
    }

    const auto length = static_cast<size_t>(digits + sizeof(digits) - first);
    const size_t padding =
        width > 0 && static_cast<size_t>(width) > length ? static_cast<size_t>(width) - length : 0;
    memset(out, ' ', padding);
    memcpy(out + padding, first, length);
    return padding + length;
}
