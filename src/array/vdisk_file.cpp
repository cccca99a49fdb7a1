// Reading, indexing and writing the cache file.
#include "array/vdisk_file.h"

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <unistd.h>

#include "array/vdisk_cache.h"
#include "array/vdisk_entry.h"
#include "common/dumps_folder.h"
#include "common/json_memory.h"
#include "common/owned.h"
#include "common/replace_file.h"

namespace {

constexpr mode_t MODE_WHEN_NEW = 0600;

using Text = dravik::Block<char>;

// The tree in memory; there is none while `root` is null.
struct Kept : VdiskTree {
    Kept() : VdiskTree{} {}
    ~Kept() {
        cJSON_Delete(root);
    }
    Kept(const Kept &) = delete;
    Kept &operator=(const Kept &) = delete;
};
Kept kept;

bool isSameFile(const struct stat &a, const struct stat &b) {
    return a.st_dev == b.st_dev && a.st_ino == b.st_ino && a.st_size == b.st_size &&
           a.st_mtim.tv_sec == b.st_mtim.tv_sec && a.st_mtim.tv_nsec == b.st_mtim.tv_nsec &&
           a.st_ctim.tv_sec == b.st_ctim.tv_sec && a.st_ctim.tv_nsec == b.st_ctim.tv_nsec;
}

bool isCurrent(const char *path) {
    if (kept.root == nullptr || kept.path != path) {
        return false;
    }
    struct stat now = {};
    return stat(path, &now) == 0 && isSameFile(now, kept.attributes);
}

// Reads at most `size` bytes; false when that fails.
bool readAll(int fd, char *to, size_t size, size_t *length) {
    *length = 0;
    while (*length < size) {
        const ssize_t got = read(fd, to + *length, size - *length);
        if (got < 0 && errno != EINTR) {
            return false;
        }
        if (got == 0) {
            break;
        }
        *length += got > 0 ? static_cast<size_t>(got) : 0;
    }
    return true;
}

// The content of the open file as terminated text; null when it cannot be had.
Text readText(int fd, size_t size) {
    Text text(static_cast<char *>(malloc(size + 1)));
    size_t length = 0;
    if (text == nullptr || !readAll(fd, text.get(), size, &length)) {
        return nullptr;
    }
    text.get()[length] = '\0';
    return text;
}

// READY with the text and the attributes of the file, or what stands in the way.
TreeState readFile(const char *path, Text *text, struct stat *attributes) {
    // Without waiting: a named pipe in this place must not hold the command up.
    const dravik::Descriptor file = dravik::openDataFile(path, O_RDONLY | O_NONBLOCK);
    if (!file.isOpen()) {
        return access(path, F_OK) == 0 ? TreeState::UNREADABLE : TreeState::MISSING;
    }
    if (fstat(file.get(), attributes) != 0 || !S_ISREG(attributes->st_mode)) {
        return TreeState::UNREADABLE;
    }
    if (attributes->st_size > VDISK_CACHE_LIMIT) {
        return TreeState::TOO_LARGE;
    }
    *text = readText(file.get(), static_cast<size_t>(attributes->st_size));
    return *text != nullptr ? TreeState::READY : TreeState::UNREADABLE;
}

void addToIndex(VdiskTree *tree, cJSON *item) {
    const cJSON *wwid = cJSON_GetObjectItem(item, "wwid");
    if (isJsonString(wwid)) {
        tree->entries.emplace(wwid->valuestring, TreeEntry{item, tree->count});
    }
    tree->count++;
}

void buildIndex(VdiskTree *tree) {
    tree->disk = cJSON_GetObjectItem(tree->root, "disk");
    tree->count = 0;
    tree->first_bad = INT_MAX;
    tree->first_bad_item = nullptr;
    if (!isJsonArray(tree->disk)) {
        return;
    }
    for (cJSON *item = tree->disk->child; item != nullptr; item = item->next) {
        if (!isJsonObject(item) && tree->first_bad_item == nullptr) {
            tree->first_bad = tree->count;
            tree->first_bad_item = item;
        }
        if (isJsonObject(item)) {
            addToIndex(tree, item);
        } else {
            tree->count++;
        }
    }
}

} // namespace

TreeState loadVdiskTree(const char *path, bool held, VdiskTree **tree, std::string *error) {
    if ((held && kept.root != nullptr && kept.path == path) || isCurrent(path)) {
        *tree = &kept;
        return TreeState::READY;
    }
    forgetVdiskTree();
    Text text;
    struct stat attributes = {};
    const TreeState state = readFile(path, &text, &attributes);
    if (state != TreeState::READY) {
        return state;
    }
    const dravik::JsonMemory memory;
    kept.root = cJSON_Parse(text.get());
    if (kept.root == nullptr) {
        *error = jsonErrorText(); // it points into the text that is about to go
        return memory.ranOut() ? TreeState::UNREADABLE : TreeState::DAMAGED;
    }
    kept.path = path;
    kept.attributes = attributes;
    buildIndex(&kept);
    *tree = &kept;
    return TreeState::READY;
}

void forgetVdiskTree() {
    kept.entries.clear();
    cJSON_Delete(kept.root);
    kept.root = nullptr;
    kept.disk = nullptr;
}

cJSON *entryForUpdate(const VdiskTree *tree, const char *wwid, const cJSON **blocked_by) {
    const auto entry = tree->entries.find(wwid);
    const int index = entry == tree->entries.end() ? tree->count : entry->second.index;
    *blocked_by = tree->first_bad < index ? tree->first_bad_item : nullptr;
    return *blocked_by != nullptr || entry == tree->entries.end() ? nullptr : entry->second.item;
}

cJSON *entryForLookup(const VdiskTree *tree, const char *wwid) {
    const auto entry = wwid == nullptr ? tree->entries.end() : tree->entries.find(wwid);
    return entry == tree->entries.end() ? nullptr : entry->second.item;
}

bool appendEntry(VdiskTree *tree, const char *wwid, const char *name) {
    cJSON *item = cJSON_CreateObject();
    if (cJSON_AddStringToObject(item, "wwid", wwid) == nullptr ||
        cJSON_AddStringToObject(item, "vdisk_name", name) == nullptr ||
        cJSON_AddItemToArray(tree->disk, item) == 0) {
        cJSON_Delete(item);
        return false;
    }
    addToIndex(tree, item);
    return true;
}

int writeVdiskTree(VdiskTree *tree) {
    const int error = writeJsonFile(tree->path.c_str(), tree->root);
    if (error != 0 || stat(tree->path.c_str(), &tree->attributes) != 0) {
        // The tree no longer tells what the file holds.
        forgetVdiskTree();
    }
    return error;
}

int writeJsonFile(const char *path, const cJSON *root) {
    char *text = cJSON_Print(root);
    if (text == nullptr) {
        return ENOMEM;
    }
    // A file that could never be read again must not take the place of one that can.
    const size_t length = strlen(text);
    const int error = length > static_cast<size_t>(VDISK_CACHE_LIMIT)
                          ? EFBIG
                          : dravik::replaceFileInTurn(path, text, length, MODE_WHEN_NEW);
    cJSON_free(text);
    return error;
}
