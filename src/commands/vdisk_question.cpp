// Asking for the name of a listed volume.
#include "commands/vdisk_question.h"

#include <cstdio>
#include <unistd.h>

#include "array/vdisk_cache.h"
#include "array/vdisk_name.h"
#include "common/character_tests.h"
#include "common/log.h"

namespace dravik {

namespace {

// A line of the command log under the name of the operation that others know.
#define QUERY_LOG(...) DRAVIK_LOG_AS("_printOneDravik", LOG_ERROR, __VA_ARGS__)

// A device number that is no number names no node to open: as if the array did not answer.
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

bool findPresentName(s_dravik *device, bool nvme) {
    askArray(device, nvme);
    if (device->vdisk_name[0] == '\0') {
        QUERY_LOG("This device (%s), the vdisk name we obtained is NULL.\n", device->wwid);
        return false;
    }
    return true;
}

// No path leads to the array: only what it once said can be shown.
bool findStoredName(s_dravik *device) {
    unsigned int found = 0;
    if (access(VDISK_CACHE_FILE, F_OK) == 0) {
        getStoredVdiskname(VDISK_CACHE_FILE, device->wwid, device->vdisk_name, &found);
    }
    if (found == 0) {
        QUERY_LOG("This device (%s) is a failed device, we can not get the vdisk name.\n", device->wwid);
        return false;
    }
    if (device->vdisk_name[0] == '\0') {
        QUERY_LOG("This device (%s) is a failed device, we get the vdisk name from file is NULL.\n",
                  device->wwid);
        return false;
    }
    return true;
}

} // namespace

bool findVdiskNameOf(s_dravik *device) {
    unsigned int nvme = 0;
    isNVMeDevice(device, &nvme);
    unsigned int failed = 0;
    isFailedDevice(device, &failed);
    return failed != 0 ? findStoredName(device) : findPresentName(device, nvme != 0);
}

} // namespace dravik
