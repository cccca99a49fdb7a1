// Character tests over ASCII, whatever the locale; a null text counts as empty.
#pragma once

// Whether every character is 0 to 9, a hexadecimal digit of either case, a letter or digit. True for "".
bool isDigit(const char *text);
bool isHex(const char *text);
bool isDigitorOrLetter(const char *text);

// Whether at least one character is an upper-case letter, despite the name; so false for "".
bool isUpperLetter(const char *text);
