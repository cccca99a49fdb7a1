// Clearing out dead paths and dead maps.
#include "commands/refresh.h"

#include <unistd.h>

#include "commands/aggregation.h"
#include "commands/device_removal.h"
#include "commands/scan.h"
#include "common/text.h"
#include "host/interruption.h"
#include "topology/topology_query.h"

namespace {

// Between the discovery and the rebuilding of the maps, for the new devices to appear.
constexpr unsigned int SETTLE_SECONDS = 1;

// A path that the array has taken away: faulty, in a group whose priority begins with 0.
bool isDead(const s_path_dev *path) {
    return path->group_priority[0] == '0' && isBeginwith(path->checker_state, "faulty") == 1;
}

// Deletes the device's dead paths and flushes its map when no other path is left. The first failure ends it.
s_ecItems *clearDevice(const s_dravik *device) {
    unsigned int live = 0;
    for (const s_path_dev *path = firstPathDev(device->pdev); path != nullptr; path = nextPathDev(path)) {
        if (!isDead(path)) {
            ++live;
            continue;
        }
        s_ecItems *result = delOneDrive(path->dev_name);
        if (isFailure(result)) {
            return result;
        }
    }
    return live > 0 ? &EC_ok : delPathInfo(device->device_number);
}

} // namespace

s_ecItems *refresh() {
    const DravikList devices(mallocDravik(), freeDravik);
    s_ecItems *result = devices == nullptr ? &EC_molloc_failed : queryDravikInfo(devices.get());
    if (isFailure(result)) {
        return result;
    }
    for (const s_dravik *device = firstDravik(devices.get()); device != nullptr;
         device = nextDravik(device)) {
        result = clearDevice(device);
        if (isFailure(result) || dravik::pendingSignal() != 0) {
            return result;
        }
    }
    result = scan();
    if (isFailure(result) || dravik::pendingSignal() != 0) {
        return result;
    }
    sleep(SETTLE_SECONDS);
    return aggregation();
}
