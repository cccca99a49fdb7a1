// Storing and looking up virtual-disk names.
#include "array/vdisk_cache.h"

#include <cstring>
#include <string>

#include "array/array_log.h"
#include "array/device_node.h"
#include "array/vdisk_entry.h"
#include "array/vdisk_file.h"
#include "common/text.h"

namespace {

bool writes_held = false;

void logWriteFailure(const char *operation, const char *path, int error) {
    ARRAY_LOG_AS(operation, "Failed to write file %s: %s.\n", path, strerror(error));
}

void logTooLarge(const char *operation, const char *path) {
    ARRAY_LOG_AS(operation, "File %s is larger than %lld bytes, not used.\n", path, VDISK_CACHE_LIMIT);
}

void writeTree(const char *operation, VdiskTree *tree) {
    const std::string path = tree->path;
    const int error = writeVdiskTree(tree);
    if (error != 0) {
        logWriteFailure(operation, path.c_str(), error);
    }
}

// The tree of `path`; there is room for one in memory, so another file's unwritten one is written first.
TreeState load(const char *operation, const char *path, VdiskTree **tree, std::string *error) {
    VdiskTree *unwritten = unwrittenVdiskTree();
    if (unwritten != nullptr && unwritten->path != path) {
        writeTree(operation, unwritten);
    }
    return loadVdiskTree(path, tree, error);
}

// The tree's part of a store. True when the file is to be written.
bool storeInTree(VdiskTree *tree, const char *wwid, const char *name) {
    if (!isJsonArray(tree->disk)) {
        return tree->disk == nullptr;
    }
    const cJSON *blocked_by = nullptr;
    cJSON *entry = entryForUpdate(tree, wwid, &blocked_by);
    if (blocked_by != nullptr) {
        ARRAY_LOG_AS("update_wwid_vdiskname", "Invalid JSON format for json property %s.\n",
                     jsonKey(blocked_by));
    }
    if (entry == nullptr) {
        return appendEntry(tree, wwid, name);
    }
    cJSON *item = cJSON_CreateString(name);
    if (item == nullptr) {
        return false;
    }
    if (!renameEntry(entry, wwid, item)) {
        cJSON_Delete(item);
        return false;
    }
    return true;
}

} // namespace

int make_disk_json(const char *wwid, const char *name, const char *path) {
    cJSON *root = firstDiskTree(wwid, name);
    if (root == nullptr) {
        return 0;
    }
    forgetVdiskTree(); // whatever it held is about to be replaced
    const int error = writeJsonFile(path, root);
    cJSON_Delete(root);
    if (error != 0) {
        logWriteFailure(__func__, path, error);
        return 0;
    }
    return 1;
}

void store_wwid_vdiskname(const char *path, const char *wwid, const char *name) {
    if (safe_strlen(wwid) == 0) {
        ARRAY_LOG("Failed to save wwid filed, because wwid is NULL.\n");
    }
    if (safe_strlen(name) == 0) {
        ARRAY_LOG("Failed to save vdisk name filed, because vdisk name is NULL.\n");
    }
    if (safe_strlen(wwid) == 0 || safe_strlen(name) == 0) {
        return;
    }
    VdiskTree *tree = nullptr;
    std::string error;
    switch (load(__func__, path, &tree, &error)) {
    case TreeState::MISSING:
    case TreeState::DAMAGED:
        make_disk_json(wwid, name, path);
        break;
    case TreeState::UNREADABLE:
        break;
    case TreeState::TOO_LARGE:
        logTooLarge(__func__, path);
        break;
    case TreeState::READY:
        tree->unwritten = storeInTree(tree, wwid, name) || tree->unwritten;
        if (tree->unwritten && !writes_held) {
            writeTree(__func__, tree);
        }
        break;
    }
}

void getStoredVdiskname(const char *path, const char *wwid, char *name, unsigned int *found) {
    VdiskTree *tree = nullptr;
    std::string error;
    switch (load(__func__, path, &tree, &error)) {
    case TreeState::MISSING:
    case TreeState::UNREADABLE:
        ARRAY_LOG("Error can't open file %s.\n", path);
        return;
    case TreeState::TOO_LARGE:
        logTooLarge(__func__, path);
        return;
    case TreeState::DAMAGED:
        ARRAY_LOG("Error before: [%s].\n", error.c_str());
        return;
    case TreeState::READY:
        break;
    }
    if (!isJsonObject(tree->root)) {
        ARRAY_LOG("Invalid JSON format for %s file.\n", path);
        return;
    }
    if (!isJsonArray(tree->disk)) {
        ARRAY_LOG("Invalid JSON format for json property %s.\n", jsonKey(tree->disk));
        return;
    }
    cJSON *entry = entryForLookup(tree, wwid);
    if (entry == nullptr) {
        return;
    }
    const cJSON *item = cJSON_GetObjectItem(entry, "vdisk_name");
    if (isJsonString(item)) {
        copyVdiskName(name, item->valuestring);
    }
    *found = 1;
}

void holdVdiskWrites() {
    writes_held = true;
}

void releaseVdiskWrites() {
    writes_held = false;
    VdiskTree *tree = unwrittenVdiskTree();
    if (tree != nullptr) {
        writeTree(__func__, tree);
    }
}
