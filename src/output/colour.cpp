// The escape sequences of ECMA-48.
#include "output/colour.h"

#include <cstdlib>
#include <cstring>
#include <unistd.h>

namespace dravik {

namespace {

bool showsColour() {
    const char *no_color = getenv("NO_COLOR");
    const char *terminal = getenv("TERM");
    return isatty(STDOUT_FILENO) != 0 && (no_color == nullptr || no_color[0] == '\0') &&
           (terminal == nullptr || strcmp(terminal, "dumb") != 0);
}

} // namespace

std::string coloured(const std::string &line, Colour colour) {
    if (colour == Colour::NONE || !showsColour()) {
        return line;
    }
    return (colour == Colour::RED ? "\033[31m" : "\033[33m") + line + "\033[0m";
}

} // namespace dravik
