// Character filters: what a log format and a command line may hold.
#pragma once

#include <cstddef>

// The index of `c` in the text `set`, or -1.
int is_cmd_inject_char(const char *set, char c);

// Appends `c` to the text in `buffer` and terminates it again; not bounded.
void str_addchar(char *buffer, char c);

// Appends `s` to the text in `buffer` with a backslash before every ";"; not bounded. Returns `buffer`, null
// for a null `s`.
char *escapeString(char *buffer, const char *s);

// `escapeString` for a buffer of `size` bytes: stops before a character (with its backslash) that no longer
// fits beside the terminator.
char *escapeStringBounded(char *buffer, size_t size, const char *s);

// `c` itself where a command line may hold it, the percent sign for every other character. Letters, digits,
// the blank and " # $ % & ' ( ) * , - . / : > [ \ ] ^ _ { | } pass.
char cleanChar(char c);

// Appends `cleanChar` of every character of `s` to the text in `buffer`; not bounded. Returns `buffer`, null
// for a null `s`.
char *cleanString(char *buffer, const char *s);
