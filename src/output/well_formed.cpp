// Finding what is no UTF-8.
#include "output/well_formed.h"

namespace dravik {

namespace {

constexpr char REPLACEMENT[] = "\xef\xbf\xbd";

// How many bytes at the start of `text`, which is not empty, are one well-formed character: 0 for none.
size_t characterLength(std::string_view text) {
    const auto byte = [text](size_t i) { return static_cast<unsigned char>(i < text.size() ? text[i] : 0); };
    const auto follows = [&](size_t i) { return (byte(i) & 0xc0) == 0x80; };
    const unsigned char first = byte(0);
    if (first < 0x80) {
        return first == 0 ? 0 : 1;
    }
    if (first >= 0xc2 && first <= 0xdf) {
        return follows(1) ? 2 : 0;
    }
    if (first >= 0xe0 && first <= 0xef) {
        const bool overlong = first == 0xe0 && byte(1) < 0xa0;
        const bool surrogate = first == 0xed && byte(1) >= 0xa0;
        return !overlong && !surrogate && follows(1) && follows(2) ? 3 : 0;
    }
    if (first >= 0xf0 && first <= 0xf4) {
        const bool overlong = first == 0xf0 && byte(1) < 0x90;
        const bool too_large = first == 0xf4 && byte(1) >= 0x90;
        return !overlong && !too_large && follows(1) && follows(2) && follows(3) ? 4 : 0;
    }
    return 0;
}

} // namespace

std::string wellFormed(std::string_view text) {
    std::string formed;
    formed.reserve(text.size());
    while (!text.empty()) {
        const size_t length = characterLength(text);
        if (length == 0) {
            formed += REPLACEMENT;
            text.remove_prefix(1);
        } else {
            formed += text.substr(0, length);
            text.remove_prefix(length);
        }
    }
    return formed;
}

} // namespace dravik
