// The cache file in memory: read once, indexed by WWID, kept until the file changes. Used by vdisk_cache
// alone, which says what the file means.
#pragma once

#include <cjson/cJSON.h>
#include <climits>
#include <string>
#include <string_view>
#include <sys/stat.h>
#include <unordered_map>

enum class TreeState {
    READY,
    MISSING,    // there is no such file
    UNREADABLE, // there is one, but it cannot be opened or read, is no regular file, or memory ran out
    TOO_LARGE,  // more than VDISK_CACHE_LIMIT bytes
    DAMAGED     // empty, or does not parse
};

struct TreeEntry {
    cJSON *item; // borrowed from the tree
    int index;   // its place in "disk"
};

struct VdiskTree {
    std::string path;
    struct stat attributes; // of the file when it was read or written
    cJSON *root;
    cJSON *disk; // the member "disk" whatever its type, null when there is none
    int count;   // elements of "disk", when it is an array
    // The first element that is no object; INT_MAX when there is none.
    int first_bad;
    cJSON *first_bad_item;
    // The first object of each WWID. The keys lie in the tree; nothing changes a "wwid" there.
    std::unordered_map<std::string_view, TreeEntry> entries;
};

// The tree of the file `path`: the one in memory while the file is the same unchanged one, or while `held` says that it
// is ahead of the file; otherwise read anew. `*tree` is set for READY and borrowed until the next call.
// `*error` receives the place where the parse stopped, for DAMAGED. Logs nothing.
TreeState loadVdiskTree(const char *path, bool held, VdiskTree **tree, std::string *error);

// Drops the tree in memory.
void forgetVdiskTree();

// Where the update rule of vdisk_entry.h finds the entry of `wwid`: null when an element that is no object
// (then `*blocked_by` is that element, otherwise null) stands before it, or when there is none.
cJSON *entryForUpdate(const VdiskTree *tree, const char *wwid, const cJSON **blocked_by);

// The entry that a lookup finds: null when there is none.
cJSON *entryForLookup(const VdiskTree *tree, const char *wwid);

// Appends an entry to "disk", which is an array. False when memory ran out: nothing has changed.
bool appendEntry(VdiskTree *tree, const char *wwid, const char *name);

// Writes the tree, formatted, into its file, within the turn that the caller has taken for it
// (common/replace_file.h). 0 or the error number.
int writeVdiskTree(VdiskTree *tree);

// Writes `root`, formatted, into `path`, in the same way. 0 or the error number.
int writeJsonFile(const char *path, const cJSON *root);
