// Listing the aliases that alias.sh prints.
#include "commands/lsalias.h"

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <string>
#include <vector>

#include "common/log.h"
#include "common/text.h"
#include "common/text_split.h"
#include "common/visible_text.h"
#include "host/command_output.h"
#include "host/task.h"
#include "host/tool_names.h"

using dravik::ShellCommand;
using dravik::VisibleText;
using namespace dravik::literals;

namespace {

// A row of the table, as it is shown.
struct AliasRow {
    std::string wwid;
    std::string alias;
};

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
        rows.push_back({VisibleText(line).text(), VisibleText(blank + 1).text()});
    }
    return rows;
}

void printTable(std::vector<AliasRow> rows) {
    char wwid_heading[] = "wwid";
    char alias_heading[] = "alias";
    size_t wwid_width = strlen(wwid_heading);
    size_t alias_width = strlen(alias_heading);
    for (const AliasRow &row : rows) {
        wwid_width = std::max(wwid_width, row.wwid.size());
        alias_width = std::max(alias_width, row.alias.size());
    }
    const int first = static_cast<int>(wwid_width) + 1;
    const int second = static_cast<int>(alias_width);
    // The second heading is as wide as the first, whatever stands below it: scripts cut the table so.
    printWidth(wwid_heading, first);
    printWidth(alias_heading, first);
    putchar('\n');
    for (AliasRow &row : rows) {
        printWidth(row.wwid.data(), first);
        printWidth(row.alias.data(), second);
        putchar('\n');
    }
}

} // namespace

s_ecItems *lsalias() {
    const ShellCommand command(CMD_sh, " "_sh, SH_alias, " query"_sh);
    const CommandOutput output;
    s_ecItems *result = runForOutput(__func__, command, output.pages, TASK_OUTPUT_SIZE);
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
