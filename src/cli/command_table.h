// The names of the administration commands: the check of a name, the list of all, the help texts.
#pragma once

#include "common/result.h"

// The commands that are listed, in the list's order; ends with an empty row.
constexpr unsigned int CLI_NAME_SIZE = 64;
extern const char CLI_NAMES[19][CLI_NAME_SIZE];

// EC_ok when `name` is one of `CLI_NAMES`, or "refresh", which is accepted and not listed. Otherwise, for the
// service commands too, EC_invalid_cli_name with the name.
s_ecItems *checkCliNames(const char *name);

// Prints the names of `CLI_NAMES`, one a line.
void print_cli_list();

// Prints the help text "/usr/bin/dravik-help/NAME.help" between two separators, the maker's name in place of
// every "XXXXXX". Returns EC_ok; EC_no_help with the name when there is no such file, or when the name is none
// that a shell may see; EC_print_help when the file could not be shown, logged at level 0 as "Execute command
// [%s] failed\n". After a failure nothing has been printed.
s_ecItems *showHelp(const char *name);

// `showHelp`, whose failure is printed as a command's result is.
void print_help(const char *name);
