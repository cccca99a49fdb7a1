// Looking names up in the name cache.
#include "array/vdisk_names.h"

#include "array/vdisk_cache.h"
#include "array/vdisk_entry.h"
#include "array/vdisk_file.h"

namespace dravik {

VdiskNames::VdiskNames() {
    readAgain();
}

void VdiskNames::readAgain() {
    std::string error;
    forgetVdiskTree();
    if (loadVdiskTree(VDISK_CACHE_FILE, false, &tree, &error) != TreeState::READY) {
        tree = nullptr;
    }
}

VdiskNames::~VdiskNames() {
    forgetVdiskTree();
}

std::string VdiskNames::of(const std::string &wwid) const {
    const cJSON *entry = tree == nullptr ? nullptr : entryForLookup(tree, wwid.c_str());
    const cJSON *name = entry == nullptr ? nullptr : cJSON_GetObjectItem(entry, "vdisk_name");
    return name != nullptr && isJsonString(name) ? name->valuestring : "";
}

} // namespace dravik
