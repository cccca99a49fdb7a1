// Setting the path policies of the arrays.
#include "commands/setpathpolicy.h"

#include "commands/conf_backup.h"
#include "commands/parameter_buffers.h"
#include "commands/policy_scripts.h"
#include "commands/service.h"
#include "common/log.h"
#include "common/os_name.h"
#include "common/text.h"
#include "host/host_os.h"
#include "host/interruption.h"
#include "host/task.h"
#include "host/tool_names.h"

using dravik::PolicyText;
using dravik::ShellCommand;
using namespace dravik::literals;

namespace {

// One policy script: its command line, what it printed, what became of it.
struct PolicyScript {
    ShellCommand command;
    char output[1024];
    s_ecItems *result;
};

// The maker's arrays, HUAWEI, HITACHI, in the order in which they run.
constexpr int SCRIPTS = 3;

bool isNvmeRequest() {
    return gParamHostInterfaceType == HOST_INTERFACE_NVME;
}

ShellCommand setCommand(const char *file, const char *group, const char *chooser) {
    return ShellCommand(CMD_sh, " "_sh, file, " set "_sh, PolicyText{group}, " \""_sh, PolicyText{chooser},
                        "\""_sh);
}

// The arrays of the other makers are never set to service-time. For NVMe their lines stay empty; an empty
// command succeeds, and with it a failing script of the maker's goes unreported.
void prepareScripts(PolicyScript *scripts, const char *group, const char *chooser) {
    if (isNvmeRequest()) {
        scripts[0].command = setCommand(CMD_NVME_POLICY_FILE, group, chooser);
        return;
    }
    const char *others = find_str(chooser, "service-time") != nullptr ? "round-robin" : chooser;
    scripts[0].command = setCommand(CMD_POLICY_FILE, group, chooser);
    scripts[1].command = setCommand(CMD_HW_POLICY_FILE, group, others);
    scripts[2].command = setCommand(CMD_RL_POLICY_FILE, group, others);
}

// Runs all scripts. Null when at least one succeeded, else the failure that the user is told.
s_ecItems *runScripts(PolicyScript *scripts) {
    bool all_failed = true;
    bool not_configured = false;
    for (int i = 0; i < SCRIPTS; ++i) {
        PolicyScript *script = &scripts[i];
        script->result =
            runForOutput("setpathpolicy", script->command, script->output, sizeof(script->output));
        all_failed = all_failed && isFailure(script->result);
        not_configured = not_configured || find_str(script->output, "No configuration") != nullptr;
    }
    if (!all_failed) {
        return nullptr;
    }
    if (!not_configured) {
        return scripts[0].result;
    }
    initEcItems1(&EC_no_config_info, isNvmeRequest() ? "nvme" : "scsi");
    return &EC_no_config_info;
}

// A line of the change log when `now` was asked for and is not what was there.
void logChange(const char *format, const char *before, const char *now) {
    if (now[0] != '\0' && tessaline_strncmp(now, before, POLICY_SIZE) != 0) {
        dravik_log(LOG_MONITOR, "", 0, "", format, before, now);
    }
}

// Changes the policies and makes the running daemon read them. Any failure is the caller's to roll back.
s_ecItems *changePolicy() {
    char group[POLICY_SIZE] = "";
    char chooser[POLICY_SIZE] = "";
    // The SCSI policy, for an NVMe request too.
    s_ecItems *result = getConf(group, sizeof(group), chooser, sizeof(chooser));
    if (isFailure(result)) {
        return result;
    }
    PolicyScript scripts[SCRIPTS] = {};
    prepareScripts(scripts, groupToApply(group), chooserToApply(chooser));
    result = runScripts(scripts);
    if (isFailure(result)) {
        return result;
    }
    if (dravik::pendingSignal() != 0) {
        return &EC_exe_cmd_failed; // Ctrl+C may have ended one of them, which counts as a success
    }
    logChange("The path group policy is changed from [ %s ] to [ %s ]", group, gParamGroupVal);
    logChange("The path chooser type is changed from [ %s ] to [ %s ]", chooser, gParamChooserVal);

    bool running = false;
    result = getStatus(&running);
    if (isFailure(result) || !running) {
        return result;
    }
    return chMultipathdService("reload");
}

} // namespace

s_ecItems *setpathpolicy() {
    const char *os_name = get_os_name();
    if (isNvmeRequest() && !isNvmeCapableOs(os_name)) {
        DRAVIK_LOG(LOG_ERROR, "This OS %s is not support NVMe over Fabric.\n", os_name);
        return &EC_os_not_support_fcnvme;
    }
    return dravik::changeConfFile(changePolicy);
}
