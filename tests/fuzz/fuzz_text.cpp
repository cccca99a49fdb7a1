// Any bytes as texts: the text modules answer what the C library or a plain second writing of their rule answers,
// and write nothing beyond what they are given.
//
// An input is three texts, a NUL byte behind each; its length and last byte choose bounds and characters.
#include "common/comm_util.h"
#include "tests/fuzz/require.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <regex.h>
#include <string>
#include <vector>

namespace {

using Texts = std::vector<std::string>;

constexpr size_t MOST_BYTES = 4096;
constexpr size_t GUARD = 16;
constexpr char CANARY = '\x5a';

// A buffer of exactly `size` bytes between canaries, in a heap block that a sanitizer watches as well.
class Guarded {
  public:
    explicit Guarded(size_t buffer_size) : size(buffer_size), bytes(buffer_size + 2 * GUARD, CANARY) {}
    Guarded(const std::string &text, size_t buffer_size) : Guarded(buffer_size) {
        memcpy(data(), text.c_str(), text.size() + 1);
    }
    char *data() {
        return bytes.data() + GUARD;
    }
    // The whole buffer; the canaries must be alive.
    std::string content(const char *what) const {
        const std::string canaries(GUARD, CANARY);
        require(bytes.compare(0, GUARD, canaries) == 0, what);
        require(bytes.compare(GUARD + size, GUARD, canaries) == 0, what);
        return bytes.substr(GUARD, size);
    }
    // The text in it.
    std::string text(const char *what) const {
        const std::string all = content(what);
        const size_t end = all.find('\0');
        require(end != std::string::npos, what);
        return all.substr(0, end);
    }

