// The topology as the user sees it.
#include "commands/query.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <cstring>
#include <iterator>

#include "array/vdisk_cache.h"
#include "commands/path_selectors.h"
#include "commands/vdisk_question.h"
#include "common/log.h"
#include "common/text.h"
#include "common/visible_text.h"
#include "topology/topology_query.h"

using dravik::VisibleText;

namespace {

// A line of the command log under the name of the operation that others know.
#define QUERY_LOG(...) DRAVIK_LOG_AS("_printOneDravik", LOG_ERROR, __VA_ARGS__)

// What a field holds comes from the listing or the array; it must neither forge another nor reach the terminal.
void printField(const char *name, const char *value) {
    printf("%s: %s\n", name, VisibleText(value).text());
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

using Values = std::array<VisibleText, VALUE_COUNT>;

Values valuesOf(const s_path_dev *path) {
    return {VisibleText(path->dev_id),      VisibleText(path->dev_name),    VisibleText(path->dev_node),
            VisibleText(path->path_policy), VisibleText(path->path_status), VisibleText(path->dravik_status),
            VisibleText(path->target_port)};
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

// One cell, padded to its column and one blank.
void printCell(const char *text, int width) {
    printf("%-*s", width + 1, text);
}

void printPathTable(const s_dravik *device) {
    int widths[HEADING_COUNT];
    std::transform(std::begin(HEADINGS), std::end(HEADINGS), widths,
                   [](const char *heading) { return static_cast<int>(strlen(heading)); });
    for (s_path_dev *path = firstPathDev(device->pdev); path != nullptr; path = nextPathDev(path)) {
        fillPathPolicy(device, path);
        const Values values = valuesOf(path);
        for (int i = 0; i < VALUE_COUNT; ++i) {
            widths[i] = std::max(widths[i], static_cast<int>(strlen(values[static_cast<size_t>(i)].text())));
        }
    }
    char line[131];
    memset(line, '=', sizeof(line) - 1);
    line[sizeof(line) - 1] = '\0';
    puts(line);
    for (int i = 0; i < HEADING_COUNT; ++i) {
        printCell(HEADINGS[i], widths[i]);
    }
    putchar('\n');
    for (const s_path_dev *path = firstPathDev(device->pdev); path != nullptr; path = nextPathDev(path)) {
        const int *width = widths;
        for (const VisibleText &value : valuesOf(path)) {
            printCell(value.text(), *width++);
        }
        putchar('\n');
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
    printField("path_alias", device->path_alias);
    printField("wwid", device->wwid);
    printField("device_number", device->device_number);
    printField("vendor", device->vendor);
    printField("product_type", device->product_type);
    printField("lun_size", device->lun_size);
    if (dravik::findVdiskNameOf(device)) {
        printField("vdisk_name", device->vdisk_name);
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
