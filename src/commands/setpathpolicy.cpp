// Setting and showing the path policies of the arrays.
#include "commands/setpathpolicy.h"

#include <cstdio>
#include <cstring>

#include "commands/conf_file.h"
#include "commands/parameter_buffers.h"
#include "commands/path_selectors.h"
#include "commands/service.h"
#include "common/log.h"
#include "common/os_name.h"
#include "common/text.h"
#include "host/host_os.h"
#include "host/task.h"
#include "host/tool_names.h"

namespace {

// One policy script: its command line, what it printed, what became of it.
struct PolicyScript {
    char command[TASK_COMMAND_SIZE];
    char output[1024];
    s_ecItems *result;
};

// The maker's arrays, HUAWEI, HITACHI, in the order in which they run.
constexpr int SCRIPTS = 3;

bool isNvmeRequest() {
    return gParamHostInterfaceType == HOST_INTERFACE_NVME;
}

void formatScript(PolicyScript *script, const char *file, const char *group, const char *chooser) {
    snprintf(script->command, sizeof(script->command), "%s %s set %s \"%s\"", CMD_sh, file, group, chooser);
}

// The arrays of the other makers are never set to service-time. For NVMe their lines stay empty; an empty
// command succeeds, and with it a failing script of the maker's goes unreported.
void formatScripts(PolicyScript *scripts, const char *group, const char *chooser) {
    if (isNvmeRequest()) {
        formatScript(&scripts[0], CMD_NVME_POLICY_FILE, group, chooser);
        return;
    }
    const char *others = find_str(chooser, "service-time") != nullptr ? "round-robin" : chooser;
    formatScript(&scripts[0], CMD_POLICY_FILE, group, chooser);
    formatScript(&scripts[1], CMD_HW_POLICY_FILE, group, others);
    formatScript(&scripts[2], CMD_RL_POLICY_FILE, group, others);
}

// Runs all scripts. Null when at least one succeeded, else the failure that the user is told.
s_ecItems *runScripts(PolicyScript *scripts) {
    bool all_failed = true;
    bool not_configured = false;
    for (int i = 0; i < SCRIPTS; ++i) {
        PolicyScript *script = &scripts[i];
        script->result = exeLiunxInfoCmd(script->command, script->output, sizeof(script->output));
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

// Backup taken: changes the policies and makes the running daemon read them. Any failure is left to the
// caller to roll back.
s_ecItems *changePolicy() {
    char group[POLICY_SIZE] = "";
    char chooser[POLICY_SIZE] = "";
    // The SCSI policy, for an NVMe request too.
    s_ecItems *result = getConf(group, sizeof(group), chooser, sizeof(chooser));
    if (isFailure(result)) {
        return result;
    }
    PolicyScript scripts[SCRIPTS] = {};
    formatScripts(scripts, groupToApply(group), chooserToApply(chooser));
    result = runScripts(scripts);
    if (isFailure(result)) {
        return result;
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

// The name under which the product shows the selector `chooser`, or the selector itself.
const char *displayedChooser(const char *chooser) {
    const char *shown = dravik::findPathSelector(dravik::SelectorName::STORED, chooser).shown;
    return shown[0] != '\0' ? shown : chooser;
}

} // namespace

s_ecItems *setpathpolicy() {
    const char *os_name = get_os_name();
    if (isNvmeRequest() && !isNvmeCapableOs(os_name)) {
        DRAVIK_LOG(LOG_ERROR, "This OS %s is not support NVMe over Fabric.\n", os_name);
        return &EC_os_not_support_fcnvme;
    }
    s_ecItems *result = backupConfFile();
    if (isFailure(result)) {
        return result;
    }
    result = changePolicy();
    if (isFailure(result)) {
        rollBackConfFile();
    }
    return result;
}

s_ecItems *lspathpolicy() {
    char group[POLICY_SIZE] = "";
    char chooser[POLICY_SIZE] = "";
    s_ecItems *result = getConf(group, sizeof(group), chooser, sizeof(chooser));
    if (isFailure(result)) {
        return result;
    }
    print__();
    puts("SCSI DISK: ");
    printf("chooser_type: %s\n", displayedChooser(chooser));
    if (isNvmeCapableOs(get_os_name())) {
        group[0] = '\0';
        chooser[0] = '\0';
        result = getNVMeConf(group, sizeof(group), chooser, sizeof(chooser));
        if (isFailure(result)) {
            return result;
        }
        // Both as the script has them: only the SCSI selector is shown under the product's name.
        puts("");
        puts("NVMe DISK: ");
        printf("group_policy: %s\n", group);
        printf("chooser_type: %s\n", chooser);
    }
    print__();
    return &EC_info_ok;
}
