// SQLite's usual layer, but for how it makes names whole.
#include "ledger/relative_files.h"

#include <algorithm>
#include <cstdio>
#include <sqlite3.h>

namespace dravik {

namespace {

constexpr char LAYER[] = "dravik-relative-files";

// SQLite looks for the folder of a file before its last slash.
int keepRelative(sqlite3_vfs * /*layer*/, const char *name, int size, char *whole) {
    const int length = snprintf(whole, static_cast<size_t>(size), "./%s", name);
    return length >= 0 && length < size ? SQLITE_OK : SQLITE_CANTOPEN;
}

// A copy of the usual layer under our name, registered once. Newer libraries than the one that this was built for may know
// more of a layer than the copy holds: its version tells them how much that is.
bool registerLayer() {
    constexpr int KNOWN_VERSION = 3;
    static sqlite3_vfs layer = {};
    const sqlite3_vfs *usual = sqlite3_vfs_find(nullptr);
    if (usual == nullptr) {
        return false;
    }
    layer = *usual;
    layer.iVersion = std::min(usual->iVersion, KNOWN_VERSION);
    layer.zName = LAYER;
    layer.xFullPathname = keepRelative;
    return sqlite3_vfs_register(&layer, 0) == SQLITE_OK;
}

} // namespace

const char *fileLayerFor(const std::string &path) {
    if (path.empty() || path.front() == '/' || path.front() == ':') {
        return nullptr;
    }
    // SQLite opens nothing by the name of a layer that it does not know.
    [[maybe_unused]] static const bool registered = registerLayer();
    return LAYER;
}

} // namespace dravik
