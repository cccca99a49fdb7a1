// Telling control bytes in texts.
#include "commands/escaped_bytes.h"

#include <cctype>

namespace dravik {

namespace {

constexpr char ESCAPE = '\x1b';
constexpr size_t WRITTEN = 4; // \x1b

bool isHex(char c) {
    return isxdigit(static_cast<unsigned char>(c)) != 0;
}

// Whether "\xHH" is at `place`.
bool isWrittenByte(std::string_view text, size_t place) {
    return text.size() - place >= WRITTEN && text[place] == '\\' && text[place + 1] == 'x' &&
           isHex(text[place + 2]) && isHex(text[place + 3]);
}

bool endsWithEscape(std::string_view text) {
    if (!text.empty() && text.back() == ESCAPE) {
        return true;
    }
    return text.size() >= WRITTEN && isWrittenByte(text, text.size() - WRITTEN) &&
           text[text.size() - 2] == '1' && (text.back() == 'b' || text.back() == 'B');
}

// The length of "01;31m".
size_t sequenceLength(std::string_view text, size_t place) {
    constexpr std::string_view PARAMETERS = "0123456789;?";
    size_t end = place;
    while (end < text.size() && PARAMETERS.find(text[end]) != std::string_view::npos) {
        ++end;
    }
    const bool is_whole = end < text.size() && isalpha(static_cast<unsigned char>(text[end])) != 0;
    return is_whole ? end + 1 - place : 0;
}

} // namespace

size_t escapeLength(std::string_view text, size_t place) {
    if (isWrittenByte(text, place)) {
        return WRITTEN;
    }
    if (text[place] == ESCAPE) {
        return 1;
    }
    const bool is_inside = place > 1 && text[place - 1] == '[' && endsWithEscape(text.substr(0, place - 1));
    return is_inside ? sequenceLength(text, place) : 0;
}

} // namespace dravik
