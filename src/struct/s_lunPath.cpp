// Lun-path records: their list, flattening, copy, search, dump.
#include "struct/s_lunPath.h"

#include <algorithm>
#include <cstddef>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "common/log.h"
#include "common/text.h"

namespace {

static_assert(offsetof(s_lunPath, lun_wwid) == sizeof(s_lunPath::lun_alias),
              "an over-long alias is read on into the WWID behind it");

// Copies a field into one of the same width, cut to what fits with its terminator. The width is known, so this
// is a few moves instead of a search for the end: it happens a dozen times for each path of a cycle.
template <size_t N> void copyText(char (&field)[N], const char (&text)[N]) {
    memcpy(field, text, N);
    field[N - 1] = '\0';
}

// Writes alias and WWID of the device into a reset node. An alias that fills its field runs on into the WWID,
// so it gets no terminator.
void setLun(s_lunPath *node, const s_dravik *device) {
    memcpy(node->lun_alias, device->path_alias,
           std::min(strnlen(device->path_alias, sizeof(device->path_alias)), sizeof(node->lun_alias)));
    copyText(node->lun_wwid, device->wwid);
}

void setPath(s_lunPath *node, const s_path_dev *path) {
    copyText(node->path_dev_id, path->dev_id);
    copyText(node->path_dev_name, path->dev_name);
    copyText(node->path_status, path->checker_state);
    copyText(node->path_group_status, path->group_status);
    copyText(node->dravik_status, path->dravik_status);
}

} // namespace

s_lunPath *mallocLunpath() {
    DRAVIK_LOG(LOG_INFO, "Malloc struct s_lunPath.");
    DRAVIK_TRACE("Malloc struct s_lunPath.");
    return dravik::makeNode<s_lunPath>();
}

void _initLunpath(s_lunPath *p) {
    if (p != nullptr) {
        dravik::clearNode(p);
    }
}

void initLunpath(s_lunPath *p) {
    // A reset node is a last node, so resetting the head empties the list; the nodes behind it are spare.
    _initLunpath(p);
}

s_lunPath *getOrMallocNextLunpath(s_lunPath *p) {
    return dravik::nextOrNewNode(p, _initLunpath, mallocLunpath);
}

void _freeLunpath(s_lunPath *p) {
    free(p);
}

void freeLunpath(s_lunPath *p) {
    dravik::freeChain(p, _freeLunpath);
}

s_lunPath *firstLunpath(const s_lunPath *p) {
    return dravik::nextValidNode(p);
}

s_lunPath *nextLunpath(const s_lunPath *p) {
    return dravik::nextValidNode(p);
}

const char *lunAliasText(const s_lunPath *p) {
    // From the record, not from the field: the text may be longer than the field.
    return reinterpret_cast<const char *>(p) + offsetof(s_lunPath, lun_alias);
}

s_ecItems *cvtDravikToLunpath(const s_dravik *devices, s_lunPath *lunpaths) {
    if (devices == nullptr || lunpaths == nullptr) {
        return &EC_invalid_input;
    }
    initLunpath(lunpaths);
    s_lunPath *cursor = lunpaths;
    const s_dravik *device = firstDravik(devices);
    while (device != nullptr) {
        const s_path_dev *path = firstPathDev(device->pdev);
        const bool pathless = path == nullptr;
        do {
            s_lunPath *node = getOrMallocNextLunpath(cursor);
            if (node == nullptr) {
                return &EC_molloc_failed;
            }
            setLun(node, device);
            if (path != nullptr) {
                setPath(node, path);
                path = nextPathDev(path);
            }
            cursor->end = false;
            cursor = node;
        } while (path != nullptr);
        // A device without paths is not left behind: it repeats until a node is refused, and that failure is
        // how the monitor notices and reports such a topology.
        if (!pathless) {
            device = nextDravik(device);
        }
    }
    return &EC_ok;
}

s_ecItems *cpyLunpath(const s_lunPath *source, s_lunPath *destination) {
    if (source == nullptr || destination == nullptr) {
        return &EC_invalid_input;
    }
    initLunpath(destination);
    s_lunPath *cursor = destination;
    for (const s_lunPath *p = firstLunpath(source); p != nullptr; p = nextLunpath(p)) {
        s_lunPath *node = getOrMallocNextLunpath(cursor);
        if (node == nullptr) {
            return &EC_molloc_failed;
        }
        copyText(node->lun_alias, p->lun_alias);
        copyText(node->lun_wwid, p->lun_wwid);
        copyText(node->path_dev_id, p->path_dev_id);
        copyText(node->path_dev_name, p->path_dev_name);
        copyText(node->path_status, p->path_status);
        copyText(node->path_group_status, p->path_group_status);
        copyText(node->dravik_status, p->dravik_status);
        cursor->end = false;
        cursor = node;
    }
    return &EC_ok;
}

s_lunPath *findLunpathByLunId(const s_lunPath *head, const char *wwid) {
    if (wwid == nullptr) {
        return nullptr;
    }
    for (s_lunPath *p = firstLunpath(head); p != nullptr; p = nextLunpath(p)) {
        if (tessaline_strncmp(p->lun_wwid, wwid, LUN_WWID_LENGTH) == 0) {
            return p;
        }
    }
    return nullptr;
}

s_lunPath *findLunpathByDevName(const s_lunPath *head, const char *device_name) {
    if (device_name == nullptr) {
        return nullptr;
    }
    for (s_lunPath *p = firstLunpath(head); p != nullptr; p = nextLunpath(p)) {
        if (tessaline_strncmp(p->path_dev_name, device_name, LUN_TEXT_LENGTH) == 0) {
            return p;
        }
    }
    return nullptr;
}

void printLunPath(const s_lunPath *head) {
    puts("================ s_lunPath ==================");
    for (const s_lunPath *p = firstLunpath(head); p != nullptr; p = nextLunpath(p)) {
        printf("lun_alias: %s, lun_wwid: %s, path_dev_id: %s, path_dev_name: %s, path_status: %s, "
               "path_group_status: %s, dravik_status: %s\n",
               lunAliasText(p), p->lun_wwid, p->path_dev_id, p->path_dev_name, p->path_status,
               p->path_group_status, p->dravik_status);
    }
    puts("================    end    ==================");
}
