// The aliases that are configured, asked from alias.sh.
#pragma once

#include <string>
#include <vector>

#include "common/result.h"

namespace dravik {

// An alias as the script prints it: a foreign text.
struct AliasEntry {
    std::string wwid;
    std::string alias;
};

// What the script printed: whether there was enough of it for a table, and the table's rows.
struct AliasList {
    bool has_table = false;
    std::vector<AliasEntry> entries;
};

// Asks for the aliases. EC_info_ok; EC_exe_cmd_failed, with nothing in `*list`, when the script could not be run or failed.
s_ecItems *queryAliases(AliasList *list);

} // namespace dravik
