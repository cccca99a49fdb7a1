// The help texts of the commands.
#pragma once

#include "common/result.h"

namespace dravik {

// Prints the help text "/usr/bin/dravik-help/NAME.help" between two separators, the maker's name in place of
// every "XXXXXX". Returns EC_ok; EC_no_help with the name when there is no such file, or when the name is none
// that a shell may see; EC_print_help when the file could not be shown, logged at level 0 as "Execute command
// [%s] failed\n". After a failure nothing has been printed.
s_ecItems *showHelp(const char *name);

} // namespace dravik

// `showHelp`, whose failure is printed as a command's result is.
void print_help(const char *name);
