// Numbers with two decimals, as printf prints them. Used inside this module.
#pragma once

#include <cstddef>

// Room for any number: 309 digits before the point.
constexpr size_t NUMBER_TEXT_SIZE = 400;

// Writes what printf("%*.2f", width, value) prints into `out`, which has room for NUMBER_TEXT_SIZE bytes, with
// no terminator to rely on; returns its length. `width` is at most 32.
size_t writeNumber(char *out, int width, double value);
