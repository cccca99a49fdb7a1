// Flushing a map with patience, then deleting its block devices.
#include "commands/delete.h"

#include <cstdio>
#include <sys/time.h>
#include <unistd.h>

#include "commands/device_removal.h"
#include "commands/parameter_buffers.h"
#include "common/log.h"
#include "common/os_name.h"
#include "common/text.h"
#include "host/command_output.h"
#include "host/host_os.h"
#include "host/interruption.h"
#include "host/task.h"
#include "host/timed_task.h"
#include "host/tool_names.h"
#include "topology/topology_query.h"

using dravik::DeviceName;
using dravik::ShellCommand;
using namespace dravik::literals;

namespace {

constexpr int FLUSH_ATTEMPTS = 3;
constexpr unsigned int IN_USE_PAUSE_SECONDS = 1;
constexpr size_t NODE_SIZE = 128;

bool exists(const char *path) {
    return access(path, F_OK) == 0;
}

// How one map is flushed: by its device-mapper number, on SUSE 11 SP4 by its name.
struct Flush {
    char node[NODE_SIZE]; // gone once the map is flushed
    ShellCommand command;
};

void formatFlush(const s_dravik *device, Flush *flush) {
    const bool by_name = isSuse11Sp4(get_os_name());
    const char *word = by_name ? device->path_alias : device->device_number;
    snprintf(flush->node, sizeof(flush->node), by_name ? "/dev/mapper/%s" : "/dev/dm-%s", word);
    flush->command = by_name ? ShellCommand(CMD_velomux, " -f "_sh, DeviceName{word})
                             : ShellCommand(CMD_velomux, " -f /dev/dm-"_sh, DeviceName{word});
}

// One attempt after the other until the map is gone. The last failure when it stays.
s_ecItems *flushMap(const char *operation, const Flush &flush) {
    // A word that no shell may see names no node either: its absence would prove nothing.
    if (isRefused(operation, flush.command)) {
        return &EC_exe_cmd_failed;
    }
    const CommandOutput output;
    s_ecItems *result = &EC_ok;
    for (int attempt = 0; attempt < FLUSH_ATTEMPTS; ++attempt) {
        if (!exists(flush.node)) {
            return &EC_ok;
        }
        if (output.pages != nullptr) {
            output.pages[0] = '\0'; // the answer of one attempt never decides the next
        }
        // Once more after Ctrl+C, which may have ended the tool: that counts as a success, and the paths would go while
        // the map is still there.
        result = dravik::finishStep(
            [&] { return runTimed(operation, flush.command, output.pages, TASK_OUTPUT_SIZE); });
        if (!isFailure(result)) {
            return result;
        }
        if (dravik::saysInUse(output.pages)) {
            result = &EC_del_failed_for_using;
            if (attempt < FLUSH_ATTEMPTS - 1) {
                sleep(IN_USE_PAUSE_SECONDS);
            }
        } else if (find_str(output.pages, "is not a valid argument") != nullptr && !exists(flush.node)) {
            return &EC_ok;
        }
    }
    return result;
}

// An attempt that timed out has left the interval timer running: its next expiry would end this process in the
// middle of the deletions.
void stopTimer() {
    const itimerval never = {};
    setitimer(ITIMER_REAL, &never, nullptr);
}

} // namespace

s_ecItems *delete_(const char *alias) {
    const DravikList devices(mallocDravik(), freeDravik);
    s_ecItems *result = devices == nullptr ? &EC_molloc_failed : querySingleDravikInfo(devices.get(), alias);
    if (isFailure(result)) {
        DRAVIK_LOG(LOG_ERROR, "Query dravik information failed");
        return result;
    }
    const s_dravik *device = findDravikByPathAlias_noMemoryLeak(devices.get(), gParamMpathxVal);
    if (device == nullptr) {
        initEcItems1(&EC_no_path_alias, alias);
        return &EC_no_path_alias;
    }
    Flush flush = {};
    formatFlush(device, &flush);
    result = flushMap(__func__, flush);
    if (!isFailure(result)) {
        stopTimer();
        dravik::setUnfinished("the map is flushed, not all block devices of its paths are deleted");
        result = deleteDrive(device->pdev);
        dravik::setUnfinished(nullptr);
    }
    return isFailure(result) ? result : &EC_ok;
}
