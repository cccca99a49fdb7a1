// Bounded and null-safe functions over NUL-terminated byte strings: length, compare, copy, search.
//
// The whole system uses these instead of the C library's where a bound or a null argument matters. None of
// them allocates except `tessaline_replace`. Bytes are compared as unsigned values; no locale is consulted.
#pragma once

#include <cstddef>

// Length of `s` in bytes; `s` must not be null.
size_t tessaline_strlen(const char *s);

// Length of `s` in bytes, 0 for null. The length used throughout the system.
size_t safe_strlen(const char *s);

// Length of `s`, at most `max`; never reads past `max` bytes.
size_t tessaline_strnlen(const char *s, size_t max);

// The first place of `c` in `s`, or null. With `c` 0: the place of the terminator.
char *tessaline_strchr(const char *s, int c);

// How many leading characters of `s` are in `set`; the largest size_t when either is null.
size_t tessaline_strspn(const char *s, const char *set);

// How many leading characters of `s` are not in `set`; the largest size_t when either is null.
size_t tessaline_strcspn(const char *s, const char *set);

// The next token of a scan: a non-null `s` starts one, null continues it. Cuts the text in place, skips runs
// of delimiters, answers null at the end or when no scan is active. Keeps its own place, apart from the C
// library's strtok; one scan at a time.
char *tessaline_strtok(char *s, const char *delimiters);

// Compares at most `n` characters: 0 when `n` matched or both texts ended together, otherwise the difference
// of the first differing bytes as unsigned values.
int tessaline_strncmp(const char *a, const char *b, size_t n);

// The first occurrence of `needle` in `haystack`, or null; an empty needle is found at once.
char *tessaline_strstr(const char *haystack, const char *needle);

// Copies `n` bytes forward, one at a time (an overlap with the destination below the source is fine).
void *tessaline_memcpy(void *d, const void *s, size_t n);

// Appends at most `n` characters of `s` to the text in `d` and terminates; returns `d`.
char *tessaline_strncat(char *d, const char *s, size_t n);

// Copies at most `n` characters of `s` and always terminates; what is left up to and including d[n] is filled
// with zero bytes. `d` therefore holds n + 1 bytes. `n` 0 does nothing. Returns `d`.
char *tessaline_strncpy(char *d, const char *s, size_t n);

// Null-safe first occurrence of the character `c`, null when there is none.
char *find_char(const char *s, char c);

// Null-safe `tessaline_strstr`, the search of all parsers; null when either text is null.
char *find_str(const char *haystack, const char *needle);

// How often `needle` occurs in `s`, overlaps counted; 0 for null texts or an empty needle.
int numberOfString(const char *s, const char *needle);

// Writes `s` into `d` with every occurrence of `old_text` replaced by `new_text`, and terminates. `d` is not
// bounded: the caller sizes it. An empty `old_text` is never found.
void tessaline_strrpl(char *d, const char *s, const char *old_text, const char *new_text);

// A copy of `s` in which `old_text` is replaced by `new_text` until none is left, searching from the start
// after each replacement: a `new_text` that contains `old_text` never ends. The caller frees the result. `s`
// itself comes back, not a copy, when `old_text` or `new_text` is null; null when an allocation fails.
char *tessaline_replace(char *s, const char *old_text, const char *new_text);

// 1 when `s` begins with `prefix` (an empty prefix always does), 0 otherwise or for a null argument.
int isBeginwith(const char *s, const char *prefix);

// Compares backwards from the last characters until either text reaches its first character or they differ,
// and answers whether the last pair was equal. A suffix longer than `s` can therefore match ("b" ends with
// "ab"): kept so on purpose. 0 for a null argument; two empty texts, or an empty suffix, match.
int isEndWith(const char *s, const char *suffix);

// Prints `s` to standard output, cut or padded with blanks to exactly `width` characters. `s` is cut in place
// for the time of the call and restored.
void printWidth(char *s, int width);
