// The words that may stand in a command line.
#include "common/plain_word.h"

#include <cstring>
#include <string_view>

namespace {

#define LETTERS_AND_DIGITS "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789"

// Whether `text` is not empty and holds characters of `allowed` alone.
bool holdsOnly(const char *text, std::string_view allowed) {
    const std::string_view characters = text == nullptr ? "" : text;
    return !characters.empty() && characters.find_first_not_of(allowed) == std::string_view::npos;
}

} // namespace

bool isPlainWord(const char *word) {
    return holdsOnly(word, LETTERS_AND_DIGITS "._:!,/-") && *word != '-';
}

bool isPlainDeviceName(const char *name) {
    return isPlainWord(name) && strchr(name, '/') == nullptr;
}

bool isPlainWwid(const char *wwid) {
    return holdsOnly(wwid, LETTERS_AND_DIGITS "._:-");
}

bool isPlainPolicy(const char *text) {
    return holdsOnly(text, LETTERS_AND_DIGITS "-_ ");
}
