// Setting, deleting and listing aliases through alias.sh, which exits with 0 on success and otherwise begins
// its output with a digit: "4" the pair exists, "5" the alias belongs to another WWID, "7" the WWID has no
// alias.
#include "commands/setalias.h"

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <vector>

#include "commands/parameter_buffers.h"
#include "common/capture.h"
#include "common/log.h"
#include "common/text.h"
#include "common/text_split.h"
#include "host/command_output.h"
#include "host/task.h"
#include "host/tool_names.h"

namespace {

// A row of the table; both texts lie in the script's output.
struct AliasRow {
    char *wwid;
    char *alias;
};

// The first character of the script's output.
char statusDigit(const TaskOutput &output) {
    return output.pages != nullptr ? output.pages[0] : '\0';
}

// Whether the alias names a device of the maker's other than the one with the WWID itself as its name.
// Everything else, a tool that cannot be run included, leaves the decision to the script.
bool isTaken(const char *operation, const char *command) {
    TaskOutput output;
    int grown = 0;
    const int result = output.pages == nullptr
                           ? EXE_NO_MEMORY
                           : exe_cmd(command, output.pages, TaskOutput::size, &output.text, &grown);
    if (result < 0) {
        DRAVIK_LOG_AS(operation, LOG_ERROR, "Execute command [%s] failed", command);
        return false;
    }
    if (find_str(output.text, "KORVEL") == nullptr) {
        // The ordinary case of a new alias: noted in the record, which nobody returns.
        initEcItems1(&EC_no_this_device, gParamAliasVal);
        return false;
    }
    return strcmp(gParamAliasVal, gParamWwidVal) != 0;
}

// Cuts the script's output into rows, up to a line without a blank; an empty one is such a line.
//
//   360000000000000000000000000000001 mpatha
//   360000000000000000000000000000002 backup
std::vector<AliasRow> readRows(char *text) {
    std::vector<AliasRow> rows;
    char *next = text;
    while (next != nullptr) {
        char *line = next;
        next = get_next_line(line);
        if (next != nullptr) {
            next[-1] = '\0';
        }
        char *blank = find_char(line, ' ');
        if (blank == nullptr) {
            break;
        }
        *blank = '\0';
        rows.push_back({line, blank + 1});
    }
    return rows;
}

void printTable(const std::vector<AliasRow> &rows) {
    char wwid_heading[] = "wwid";
    char alias_heading[] = "alias";
    size_t wwid_width = strlen(wwid_heading);
    size_t alias_width = strlen(alias_heading);
    for (const AliasRow &row : rows) {
        wwid_width = std::max(wwid_width, strlen(row.wwid));
        alias_width = std::max(alias_width, strlen(row.alias));
    }
    const int first = static_cast<int>(wwid_width) + 1;
    const int second = static_cast<int>(alias_width);
    // The second heading is as wide as the first, whatever stands below it: scripts cut the table so.
    printWidth(wwid_heading, first);
    printWidth(alias_heading, first);
    putchar('\n');
    for (const AliasRow &row : rows) {
        printWidth(row.wwid, first);
        printWidth(row.alias, second);
        putchar('\n');
    }
}

} // namespace

s_ecItems *setalias() {
    char command[TASK_COMMAND_SIZE] = "";
    snprintf(command, sizeof(command), "%s -ll %s", CMD_velomux, gParamAliasVal);
    char set_command[TASK_COMMAND_SIZE] = "";
    snprintf(set_command, sizeof(set_command), "%s %s set %s %s", CMD_sh, SH_alias, gParamWwidVal,
             gParamAliasVal);
    if (!mayRunWith(__func__, gParamAliasVal, command) || !mayRunWith(__func__, gParamWwidVal, set_command)) {
        return &EC_exe_cmd_failed;
    }
    if (isTaken(__func__, command)) {
        initEcItems1(&EC_exist_alias, gParamAliasVal);
        return &EC_exist_alias;
    }
    const TaskOutput output;
    s_ecItems *result = exeLiunxInfoCmd(set_command, output.pages, TASK_OUTPUT_SIZE);
    if (!isFailure(result)) {
        return &EC_ok;
    }
    switch (statusDigit(output)) {
    case '4':
        initEcItems2(&EC_exist_wwid_alias, gParamWwidVal, gParamAliasVal);
        return &EC_exist_wwid_alias;
    case '5':
        initEcItems1(&EC_exist_alias, gParamAliasVal);
        return &EC_exist_alias;
    default:
        return result;
    }
}

s_ecItems *delalias() {
    char command[TASK_COMMAND_SIZE] = "";
    snprintf(command, sizeof(command), "%s %s del %s", CMD_sh, SH_alias, gParamWwidVal);
    if (!mayRunWith(__func__, gParamWwidVal, command)) {
        return &EC_exe_cmd_failed;
    }
    const TaskOutput output;
    s_ecItems *result = exeLiunxInfoCmd(command, output.pages, TASK_OUTPUT_SIZE);
    if (!isFailure(result)) {
        return &EC_ok;
    }
    if (statusDigit(output) == '7') {
        initEcItems1(&EC_no_wwid, gParamWwidVal);
        return &EC_no_wwid;
    }
    return result;
}

s_ecItems *lsalias() {
    char command[TASK_COMMAND_SIZE] = "";
    snprintf(command, sizeof(command), "%s %s query", CMD_sh, SH_alias);
    const TaskOutput output;
    s_ecItems *result = exeLiunxInfoCmd(command, output.pages, TASK_OUTPUT_SIZE);
    if (isFailure(result)) {
        return result;
    }
    print__();
    if (safe_strlen(output.pages) > 2) {
        printTable(readRows(output.pages));
    }
    print__();
    return result;
}
