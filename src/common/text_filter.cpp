// Character filters for log formats and command lines.
#include "common/text_filter.h"

#include <cstring>

#include "common/text.h"

namespace {

constexpr char INJECTION_SET[] = ";";

bool isLetterOrDigit(char c) {
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9');
}

// memchr over the set without its terminator: strchr would find the end of every set for a NUL.
template <size_t N> bool isIn(const char (&set)[N], char c) {
    return memchr(set, c, N - 1) != nullptr;
}

} // namespace

int is_cmd_inject_char(const char *set, char c) {
    const char *hit = c == '\0' ? nullptr : find_char(set, c);
    return hit == nullptr ? -1 : static_cast<int>(hit - set);
}

void str_addchar(char *buffer, char c) {
    const size_t length = strlen(buffer);
    buffer[length] = c;
    buffer[length + 1] = '\0';
}

char *escapeString(char *buffer, const char *s) {
    return escapeStringBounded(buffer, static_cast<size_t>(-1), s);
}

char *escapeStringBounded(char *buffer, size_t size, const char *s) {
    if (s == nullptr) {
        return nullptr;
    }
    size_t length = strlen(buffer);
    for (; *s != '\0'; ++s) {
        const bool escaped = is_cmd_inject_char(INJECTION_SET, *s) >= 0;
        if (size - length <= (escaped ? 2U : 1U)) {
            break;
        }
        if (escaped) {
            buffer[length++] = '\\';
        }
        buffer[length++] = *s;
    }
    buffer[length] = '\0';
    return buffer;
}

char cleanChar(char c) {
    return isLetterOrDigit(c) || isIn(" \"#$%&'()*,-./:>[\\]^_{|}", c) ? c : '%';
}

char *cleanString(char *buffer, const char *s) {
    if (s == nullptr) {
        return nullptr;
    }
    char *end = buffer + strlen(buffer);
    for (; *s != '\0'; ++s) {
        *end++ = cleanChar(*s);
    }
    *end = '\0';
    return buffer;
}
