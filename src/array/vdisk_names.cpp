// Looking names up in the name cache.
#include "array/vdisk_names.h"

#include "array/vdisk_cache.h"
#include "array/vdisk_entry.h"
#include "array/vdisk_file.h"

namespace dravik {

VdiskNames::VdiskNames() {
    forgetVdiskTree();
}

VdiskNames::~VdiskNames() {
    forgetVdiskTree();
}

std::string
VdiskNames::of(const std::string &wwid) const { // NOLINT(readability-convert-member-functions-to-static)
    VdiskTree *tree = nullptr;
    std::string error;
    if (loadVdiskTree(VDISK_CACHE_FILE, true, &tree, &error) != TreeState::READY) {
        return "";
    }
    const cJSON *entry = entryForLookup(tree, wwid.c_str());
    const cJSON *name = entry == nullptr ? nullptr : cJSON_GetObjectItem(entry, "vdisk_name");
    return name != nullptr && isJsonString(name) ? name->valuestring : "";
}

} // namespace dravik
