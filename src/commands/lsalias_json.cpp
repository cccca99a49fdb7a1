// Describing the aliases.
#include "commands/lsalias_json.h"

#include "commands/alias_list.h"

namespace dravik {

s_ecItems *describeLsalias(int /*argc*/, Json *document) {
    AliasList list;
    s_ecItems *result = queryAliases(&list);
    if (isFailure(result)) {
        return result;
    }
    Json aliases = Json::array();
    for (const AliasEntry &entry : list.entries) {
        aliases.add(std::move(Json::object().set("wwid", entry.wwid).set("alias", entry.alias)));
    }
    document->set("aliases", std::move(aliases));
    return result;
}

} // namespace dravik
