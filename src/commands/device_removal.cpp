// Flushing maps by their number and deleting block devices through sysfs.
#include "commands/device_removal.h"

#include <cstdio>
#include <unistd.h>

#include "common/log.h"
#include "common/text.h"
#include "host/command_output.h"
#include "host/interruption.h"
#include "host/task.h"
#include "host/tool_names.h"

using dravik::DeviceName;
using dravik::ShellCommand;
using namespace dravik::literals;

namespace {

ShellCommand deletionOf(const char *name) {
    return ShellCommand(CMD_echo, " 1 > /sys/block/"_sh, DeviceName{name}, "/device/delete"_sh);
}

// Deletes one block device that /sys/block knows.
s_ecItems *deleteBlockDevice(const char *operation, const char *name) {
    char folder[128] = "";
    snprintf(folder, sizeof(folder), "/sys/block/%s", name);
    return dravik::finishStep(
        [&] { return access(folder, F_OK) == 0 ? runTask(operation, deletionOf(name)) : &EC_ok; });
}

} // namespace

bool dravik::saysInUse(const char *output) {
    return find_str(output, ": map in use") != nullptr;
}

s_ecItems *deleteDrive(const s_path_dev *head) {
    const s_path_dev *path = firstPathDev(head);
    // NVMe namespaces are never deleted, and the first path speaks for all.
    if (path == nullptr || find_str(path->dev_name, "sd") == nullptr) {
        return &EC_ok;
    }
    for (; path != nullptr; path = nextPathDev(path)) {
        if (isFailure(deleteBlockDevice(__func__, path->dev_name))) {
            DRAVIK_LOG(LOG_ERROR, "Execute command [%s] failed\n", deletionOf(path->dev_name).line());
            return &EC_exe_cmd_failed;
        }
    }
    return &EC_ok;
}

s_ecItems *delPathInfo(const char *number) {
    if (safe_strlen(number) == 0) {
        return &EC_ok;
    }
    const ShellCommand command(CMD_velomux, " -f /dev/dm-"_sh, DeviceName{number});
    const CommandOutput output;
    s_ecItems *result = dravik::finishStep(
        [&] { return runForOutput("delPathInfo", command, output.pages, TASK_OUTPUT_SIZE); });
    return isFailure(result) && dravik::saysInUse(output.pages) ? &EC_del_failed_for_using : result;
}

s_ecItems *delOneDrive(const char *name) {
    return safe_strlen(name) == 0 ? &EC_ok : deleteBlockDevice(__func__, name);
}
