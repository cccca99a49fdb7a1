// Taking single paths offline and online through the daemon.
#include "commands/setstate.h"

#include <cstdio>

#include "commands/parameter_buffers.h"
#include "commands/service.h"
#include "common/log.h"
#include "common/text.h"
#include "host/command_output.h"
#include "host/interruption.h"
#include "host/task.h"
#include "host/tool_names.h"
#include "topology/topology_query.h"

using dravik::DeviceName;
using dravik::ShellCommand;
using namespace dravik::literals;

namespace {

constexpr size_t STATE_LENGTH = 64; // characters over which states are compared

// The two changes of a path's state.
struct PathChange {
    const char *verb;          // to the daemon
    const char *record_action; // to the record script
    s_ecItems *refusal;        // when the daemon answers "fail"
};

const PathChange OFFLINE = {"fail", "add", &EC_offline_path_fail};
const PathChange ONLINE = {"reinstate", "del", &EC_online_path_fail};

// Looks the path up in the live topology; `*dev_name`, if not null, receives its name there. Logs in the name
// of `checkPathstateAndParam`, whose contract this is.
s_ecItems *findPath(const char *alias, const char *path, char (*dev_name)[sizeof(s_path_dev::dev_name)]) {
    const DravikList devices(mallocDravik(), freeDravik);
    if (devices == nullptr || isFailure(queryDravikInfo(devices.get()))) {
        DRAVIK_LOG_AS("checkPathstateAndParam", LOG_ERROR, "Query dravik information failed");
        return &EC_exe_cmd_failed;
    }
    if (findDravikByPathAlias(devices.get(), alias) == nullptr) {
        initEcItems1(&EC_no_path_alias, alias);
        return &EC_no_path_alias;
    }
    const s_path_dev *found = findDravikByDeviceName(devices.get(), alias, path);
    if (found == nullptr) {
        initEcItems2(&EC_no_device_name, path, alias);
        return &EC_no_device_name;
    }
    if (dev_name != nullptr) {
        snprintf(*dev_name, sizeof(*dev_name), "%s", found->dev_name);
    }
    return &EC_ok;
}

// Sends the change of one path to the daemon and records it.
s_ecItems *sendChange(const char *operation, const PathChange &change, const char *path) {
    const ShellCommand command("dravikd "_sh, change.verb, " path "_sh, DeviceName{path});
    const CommandOutput output;
    if (isRefused(operation, command)) {
        return &EC_exe_cmd_failed;
    }
    dravik::setUnfinished("the path's state may be changed without a record of it");
    s_ecItems *sent =
        dravik::finishStep([&] { return runForOutput(operation, command, output.pages, TASK_OUTPUT_SIZE); });
    if (isFailure(sent)) {
        DRAVIK_LOG_AS(operation, LOG_ERROR, "Execute command [%s] failed\n", command.line());
        return &EC_exe_cmd_failed;
    }
    if (find_str(output.pages, "fail") != nullptr) {
        DRAVIK_LOG_AS(operation, LOG_ERROR, "%s path [%s] failed\n", change.verb, path);
        initEcItems1(change.refusal, path);
        return change.refusal;
    }
    dravik::finishStep([&] {
        return runTask(operation, ShellCommand(CMD_sh, " "_sh, SH_path_state_record, " "_sh,
                                               change.record_action, " "_sh, path));
    });
    dravik::setUnfinished(nullptr);
    return &EC_ok;
}

// SCSI and NVMe paths are treated alike.
s_ecItems *changeState(const char *operation, const PathChange &change, const char *alias, const char *path) {
    checkAndStartdravikd();
    // Names are compared over 30 characters: a longer argument can match, and only what the topology holds may
    // go into a command line.
    char dev_name[sizeof(s_path_dev::dev_name)] = "";
    s_ecItems *result = findPath(alias, path, &dev_name);
    return isFailure(result) ? result : sendChange(operation, change, dev_name);
}

s_ecItems *checkState(const char *operation, const char *path, const char *state, unsigned int *flag) {
    const ShellCommand command("cat /sys/block/"_sh, DeviceName{path}, "/device/state"_sh);
    const CommandOutput output;
    s_ecItems *result = runForOutput(operation, command, output.pages, TASK_OUTPUT_SIZE);
    if (!isFailure(result) && find_str(output.pages, state) != nullptr) {
        *flag = 1;
    }
    return result;
}

bool isState(const char *text, const char *state) {
    return tessaline_strncmp(text, state, STATE_LENGTH) == 0;
}

} // namespace

s_ecItems *setpathstate() {
    const char *state = gParamStateVal[0] != '\0' ? gParamStateVal : CONF_DEFAULT_STATE;
    if (isState(state, "online")) {
        return setPathOnline(gParamMpathxVal, gParamPathVal);
    }
    if (isState(state, "offline")) {
        return setPathOffline(gParamMpathxVal, gParamPathVal);
    }
    initEcItems1(&EC_invalid_param, gParamStateVal);
    return &EC_invalid_param;
}

s_ecItems *setPathOffline(const char *alias, const char *path) {
    return changeState(__func__, OFFLINE, alias, path);
}

s_ecItems *setPathOnline(const char *alias, const char *path) {
    return changeState(__func__, ONLINE, alias, path);
}

s_ecItems *checkPathstateAndParam(const char *alias, const char *path) {
    return findPath(alias, path, nullptr);
}

s_ecItems *failPath(const char *path) {
    return sendChange(__func__, OFFLINE, path);
}

s_ecItems *failDrive(const s_path_dev *head) {
    for (const s_path_dev *path = firstPathDev(head); path != nullptr; path = nextPathDev(path)) {
        failPath(path->dev_name);
    }
    return &EC_ok;
}

s_ecItems *checkPathOnlineState(const char *path, unsigned int *flag) {
    return checkState(__func__, path, "running", flag);
}

s_ecItems *checkPathOfflineState(const char *path, unsigned int *flag) {
    return checkState(__func__, path, "offline", flag);
}
