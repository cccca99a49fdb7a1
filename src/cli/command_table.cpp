// The names of the administration commands and their help.
#include "cli/command_table.h"

#include <cstdio>
#include <cstring>
#include <unistd.h>
#include <vector>

#include "common/capture.h"
#include "common/log.h"
#include "common/plain_word.h"
#include "common/text.h"
#include "host/command_output.h"
#include "host/task.h"
#include "host/tool_names.h"

const char CLI_NAMES[19][CLI_NAME_SIZE] = {"aggregation",  "config",        "delalias", "delete", "lsalias",
                                           "lspathpolicy", "query",         "restart",  "scan",   "setalias",
                                           "setstate",     "setpathpolicy", "start",    "status", "stop",
                                           "version",      "port",          "devstats", ""};

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

s_ecItems *withName(s_ecItems *record, const char *name) {
    initEcItems1(record, name);
    return record;
}

} // namespace

s_ecItems *checkCliNames(const char *name) {
    const char *given = name == nullptr ? "" : name;
    for (int row = 0; CLI_NAMES[row][0] != '\0'; ++row) {
        if (tessaline_strncmp(given, CLI_NAMES[row], CLI_NAME_SIZE) == 0) {
            return &EC_ok;
        }
    }
    return tessaline_strncmp(given, "refresh", CLI_NAME_SIZE) == 0 ? &EC_ok
                                                                   : withName(&EC_invalid_cli_name, given);
}

void print_cli_list() {
    for (int row = 0; CLI_NAMES[row][0] != '\0'; ++row) {
        puts(CLI_NAMES[row]);
    }
}

s_ecItems *showHelp(const char *name) {
    char path[HELP_PATH_SIZE] = "";
    const int length = snprintf(path, sizeof(path), "/usr/bin/dravik-help/%s.help", name);
    if (!isPlainWord(name) || length >= static_cast<int>(sizeof(path)) || access(path, F_OK) != 0) {
        return withName(&EC_no_help, name);
    }
    char command[TASK_COMMAND_SIZE] = "";
    snprintf(command, sizeof(command), "%s %s", CMD_cat, path);
    TaskOutput output;
    int grown = 0;
    if (output.pages == nullptr ||
        exe_cmd(command, output.pages, TaskOutput::size, &output.text, &grown) != 0) {
        DRAVIK_LOG_AS("print_help", LOG_ERROR, "Execute command [%s] failed\n", command);
        return &EC_print_help;
    }
    if (output.text[0] != '\0') {
        printHelpText(output.text);
    }
    return &EC_ok;
}

void print_help(const char *name) {
    const s_ecItems *result = showHelp(name);
    if (isFailure(result)) {
        print_ec(result);
    }
}
