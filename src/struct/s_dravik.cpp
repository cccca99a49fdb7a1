// Device and path records: their lists and the questions asked of them.
#include "struct/s_dravik.h"

#include <cstdlib>
#include <cstring>

#include "common/log.h"
#include "common/text.h"

namespace {

constexpr size_t ALIAS_LENGTH = 65;    // characters over which aliases are compared
constexpr size_t DEV_NAME_LENGTH = 30; // characters over which device names are compared

bool sameText(const char *a, const char *b) {
    return strcmp(a, b) == 0;
}

bool isFailedPath(const s_path_dev *path) {
    return sameText(path->checker_state, "faulty") || sameText(path->path_status, "failed") ||
           sameText(path->dravik_status, "offline") || sameText(path->group_status, "failed");
}

} // namespace

s_path_dev *mallocPathDev() {
    DRAVIK_LOG(LOG_INFO, "Malloc struct s_path_dev.");
    DRAVIK_TRACE("Malloc struct s_path_dev.");
    return dravik::makeNode<s_path_dev>();
}

void _initPathDev(s_path_dev *p) {
    if (p == nullptr) {
        return;
    }
    DRAVIK_TRACE("== ps_path_dev next = p->next;");
    DRAVIK_TRACE("== before memset(p, 0, sizeof(s_path_dev));");
    dravik::clearNode(p);
    DRAVIK_TRACE("== after memset(p, 0, sizeof(s_path_dev));");
}

void initPathDev(s_path_dev *p) {
    // A reset node is a last node, so resetting the head empties the list; the nodes behind it are spare.
    _initPathDev(p);
}

s_path_dev *getOrMallocNextPathDev(s_path_dev *p) {
    return dravik::nextOrNewNode(p, _initPathDev, mallocPathDev);
}

void _freePathDev(s_path_dev *p) {
    free(p);
}

void freePathDev(s_path_dev *p) {
    dravik::freeChain(p, _freePathDev);
}

s_path_dev *firstPathDev(const s_path_dev *p) {
    return dravik::nextValidNode(p);
}

s_path_dev *nextPathDev(const s_path_dev *p) {
    return dravik::nextValidNode(p);
}

s_dravik *mallocDravik() {
    DRAVIK_LOG(LOG_INFO, "Malloc struct s_dravik.");
    DRAVIK_TRACE("Malloc struct s_dravik.");
    return dravik::makeNode<s_dravik>();
}

void _initDravik(s_dravik *p) {
    if (p == nullptr) {
        return;
    }
    s_path_dev *pdev = p->pdev;
    dravik::clearNode(p);
    p->pdev = pdev;
    DRAVIK_TRACE("== before initPathDev(p->pdev)");
    initPathDev(p->pdev);
    DRAVIK_TRACE("== after initPathDev(p->pdev)");
}

void initDravik(s_dravik *p) {
    _initDravik(p);
}

s_dravik *getOrMallocNextDravik(s_dravik *p) {
    return dravik::nextOrNewNode(p, _initDravik, mallocDravik);
}

void _freeDravik(s_dravik *p) {
    if (p != nullptr) {
        freePathDev(p->pdev);
        free(p);
    }
}

void freeDravik(s_dravik *p) {
    dravik::freeChain(p, _freeDravik);
}

s_dravik *firstDravik(const s_dravik *p) {
    return dravik::nextValidNode(p);
}

s_dravik *nextDravik(const s_dravik *p) {
    return dravik::nextValidNode(p);
}

void isNVMeDevice(const s_dravik *device, unsigned int *flag) {
    *flag = 0;
    for (const s_path_dev *path = firstPathDev(device->pdev); path != nullptr; path = nextPathDev(path)) {
        // Exact on purpose: the display's own test is a substring search.
        if (sameText(path->host_interface, "fc-nvme") || sameText(path->host_interface, "rdma-nvme")) {
            *flag = 1;
            return;
        }
    }
}

void isFailedDevice(const s_dravik *device, unsigned int *flag) {
    *flag = 0;
    const s_path_dev *path = firstPathDev(device->pdev);
    if (path == nullptr) {
        *flag = 1;
        return;
    }
    for (; path != nullptr; path = nextPathDev(path)) {
        if (!isFailedPath(path)) {
            return;
        }
    }
    *flag = 1;
    DRAVIK_LOG(LOG_ERROR, "This device (%s) is a failed device.\n", device->wwid);
}

s_dravik *findDravikByPathAlias(const s_dravik *head, const char *alias) {
    if (alias == nullptr) {
        return nullptr;
    }
    for (s_dravik *device = firstDravik(head); device != nullptr; device = nextDravik(device)) {
        if (tessaline_strncmp(device->path_alias, alias, ALIAS_LENGTH) == 0) {
            return device;
        }
    }
    return nullptr;
}

s_dravik *findDravikByPathAlias_noMemoryLeak(const s_dravik *head, const char *alias) {
    if (alias == nullptr || firstDravik(head) == nullptr) {
        return nullptr;
    }
    s_dravik *device = head->next;
    while (tessaline_strncmp(device->path_alias, alias, ALIAS_LENGTH) != 0) {
        if (device->end) {
            return nullptr;
        }
        device = device->next;
    }
    return device;
}

s_path_dev *findDravikByDeviceName(const s_dravik *head, const char *alias, const char *device_name) {
    const s_dravik *device = findDravikByPathAlias(head, alias);
    if (device == nullptr || device_name == nullptr) {
        return nullptr;
    }
    for (s_path_dev *path = firstPathDev(device->pdev); path != nullptr; path = nextPathDev(path)) {
        if (tessaline_strncmp(path->dev_name, device_name, DEV_NAME_LENGTH) == 0) {
            return path;
        }
    }
    return nullptr;
}
