// Storing and looking up virtual-disk names.
#include "array/vdisk_cache.h"

#include <cerrno>
#include <cstring>
#include <new>
#include <string>

#include "array/array_log.h"
#include "array/device_node.h"
#include "array/vdisk_entry.h"
#include "array/vdisk_file.h"
#include "array/vdisk_merge.h"
#include "array/vdisk_writer.h"
#include "common/replace_file.h"
#include "common/text.h"

namespace {

bool writes_held = false;

void logWriteFailure(const char *operation, const char *path, int error) {
    ARRAY_LOG_AS(operation, "Failed to write file %s: %s.\n", path, strerror(error));
}

void logTooLarge(const char *operation, const char *path) {
    ARRAY_LOG_AS(operation, "File %s is larger than %lld bytes, not used.\n", path, VDISK_CACHE_LIMIT);
}

// A first file with one entry, within the turn. 1 or 0, as `make_disk_json`.
int makeFirstFile(const char *operation, const char *wwid, const char *name, const char *path) {
    cJSON *root = firstDiskTree(wwid, name);
    if (root == nullptr) {
        return 0;
    }
    forgetVdiskTree(); // whatever it held is about to be replaced
    const int error = writeJsonFile(path, root);
    cJSON_Delete(root);
    if (error != 0) {
        logWriteFailure(operation, path, error);
    }
    return error == 0 ? 1 : 0;
}

// Merges the pair into the tree of the file as it is now, within the turn. `*changed` is set when the tree is to be
// written. False when the file cannot be merged into: nothing more is to be done.
bool mergePair(const char *operation, const char *path, const VdiskPair &pair, bool logged, bool *changed) {
    VdiskTree *tree = nullptr;
    std::string error;
    switch (loadVdiskTree(path, *changed, &tree, &error)) {
    case TreeState::MISSING:
    case TreeState::DAMAGED:
        return makeFirstFile("make_disk_json", pair.wwid.c_str(), pair.name.c_str(), path) == 1;
    case TreeState::UNREADABLE:
        return false;
    case TreeState::TOO_LARGE:
        logTooLarge(operation, path);
        return false;
    case TreeState::READY:
        *changed = dravik::mergeIntoTree(tree, pair.wwid.c_str(), pair.name.c_str(), logged) || *changed;
        return true;
    }
    return false;
}

// Merges the pairs into the file as it is when its turn comes, and writes it once. 0 or the error number.
int mergeInTurn(const char *operation, const char *path, const std::vector<VdiskPair> &pairs, bool logged) {
    dravik::WritingTurn turn;
    const int error = turn.take(path);
    bool changed = false;
    for (const VdiskPair &pair : pairs) {
        if (error != 0 || !mergePair(operation, path, pair, logged, &changed)) {
            break;
        }
    }
    VdiskTree *tree = nullptr;
    std::string parse_error;
    return changed && loadVdiskTree(path, true, &tree, &parse_error) == TreeState::READY
               ? writeVdiskTree(tree)
               : error;
}

// The same, its failure logged. False when memory ran out.
bool merge(const char *operation, const char *path, const std::vector<VdiskPair> &pairs, bool logged) {
    int error = 0;
    try {
        error = mergeInTurn(operation, path, pairs, logged);
    } catch (const std::bad_alloc &) {
        forgetVdiskTree(); // it may hold what the file does not
        error = ENOMEM;
    }
    if (error != 0) {
        logWriteFailure(operation, path, error);
    }
    return error != ENOMEM;
}

// A store while writes are held: the tree in memory learns the name at once, the file through the writer. False when
// nothing has been done: there is no file yet, or no writer can be had.
bool handOn(const char *path, const char *wwid, const char *name) {
    VdiskTree *tree = nullptr;
    std::string error;
    if (!writes_held || loadVdiskTree(path, true, &tree, &error) != TreeState::READY ||
        !dravik::startVdiskWriter(path)) {
        return false;
    }
    if (dravik::mergeIntoTree(tree, wwid, name, true) && !dravik::handToVdiskWriter(wwid, name)) {
        forgetVdiskTree(); // it holds what the file does not
        merge("store_wwid_vdiskname", path, {{wwid, name}}, false);
    }
    return true;
}

} // namespace

int make_disk_json(const char *wwid, const char *name, const char *path) {
    dravik::WritingTurn turn;
    const int error = turn.take(path);
    if (error != 0) {
        logWriteFailure(__func__, path, error);
        return 0;
    }
    return makeFirstFile(__func__, wwid, name, path);
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
    if (!handOn(path, wwid, name)) {
        merge(__func__, path, {{wwid, name}}, true);
    }
}

bool mergeVdiskNames(const char *path, const std::vector<VdiskPair> &pairs) {
    return merge("store_wwid_vdiskname", path, pairs, false);
}

void getStoredVdiskname(const char *path, const char *wwid, char *name, unsigned int *found) {
    VdiskTree *tree = nullptr;
    std::string error;
    switch (loadVdiskTree(path, writes_held, &tree, &error)) {
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
    forgetVdiskTree(); // from here on it is believed without another look at the file
    writes_held = true;
}

void releaseVdiskWrites() {
    writes_held = false;
    dravik::endVdiskWriter();
    forgetVdiskTree();
}
