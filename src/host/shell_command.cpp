// Putting a command line together.
#include "host/shell_command.h"

#include <algorithm>
#include <cstring>

namespace dravik {

void ShellCommand::append(std::string_view part) {
    const size_t fits = std::min(part.size(), SHELL_COMMAND_SIZE - 1 - length);
    memcpy(text + length, part.data(), fits);
    length += fits;
    text[length] = '\0';
}

} // namespace dravik
