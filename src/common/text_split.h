// Cutting text into lines, tokens and fields, and matching it against a pattern.
#pragma once

// The place after the next newline of `s`, or null when there is none or `s` is null. A newline that is the
// last character of `s` is replaced by a terminator and the answer is null.
char *get_next_line(char *s);

// The index of the first character at or after `from` that differs from `c`, -1 when all the rest equals `c`,
// when `s` is null or empty, or when `from` is negative or not below the length.
int findNotChar(const char *s, int from, char c);

// The same as a place in `s`, null for -1.
char *pFindNotChar(const char *s, int from, char c);

// Records in `positions` (room for `max`) the index at which each run of characters other than `separator`
// begins, until `max` are recorded or `s` ends; returns how many. 0 for a null or empty `s`, which is not
// changed.
int findSubStrIndexes(const char *s, char separator, int *positions, int max);

// Splits `s` at every occurrence of the text `delimiter`, empty fields kept. One allocation holds the array
// of fields, ended by a null pointer, and behind it the copy of `s` that they point into: the caller frees
// that one block. `count`, if not null, receives the number of fields (occurrences + 1; an empty delimiter
// never occurs), or 0 when the allocation failed or `s` or `delimiter` is null and the result is null.
char **_strsplit(const char *s, const char *delimiter, unsigned int *count);

// `_strsplit` without the count, and with it.
char **strsplit(const char *s, const char *delimiter);
char **strsplit_count(const char *s, const char *delimiter, unsigned int *count);

// Splits `s` in place at the character `c`, empty fields dropped. Stores an array of the fields in `array`,
// which the caller frees (the fields lie in `s`), and returns their number. 0 for a null or empty `s` or when
// the allocation fails; `array` is then null.
int splitStr(char *s, char c, char ***array);

// The size of one slot of `spliteString`.
constexpr int SPLIT_SLOT_SIZE = 256;

// Copies each token of `s` (cut in place) into consecutive slots of SPLIT_SLOT_SIZE bytes, cut to fit with
// their terminator; returns how many. The caller provides as many slots as `s` has tokens.
int spliteString(char (*slots)[SPLIT_SLOT_SIZE], char *s, const char *delimiters);

// Matches `text` against `pattern`, a POSIX extended regular expression (POSIX.1-2017, chapter 9) that may
// match anywhere in it: 1 match, 0 no match or either argument null or empty, 2 when the pattern does not
// compile or the matching fails.
int regMatch(const char *pattern, const char *text);
