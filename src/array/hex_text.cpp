// Hexadecimal converters.
#include "array/hex_text.h"

#include <cctype>
#include <climits>
#include <cstdint>
#include <cstring>

namespace {

void writeDigits(const char *digits, const unsigned char *in, unsigned int count, char *out) {
    for (unsigned int i = 0; i < count; i++) {
        *out++ = digits[in[i] >> 4];
        *out++ = digits[in[i] & 0x0F];
    }
    *out = '\0';
}

// `c` is a hexadecimal digit.
unsigned char nibble(char c) {
    if (c >= '0' && c <= '9') {
        return static_cast<unsigned char>(c - '0');
    }
    return static_cast<unsigned char>((c | 0x20) - 'a' + 10);
}

} // namespace

int binary_to_ascii(char *out, unsigned int size, const unsigned char *in, unsigned int start,
                    unsigned int count) {
    // In 64 bits: a size of 0 or a count of half the range must not wrap into "enough".
    if (in == nullptr || uint64_t{size} < uint64_t{2} * count + 1) {
        return -1;
    }
    writeDigits("0123456789abcdef", in + start, count, out);
    return 0;
}

void lib_hex2asc(const unsigned char *in, unsigned int count, char *out) {
    writeDigits("0123456789ABCDEF", in, count, out);
}

int lib_asc2hex(const char *text, unsigned char *out, unsigned int size) {
    if (text == nullptr) {
        return -1;
    }
    const size_t length = strlen(text);
    if (length % 2 != 0 || length / 2 > size || length / 2 > INT_MAX) {
        return -1;
    }
    for (size_t i = 0; i < length; i++) {
        if (isxdigit(static_cast<unsigned char>(text[i])) == 0) {
            return -1;
        }
    }
    for (size_t i = 0; i < length; i += 2) {
        *out++ = static_cast<unsigned char>(nibble(text[i]) << 4 | nibble(text[i + 1]));
    }
    return static_cast<int>(length / 2);
}
