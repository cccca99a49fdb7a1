// Character tests over ASCII.
#include "common/character_tests.h"

#include <algorithm>
#include <string_view>

namespace {

template <typename Test> bool every(const char *text, Test test) {
    const std::string_view characters = text == nullptr ? "" : text;
    return std::all_of(characters.begin(), characters.end(), test);
}

bool digit(char c) {
    return c >= '0' && c <= '9';
}

bool upperLetter(char c) {
    return c >= 'A' && c <= 'Z';
}

bool letter(char c) {
    return upperLetter(c) || (c >= 'a' && c <= 'z');
}

} // namespace

bool isDigit(const char *text) {
    return every(text, digit);
}

bool isHex(const char *text) {
    return every(text, [](char c) { return digit(c) || (c >= 'a' && c <= 'f') || (c >= 'A' && c <= 'F'); });
}

bool isDigitorOrLetter(const char *text) {
    return every(text, [](char c) { return digit(c) || letter(c); });
}

bool isUpperLetter(const char *text) {
    return !every(text, [](char c) { return !upperLetter(c); });
}
