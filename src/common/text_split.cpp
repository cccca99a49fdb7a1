// Lines, tokens, fields, patterns.
#include "common/text_split.h"

#include <cstdlib>
#include <cstring>
#include <regex.h>

#include "common/text.h"

namespace {

// The next place of `delimiter`, `length` characters long, in `s`; null when there is none, as for an empty
// delimiter. A listing is split at single characters, for which there is a faster search.
char *nextDelimiter(const char *s, const char *delimiter, size_t length) {
    if (length == 0) {
        return nullptr;
    }
    return length == 1 ? tessaline_strchr(s, *delimiter) : tessaline_strstr(s, delimiter);
}

} // namespace

char *get_next_line(char *s) {
    char *newline = find_char(s, '\n');
    if (newline == nullptr) {
        return nullptr;
    }
    if (newline[1] == '\0') {
        *newline = '\0';
        return nullptr;
    }
    return newline + 1;
}

int findNotChar(const char *s, int from, char c) {
    const char *place = pFindNotChar(s, from, c);
    return place == nullptr ? -1 : static_cast<int>(place - s);
}

char *pFindNotChar(const char *s, int from, char c) {
    if (from < 0 || static_cast<size_t>(from) >= safe_strlen(s)) {
        return nullptr;
    }
    const char *p = s + from;
    while (*p == c) {
        ++p;
    }
    return *p == '\0' ? nullptr : const_cast<char *>(p);
}

int findSubStrIndexes(const char *s, char separator, int *positions, int max) {
    int count = 0;
    if (s == nullptr) {
        return count;
    }
    bool in_run = false;
    for (const char *p = s; *p != '\0' && count < max; ++p) {
        if (*p != separator && !in_run) {
            positions[count++] = static_cast<int>(p - s);
        }
        in_run = *p != separator;
    }
    return count;
}

char **_strsplit(const char *s, const char *delimiter, unsigned int *count) {
    if (count != nullptr) {
        *count = 0;
    }
    if (s == nullptr || delimiter == nullptr) {
        return nullptr;
    }
    const size_t skip = strlen(delimiter);
    size_t fields = 1;
    for (const char *hit = nextDelimiter(s, delimiter, skip); hit != nullptr;
         hit = nextDelimiter(hit + skip, delimiter, skip)) {
        ++fields;
    }
    const size_t length = strlen(s);
    void *block = malloc((fields + 1) * sizeof(char *) + length + 1);
    if (block == nullptr) {
        return nullptr;
    }
    auto **array = static_cast<char **>(block);
    auto *field = static_cast<char *>(block) + (fields + 1) * sizeof(char *);
    memcpy(field, s, length + 1);
    size_t filled = 0;
    array[filled++] = field;
    while ((field = nextDelimiter(field, delimiter, skip)) != nullptr) {
        *field = '\0';
        field += skip;
        array[filled++] = field;
    }
    array[filled] = nullptr;
    if (count != nullptr) {
        *count = static_cast<unsigned int>(fields);
    }
    return array;
}

char **strsplit(const char *s, const char *delimiter) {
    return _strsplit(s, delimiter, nullptr);
}

char **strsplit_count(const char *s, const char *delimiter, unsigned int *count) {
    return _strsplit(s, delimiter, count);
}

int splitStr(char *s, char c, char ***array) {
    *array = nullptr;
    if (safe_strlen(s) == 0) {
        return 0;
    }
    size_t room = 1;
    for (const char *p = s + 1; *p != '\0'; ++p) {
        room += *p == c ? 1 : 0;
    }
    *array = static_cast<char **>(calloc(room, sizeof(char *)));
    if (*array == nullptr) {
        return 0;
    }
    const char delimiters[] = {c, '\0'};
    char *rest = nullptr;
    int count = 0;
    for (char *token = strtok_r(s, delimiters, &rest); token != nullptr;
         token = strtok_r(nullptr, delimiters, &rest)) {
        (*array)[count++] = token;
    }
    return count;
}

int spliteString(char (*slots)[SPLIT_SLOT_SIZE], char *s, const char *delimiters) {
    int count = 0;
    for (char *token = tessaline_strtok(s, delimiters); token != nullptr;
         token = tessaline_strtok(nullptr, delimiters)) {
        tessaline_strncpy(slots[count++], token, SPLIT_SLOT_SIZE - 1);
    }
    return count;
}

int regMatch(const char *pattern, const char *text) {
    if (safe_strlen(pattern) == 0 || safe_strlen(text) == 0) {
        return 0;
    }
    regex_t compiled;
    if (regcomp(&compiled, pattern, REG_EXTENDED) != 0) {
        return 2;
    }
    const int outcome = regexec(&compiled, text, 0, nullptr, 0);
    regfree(&compiled);
    if (outcome == 0) {
        return 1;
    }
    return outcome == REG_NOMATCH ? 0 : 2;
}