  private:
    size_t size;
    std::string bytes;
};

int signOf(int value) {
    return (value > 0) - (value < 0);
}

// `text` cut at every occurrence of `delimiter`, which is not empty; empty fields are kept.
Texts fieldsOf(const std::string &text, const std::string &delimiter) {
    Texts fields;
    size_t from = 0;
    for (size_t at = text.find(delimiter); at != std::string::npos; at = text.find(delimiter, from)) {
        fields.push_back(text.substr(from, at - from));
        from = at + delimiter.size();
    }
    fields.push_back(text.substr(from));
    return fields;
}

std::string replaced(const std::string &text, const std::string &old_text, const std::string &new_text) {
    std::string result;
    const Texts fields = old_text.empty() ? Texts{text} : fieldsOf(text, old_text);
    for (size_t i = 0; i < fields.size(); ++i) {
        result += (i > 0 ? new_text : "") + fields[i];
    }
    return result;
}

// ---- lengths, searches, comparisons

void checkSearches(const std::string &a, const std::string &b, size_t n, char c) {
    const char *s = a.c_str();
    require(tessaline_strlen(s) == a.size() && safe_strlen(s) == a.size(), "length");
    require(tessaline_strnlen(s, n) == std::min(n, a.size()), "bounded length");
    require(tessaline_strchr(s, c) == strchr(s, c), "strchr");
    require(tessaline_strchr(s, static_cast<unsigned char>(c)) == strchr(s, c),
            "strchr of an unsigned value");
    if (c != '\0') {
        require(find_char(s, c) == strchr(s, c), "find_char");
    }
    require(tessaline_strspn(s, b.c_str()) == strspn(s, b.c_str()), "strspn");
    require(tessaline_strcspn(s, b.c_str()) == strcspn(s, b.c_str()), "strcspn");
    require(tessaline_strstr(s, b.c_str()) == strstr(s, b.c_str()), "strstr");
    require(find_str(s, b.c_str()) == strstr(s, b.c_str()), "find_str");

    int count = 0;
    for (size_t i = 0; !b.empty() && i < a.size(); ++i) {
        count += a.compare(i, b.size(), b) == 0 ? 1 : 0;
    }
    require(numberOfString(s, b.c_str()) == count, "numberOfString");
    require(isBeginwith(s, b.c_str()) == (a.compare(0, b.size(), b) == 0 ? 1 : 0), "isBeginwith");
}

void checkComparisons(const std::string &a, const std::string &b, size_t n) {
    int difference = 0;
    for (size_t i = 0; i < n; ++i) {
        const int left = static_cast<unsigned char>(a.c_str()[i]);
        const int right = static_cast<unsigned char>(b.c_str()[i]);
        difference = left - right;
        if (difference != 0 || left == 0) {
            break;
        }
    }
    const int answer = tessaline_strncmp(a.c_str(), b.c_str(), n);
    require(answer == difference, "strncmp");
    require(signOf(answer) == signOf(strncmp(a.c_str(), b.c_str(), n)), "strncmp's sign");

    if (!a.empty() && !b.empty()) {
        const size_t common = std::min(a.size(), b.size());
        const bool same = a.compare(a.size() - common, common, b, b.size() - common, common) == 0;
        require(isEndWith(a.c_str(), b.c_str()) == (same ? 1 : 0), "isEndWith");
    }
}

// ---- copies

void checkCopies(const std::string &a, const std::string &b, size_t n) {
    if (n > 0) {
        Guarded copy(n + 1);
        require(tessaline_strncpy(copy.data(), a.c_str(), n) == copy.data(), "strncpy's result");
        std::string expected = a.substr(0, n);
        expected.resize(n + 1, '\0');
        require(copy.content("strncpy's bounds") == expected, "strncpy");
    }
    const std::string joined = a + b.substr(0, n);
    Guarded appended(a, joined.size() + 1);
    require(tessaline_strncat(appended.data(), b.c_str(), n) == appended.data(), "strncat's result");
    require(appended.text("strncat's bounds") == joined, "strncat");

    Guarded bytes(a.size());
    require(tessaline_memcpy(bytes.data(), a.data(), a.size()) == bytes.data(), "memcpy's result");
    require(bytes.content("memcpy's bounds") == a, "memcpy");
}

void checkReplacements(const std::string &a, const std::string &b, const std::string &c) {
    const std::string expected = replaced(a, b, c);
    Guarded target(expected.size() + 1);
    tessaline_strrpl(target.data(), a.c_str(), b.c_str(), c.c_str());
    require(target.text("strrpl's bounds") == expected, "strrpl");

    // a replacement that does not shorten the text need not end
    if (c.size() < b.size()) {
        std::string left = a;
        for (size_t at = left.find(b); at != std::string::npos; at = left.find(b)) {
            left.replace(at, b.size(), c);
        }
        std::string source = a;
        char *result = tessaline_replace(source.data(), b.c_str(), c.c_str());
        require(result != nullptr && left == result, "replace");
        free(result);
    }
}

// ---- tokens, lines, fields

void checkTokens(const std::string &a, const std::string &delimiters) {
    Guarded ours(a, a.size() + 1);
    Guarded theirs(a, a.size() + 1);
    char *place = nullptr;
    char *our = tessaline_strtok(ours.data(), delimiters.c_str());
    char *their = strtok_r(theirs.data(), delimiters.c_str(), &place);
    Texts tokens;
    while (our != nullptr && their != nullptr) {
        require(our - ours.data() == their - theirs.data(), "a token's place");
        tokens.emplace_back(our);
        our = tessaline_strtok(nullptr, delimiters.c_str());
        their = strtok_r(nullptr, delimiters.c_str(), &place);
    }
    require(our == nullptr && their == nullptr, "the number of tokens");
    require(tessaline_strtok(nullptr, delimiters.c_str()) == nullptr, "the end of a scan");
    require(ours.content("strtok's bounds") == theirs.content("strtok_r's bounds"), "the cuts of strtok");

    Guarded text(a, a.size() + 1);
    Guarded slots(tokens.size() * SPLIT_SLOT_SIZE);
    auto *first = reinterpret_cast<char(*)[SPLIT_SLOT_SIZE]>(slots.data());
    require(spliteString(first, text.data(), delimiters.c_str()) == static_cast<int>(tokens.size()),
            "spliteString's count");
    const std::string filled = slots.content("spliteString's bounds");
    for (size_t i = 0; i < tokens.size(); ++i) {
        require(tokens[i].substr(0, SPLIT_SLOT_SIZE - 1) == filled.c_str() + i * SPLIT_SLOT_SIZE,
                "spliteString");
    }
}

void checkLines(const std::string &a) {
    Guarded text(a, a.size() + 1);
    Texts lines;
    for (char *line = text.data(); line != nullptr;) {
        char *next = get_next_line(line);
        lines.emplace_back(next != nullptr ? std::string(line, next) : std::string(line));
        line = next;
    }
    std::string expected = a;
    if (!expected.empty() && expected.back() == '\n') {
        expected.pop_back();
    }
    std::string joined;
    for (const std::string &line : lines) {
        joined += line;
    }
    require(joined == expected, "the lines");
    require(text.text("get_next_line's bounds") == expected, "the removed newline");
}

void checkRuns(const std::string &a, char c, size_t n) {
    const int from = static_cast<int>(n) - 2;
    int expected = -1;
    for (int i = from; from >= 0 && i < static_cast<int>(a.size()); ++i) {
        if (a[static_cast<size_t>(i)] != c) {
            expected = i;
            break;
        }
    }
    require(findNotChar(a.c_str(), from, c) == expected, "findNotChar");
    require(pFindNotChar(a.c_str(), from, c) == (expected < 0 ? nullptr : a.c_str() + expected),
            "pFindNotChar");

    std::vector<int> starts;
    for (size_t i = 0; i < a.size() && starts.size() < n; ++i) {
        if (a[i] != c && (i == 0 || a[i - 1] == c)) {
            starts.push_back(static_cast<int>(i));
        }
    }
    std::vector<int> positions(n + 1, -7);
    const int found = findSubStrIndexes(a.c_str(), c, positions.data(), static_cast<int>(n));
    require(found == static_cast<int>(starts.size()), "findSubStrIndexes' count");
    require(std::equal(starts.begin(), starts.end(), positions.begin()), "findSubStrIndexes");
    require(std::count(positions.begin() + found, positions.end(), -7) == static_cast<long>(n) + 1 - found,
            "findSubStrIndexes' bounds");
}

void checkFields(const std::string &a, const std::string &delimiter, char c) {
    const Texts expected = delimiter.empty() ? Texts{a} : fieldsOf(a, delimiter);
    unsigned int count = 0;
    char **fields = _strsplit(a.c_str(), delimiter.c_str(), &count);
    require(fields != nullptr && count == expected.size(), "the number of fields");
    for (size_t i = 0; i < expected.size(); ++i) {
        require(fields[i] == expected[i], "a field");
    }
    require(fields[expected.size()] == nullptr, "the end of the fields");
    free(fields);

    if (c == '\0') {
        return;
    }
    Texts filled = fieldsOf(a, std::string(1, c));
    filled.erase(std::remove(filled.begin(), filled.end(), std::string()), filled.end());
    Guarded text(a, a.size() + 1);
    char **array = nullptr;
    const int number = splitStr(text.data(), c, &array);
    require(number == static_cast<int>(filled.size()), "splitStr's count");
    for (size_t i = 0; i < filled.size(); ++i) {
        require(array[i] == filled[i], "splitStr");
    }
    text.content("splitStr's bounds");
    free(array);
}

// ---- filters and patterns

void checkFilters(const std::string &a, size_t n) {
    const std::string escaped = replaced(a, ";", "\\;");
    Guarded all(std::string(), escaped.size() + 1);
    require(escapeString(all.data(), a.c_str()) == all.data(), "escapeString's result");
    require(all.text("escapeString's bounds") == escaped, "escapeString");

    Guarded part(std::string(), n + 1);
    require(escapeStringBounded(part.data(), n + 1, a.c_str()) == part.data(), "the bounded result");
    std::string fits;
    for (const char c : a) {
        const std::string next = c == ';' ? "\\;" : std::string(1, c);
        if (fits.size() + next.size() > n) {
            break;
        }
        fits += next;
    }
    require(part.text("escapeStringBounded's bounds") == fits, "escapeStringBounded");

    const std::string letters = "abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789";
    const std::string command = letters + " \"#$%&'()*,-./:>[\\]^_{|}";
    const std::string plain = letters + "._:!,/-";
    std::string clean = a;
    for (char &c : clean) {
        c = command.find(c) != std::string::npos ? c : '%';
    }
    Guarded cleaned(std::string(), a.size() + 1);
    require(cleanString(cleaned.data(), a.c_str()) == cleaned.data(), "cleanString's result");
    require(cleaned.text("cleanString's bounds") == clean, "cleanString");
    const bool is_plain = !a.empty() && a[0] != '-' && a.find_first_not_of(plain) == std::string::npos;
    require(isPlainWord(a.c_str()) == is_plain, "isPlainWord");
}

void checkPattern(const std::string &pattern, const std::string &text) {
    // large counts and back references make the library's matcher itself slow
    if (pattern.size() > 24 || text.size() > 64 || pattern.find_first_of("{\\") != std::string::npos) {
        return;
    }
    int expected = 0;
    if (!pattern.empty() && !text.empty()) {
        regex_t compiled;
        if (regcomp(&compiled, pattern.c_str(), REG_EXTENDED) != 0) {
            expected = 2;
        } else {
            const int result = regexec(&compiled, text.c_str(), 0, nullptr, 0);
            expected = result == 0 ? 1 : result == REG_NOMATCH ? 0 : 2;
            regfree(&compiled);
        }
    }
    require(regMatch(pattern.c_str(), text.c_str()) == expected, "regMatch");
}

// ---- the accumulator

void checkAccumulator(const std::string &a, size_t n, char c) {
    cleanBuf();
    std::string expected;
    for (int round = 0; round < 4; ++round) {
        const size_t more = round % 2 == 0 ? a.size() : n;
        size_t size = bufSize;
        if (expected.size() + more >= size) {
            size = 1024 * ((expected.size() + more + 1) % 1024);
        }
        const bool fits = expected.size() + more <= size;
        const unsigned int answer =
            round % 2 == 0 ? appendBuf(a.c_str()) : appendBufByChar(c, static_cast<unsigned int>(n));
        if (more == 0) {
            require(answer == 1, "nothing to append");
            continue;
        }
        if (!fits) {
            require(answer == 0, "no room");
            continue;
        }
        expected += round % 2 == 0 ? a : std::string(n, c);
        require(answer == expected.size() && bufLen == expected.size(), "the new length");
        require(bufSize == size, "the growth rule");
        require(memcmp(buf, expected.c_str(), expected.size() + 1) == 0, "the accumulated text");
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    if (size > MOST_BYTES) {
        return 0;
    }
    Texts texts(1);
    for (size_t i = 0; i < size; ++i) {
        if (data[i] == 0) {
            texts.emplace_back();
        } else {
            texts.back().push_back(static_cast<char>(data[i]));
        }
    }
    texts.resize(std::max<size_t>(texts.size(), 3));
    const std::string &a = texts[0];
    const std::string &b = texts[1];
    const std::string &c = texts[2];
    const size_t n = size % 67;
    const char last = size > 0 ? static_cast<char>(data[size - 1]) : ' ';

    checkSearches(a, b, n, last);
    checkComparisons(a, b, n);
    checkCopies(a, b, n);
    checkReplacements(a, b, c);
    checkTokens(a, b);
    checkLines(a);
    checkRuns(a, last, n);
    checkFields(a, b, last);
    checkFilters(a, n);
    checkPattern(b, a);
    checkAccumulator(a, n * 37, last);
    return 0;
}
