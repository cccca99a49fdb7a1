// The topology as the user sees it.
#include "commands/query.h"

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <iterator>
#include <unistd.h>

#include "array/vdisk_cache.h"
#include "array/vdisk_name.h"
#include "commands/path_selectors.h"
#include "common/character_tests.h"
#include "common/log.h"
#include "common/text.h"
#include "topology/topology_query.h"

namespace {

// A line of the command log under the name of the operation that others know.
#define QUERY_LOG(...) DRAVIK_LOG_AS("_printOneDravik", LOG_ERROR, __VA_ARGS__)

// ---- virtual-disk name

// Asks the array. A device number that is no number names no node to open: as if the array did not answer.
void askArray(s_dravik *device, bool nvme) {
    unsigned int found = 0;
    if (!isDigit(device->device_number)) {
        getStoredVdiskname(VDISK_CACHE_FILE, device->wwid, device->vdisk_name, &found);
        return;
    }
    char node[128] = "";
    snprintf(node, sizeof(node), "/dev/dm-%s", device->device_number);
    if (nvme) {
        displayNvmeVdiskname(node, device->wwid, device->vdisk_name, &found);
    } else {
        displayVdiskname(node, device->wwid, device->vdisk_name, &found);
    }
}

void printVdiskName(s_dravik *device, bool nvme) {
    askArray(device, nvme);
    if (device->vdisk_name[0] != '\0') {
        printf("vdisk_name: %s\n", device->vdisk_name);
    } else {
        QUERY_LOG("This device (%s), the vdisk name we obtained is NULL.\n", device->wwid);
    }
}

// No path leads to the array: only what it once said can be shown.
void printStoredVdiskName(s_dravik *device) {
    unsigned int found = 0;
    if (access(VDISK_CACHE_FILE, F_OK) == 0) {
        getStoredVdiskname(VDISK_CACHE_FILE, device->wwid, device->vdisk_name, &found);
    }
    if (found == 0) {
        QUERY_LOG("This device (%s) is a failed device, we can not get the vdisk name.\n", device->wwid);
    } else if (device->vdisk_name[0] == '\0') {
        QUERY_LOG("This device (%s) is a failed device, we get the vdisk name from file is NULL.\n",
                  device->wwid);
    } else {
        printf("vdisk_name: %s\n", device->vdisk_name);
    }
}

// ---- host interface

// "fc-nvme" stands before "fc", which it contains.
constexpr const char *HOST_INTERFACES[] = {"iscsi", "fc-nvme", "rdma-nvme", "fc", "sas"};

void printHostInterface(const s_path_dev *path) {
    for (const char *name : HOST_INTERFACES) {
        if (find_str(path->host_interface, name) != nullptr) {
            printf("host_interface: %s\n", name);
            return;
        }
    }
    QUERY_LOG("the transport we obtained is not fc/iscsi/fc-nvme/rdma-nvme.\n");
}

// ---- path table

// Two headings are empty: they still print their blank.
constexpr const char *HEADINGS[] = {
    "dev_id", "dev_name", "dev_node", "path_policy", "path_status", "dravik_status", "target_port", "", ""};
constexpr int HEADING_COUNT = 9;
constexpr int VALUE_COUNT = 7; // of the columns that paths fill

struct Values {
    const char *text[VALUE_COUNT];
};

Values valuesOf(const s_path_dev *path) {
    return {{path->dev_id, path->dev_name, path->dev_node, path->path_policy, path->path_status,
             path->dravik_status, path->target_port}};
}

// HUAWEI and HITACHI arrays know nothing of the product's policies: their plain rotation is shown as listed.
bool showsRotationAsListed(const s_dravik *device) {
    return isBeginwith(device->vendor, "HUAWEI") == 1 || isBeginwith(device->vendor, "HITACHI") == 1;
}

// Fills the policy as shown: the product's name for the selector, with what the listing has behind it.
void fillPathPolicy(const s_dravik *device, s_path_dev *path) {
    memset(path->path_policy, 0, sizeof(path->path_policy));
    const dravik::PathSelector selector =
        dravik::findPathSelector(dravik::SelectorName::LISTED, path->group_policy);
    const bool as_listed = showsRotationAsListed(device) && strcmp(selector.listed, "round-robin 0") == 0;
    if (as_listed || selector.shown[0] == '\0') {
        snprintf(path->path_policy, sizeof(path->path_policy), "%s", path->group_policy);
        return;
    }
    const char *rest = path->group_policy + strlen(selector.listed);
    snprintf(path->path_policy, sizeof(path->path_policy), "%s%s", selector.shown, rest);
}

// One row, each cell padded to its column and one blank.
void printCells(const char *const *cells, const int *widths, int count) {
    for (int i = 0; i < count; ++i) {
        printf("%-*s", widths[i] + 1, cells[i]);
    }
    putchar('\n');
}

void printPathTable(const s_dravik *device) {
    int widths[HEADING_COUNT];
    std::transform(std::begin(HEADINGS), std::end(HEADINGS), widths,
                   [](const char *heading) { return static_cast<int>(strlen(heading)); });
    for (s_path_dev *path = firstPathDev(device->pdev); path != nullptr; path = nextPathDev(path)) {
        fillPathPolicy(device, path);
        const Values values = valuesOf(path);
        for (int i = 0; i < VALUE_COUNT; ++i) {
            widths[i] = std::max(widths[i], static_cast<int>(strlen(values.text[i])));
        }
    }
    char line[131];
    memset(line, '=', sizeof(line) - 1);
    line[sizeof(line) - 1] = '\0';
    puts(line);
    printCells(HEADINGS, widths, HEADING_COUNT);
    for (const s_path_dev *path = firstPathDev(device->pdev); path != nullptr; path = nextPathDev(path)) {
        printCells(valuesOf(path).text, widths, VALUE_COUNT);
    }
}

// ---- commands

// Takes a topology with `ask` and prints it.
template <typename Ask> s_ecItems *showTopology(Ask ask) {
    const DravikList head(mallocDravik(), freeDravik);
    if (head == nullptr) {
        return &EC_molloc_failed;
    }
    s_ecItems *result = ask(head.get());
    if (!isFailure(result)) {
        printDravik(firstDravik(head.get()));
    }
    return result;
}

} // namespace

void _printOneDravik(s_dravik *device) {
    printf("path_alias: %s\nwwid: %s\ndevice_number: %s\nvendor: %s\nproduct_type: %s\nlun_size: %s\n",
           device->path_alias, device->wwid, device->device_number, device->vendor, device->product_type,
           device->lun_size);
    unsigned int nvme = 0;
    isNVMeDevice(device, &nvme);
    unsigned int failed = 0;
    isFailedDevice(device, &failed);
    if (failed != 0) {
        printStoredVdiskName(device);
    } else {
        printVdiskName(device, nvme != 0);
    }
    const s_path_dev *first = firstPathDev(device->pdev);
    if (first == nullptr) {
        return;
    }
    printHostInterface(first);
    printPathTable(device);
}

void printDravik(s_dravik *first) {
    print__();
    holdVdiskWrites();
    for (s_dravik *device = first; device != nullptr; device = nextDravik(device)) {
        if (device != first) {
            putchar('\n');
        }
        _printOneDravik(device);
    }
    releaseVdiskWrites();
    print__();
}

s_ecItems *query() {
    return showTopology(queryDravikInfo);
}

s_ecItems *querySingleDevice(const char *device_name) {
    return showTopology([device_name](s_dravik *head) { return querySingleDravikInfo(head, device_name); });
}
