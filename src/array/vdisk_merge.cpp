// Merging a name.
#include "array/vdisk_merge.h"

#include <string>

#include "array/array_log.h"
#include "array/vdisk_entry.h"

bool dravik::mergeIntoTree(VdiskTree *tree, const char *wwid, const char *name, bool logged) {
    if (!isJsonArray(tree->disk)) {
        return tree->disk == nullptr;
    }
    const cJSON *blocked_by = nullptr;
    cJSON *entry = entryForUpdate(tree, wwid, &blocked_by);
    if (blocked_by != nullptr && logged) {
        ARRAY_LOG_AS("update_wwid_vdiskname", "Invalid JSON format for json property %s.\n",
                     jsonKey(blocked_by));
    }
    if (entry == nullptr) {
        return appendEntry(tree, wwid, name);
    }
    cJSON *item = cJSON_CreateString(name);
    std::string old_name;
    if (item == nullptr || !renameEntry(entry, item, &old_name)) {
        cJSON_Delete(item);
        return false;
    }
    if (logged) {
        logNameChange(wwid, old_name.c_str(), name);
    }
    return true;
}
