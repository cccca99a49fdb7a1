// How like a typed word is to a name: for "did you mean".
#pragma once

#include <cstddef>
#include <string_view>

namespace dravik {

// More mistakes than this make it another word.
constexpr size_t MOST_MISTAKES = 2;
constexpr size_t LONGEST_NAME = 64;

// How many letters of `word` are wrong, missing, too many, or exchanged with their neighbour, against `name` of at most
// LONGEST_NAME bytes. More than MOST_MISTAKES may be told as any number above it.
size_t mistakesBetween(std::string_view word, std::string_view name);

} // namespace dravik
