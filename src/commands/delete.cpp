// Flushing maps and deleting the block devices under them.
#include "commands/delete.h"

#include <cstdio>
#include <sys/time.h>
#include <unistd.h>

#include "commands/parameter_buffers.h"
#include "common/log.h"
#include "common/os_name.h"
#include "common/text.h"
#include "host/command_output.h"
#include "host/host_os.h"
#include "host/task.h"
#include "host/tool_names.h"
#include "topology/topology_query.h"

namespace {

constexpr int FLUSH_ATTEMPTS = 3;
constexpr unsigned int IN_USE_PAUSE_SECONDS = 1;
constexpr size_t NODE_SIZE = 128; // a device node or a sysfs folder of one device

bool exists(const char *path) {
    return access(path, F_OK) == 0;
}

bool saysInUse(const char *output) {
    return find_str(output, ": map in use") != nullptr;
}

// How one map is flushed: by its device-mapper number, on SUSE 11 SP4 by its name.
struct Flush {
    const char *word;     // the word of the listing that goes into the command
    char node[NODE_SIZE]; // gone once the map is flushed
    char command[TASK_COMMAND_SIZE];
};

void formatFlush(const s_dravik *device, Flush *flush) {
    const bool by_name = isSuse11Sp4(get_os_name());
    flush->word = by_name ? device->path_alias : device->device_number;
    snprintf(flush->node, sizeof(flush->node), by_name ? "/dev/mapper/%s" : "/dev/dm-%s", flush->word);
    snprintf(flush->command, sizeof(flush->command), by_name ? "%s -f %s" : "%s -f /dev/dm-%s", CMD_velomux,
             flush->word);
}

// One attempt after the other until the map is gone. The last failure when it stays.
s_ecItems *flushMap(const char *operation, const Flush &flush) {
    // A word that no shell may see names no node either: its absence would prove nothing.
    if (!mayRunWith(operation, flush.word, flush.command)) {
        return &EC_exe_cmd_failed;
    }
    const TaskOutput output;
    s_ecItems *result = &EC_ok;
    for (int attempt = 0; attempt < FLUSH_ATTEMPTS; ++attempt) {
        if (!exists(flush.node)) {
            return &EC_ok;
        }
        if (output.pages != nullptr) {
            output.pages[0] = '\0'; // the answer of one attempt never decides the next
        }
        result = exeLiunxInfoCmd_nonblocking(flush.command, output.pages, TASK_OUTPUT_SIZE);
        if (!isFailure(result)) {
            return result;
        }
        if (saysInUse(output.pages)) {
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

// Deletes one block device that /sys/block knows; `command` (TASK_COMMAND_SIZE bytes) receives the line.
s_ecItems *deleteBlockDevice(const char *operation, const char *name, char *command) {
    char folder[NODE_SIZE] = "";
    snprintf(folder, sizeof(folder), "/sys/block/%s", name);
    if (!exists(folder)) {
        return &EC_ok;
    }
    snprintf(command, TASK_COMMAND_SIZE, "%s 1 > /sys/block/%s/device/delete", CMD_echo, name);
    return mayRunWith(operation, name, command) ? exeLiunxTaskCmd(command) : &EC_exe_cmd_failed;
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
        result = deleteDrive(device->pdev);
    }
    return isFailure(result) ? result : &EC_ok;
}

s_ecItems *deleteDrive(const s_path_dev *head) {
    const s_path_dev *path = firstPathDev(head);
    // NVMe namespaces are never deleted, and the first path speaks for all.
    if (path == nullptr || find_str(path->dev_name, "sd") == nullptr) {
        return &EC_ok;
    }
    for (; path != nullptr; path = nextPathDev(path)) {
        char command[TASK_COMMAND_SIZE] = "";
        if (isFailure(deleteBlockDevice(__func__, path->dev_name, command))) {
            DRAVIK_LOG(LOG_ERROR, "Execute command [%s] failed\n", command);
            return &EC_exe_cmd_failed;
        }
    }
    return &EC_ok;
}

s_ecItems *delPathInfo(const char *number) {
    if (safe_strlen(number) == 0) {
        return &EC_ok;
    }
    char command[TASK_COMMAND_SIZE] = "";
    snprintf(command, sizeof(command), "%s -f /dev/dm-%s", CMD_velomux, number);
    if (!mayRunWith(__func__, number, command)) {
        return &EC_exe_cmd_failed;
    }
    const TaskOutput output;
    s_ecItems *result = exeLiunxInfoCmd(command, output.pages, TASK_OUTPUT_SIZE);
    return isFailure(result) && saysInUse(output.pages) ? &EC_del_failed_for_using : result;
}

s_ecItems *delOneDrive(const char *name) {
    if (safe_strlen(name) == 0) {
        return &EC_ok;
    }
    char command[TASK_COMMAND_SIZE] = "";
    return deleteBlockDevice(__func__, name, command);
}
