// Listing the aliases.
#include "commands/lsalias.h"

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <string>
#include <vector>

#include "commands/alias_list.h"
#include "common/log.h"
#include "common/text.h"
#include "common/visible_text.h"

using dravik::VisibleText;

namespace {

// A row of the table, as it is shown.
struct AliasRow {
    std::string wwid;
    std::string alias;
};

std::vector<AliasRow> shownRows(const std::vector<dravik::AliasEntry> &entries) {
    std::vector<AliasRow> rows;
    rows.reserve(entries.size());
    for (const dravik::AliasEntry &entry : entries) {
        rows.push_back({VisibleText(entry.wwid.c_str()).text(), VisibleText(entry.alias.c_str()).text()});
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
    dravik::AliasList list;
    s_ecItems *result = dravik::queryAliases(&list);
    if (isFailure(result)) {
        return result;
    }
    print__();
    if (list.has_table) {
        printTable(shownRows(list.entries));
    }
    print__();
    return result;
}
