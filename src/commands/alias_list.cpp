// Reading the aliases that alias.sh prints.
#include "commands/alias_list.h"

#include "common/text.h"
#include "common/text_split.h"
#include "host/command_output.h"
#include "host/task.h"
#include "host/tool_names.h"

namespace dravik {

using namespace literals;

namespace {

// An output up to this long has no table.
constexpr unsigned int NO_TABLE_LENGTH = 2;

// Cuts the script's output into entries, up to a line without a blank; an empty one is such a line.
//
//   360000000000000000000000000000001 mpatha
//   360000000000000000000000000000002 backup
std::vector<AliasEntry> readEntries(char *text) {
    std::vector<AliasEntry> entries;
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
        entries.push_back({line, blank + 1});
    }
    return entries;
}

} // namespace

s_ecItems *queryAliases(AliasList *list) {
    const ShellCommand command(CMD_sh, " "_sh, SH_alias, " query"_sh);
    const CommandOutput output;
    s_ecItems *result = runForOutput("lsalias", command, output.pages, TASK_OUTPUT_SIZE);
    if (!isFailure(result) && safe_strlen(output.pages) > NO_TABLE_LENGTH) {
        list->has_table = true;
        list->entries = readEntries(output.pages);
    }
    return result;
}

} // namespace dravik
