// Colour, on a terminal alone.
#pragma once

#include <string>

namespace dravik {

enum class Colour { NONE, YELLOW, RED };

// The line in that colour, where standard output is a terminal, TERM is not "dumb" and NO_COLOR is not set (or empty); else
// as it is.
std::string coloured(const std::string &line, Colour colour);

} // namespace dravik
