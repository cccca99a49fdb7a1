// Showing the help text of a command.
#include "cli/help.h"

#include <cstdio>
#include <cstring>
#include <unistd.h>
#include <vector>

#include "common/log.h"
#include "common/plain_word.h"
#include "common/text.h"
#include "host/command_output.h"
#include "host/shell_command.h"
#include "host/tool_names.h"

using dravik::ShellCommand;
using namespace dravik::literals;

namespace {

constexpr size_t HELP_PATH_SIZE = 256;

// The help texts are the same for every label; the maker's name is filled in when they are shown. Both texts
// have the same length, so the shown text needs no more room than the file.
constexpr char MAKER_PLACEHOLDER[] = "XXXXXX";
constexpr char MAKER_NAME[] = "Korvel";
static_assert(sizeof(MAKER_PLACEHOLDER) == sizeof(MAKER_NAME));

void printHelpText(const char *text) {
    std::vector<char> shown(strlen(text) + 1);
    tessaline_strrpl(shown.data(), text, MAKER_PLACEHOLDER, MAKER_NAME);
    print__();
    fputs(shown.data(), stdout);
    print__();
}

} // namespace

s_ecItems *dravik::showHelp(const char *name) {
    char path[HELP_PATH_SIZE] = "";
    const int length = snprintf(path, sizeof(path), "/usr/bin/dravik-help/%s.help", name);
    if (!isPlainWord(name) || length >= static_cast<int>(sizeof(path)) || access(path, F_OK) != 0) {
        initEcItems1(&EC_no_help, name);
        return &EC_no_help;
    }
    const ShellCommand command(CMD_cat, " "_sh, path);
    CommandOutput output;
    if (output.fill(exe_cmd, command.line()) != 0) {
        DRAVIK_LOG_AS("print_help", LOG_ERROR, "Execute command [%s] failed\n", command.line());
        return &EC_print_help;
    }
    if (output.text[0] != '\0') {
        printHelpText(output.text);
    }
    return &EC_ok;
}

void print_help(const char *name) {
    const s_ecItems *result = dravik::showHelp(name);
    if (isFailure(result)) {
        print_ec(result);
    }
}
