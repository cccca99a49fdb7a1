// The daemon through the host's service tools.
#include "commands/service.h"

#include <cstdio>

#include "commands/conf_file.h"
#include "common/log.h"
#include "common/text.h"
#include "host/command_output.h"
#include "host/host_os.h"
#include "host/task.h"
#include "host/tool_names.h"

namespace {

// True on a SysV host; on any other, systemctl is about to be used and the unit link is seen to first.
bool prepareServiceTool() {
    if (isSysVHost()) {
        return true;
    }
    checkAndCreatSoftlink();
    return false;
}

// The `number`th line of `text` (cut in place) that is not empty, counted from 1; null when there are fewer.
const char *nonEmptyLine(char *text, int number) {
    const char *line = tessaline_strtok(text, "\n");
    for (; line != nullptr && number > 1; --number) {
        line = tessaline_strtok(nullptr, "\n");
    }
    return line;
}

// dravikd (pid  1234) is running...
// dravikd (pid  1234) 正在运行...
bool sysvSaysRunning(char *text) {
    const char *line = nonEmptyLine(text, 1);
    return find_str(line, "running") != nullptr || find_str(line, "正在运行") != nullptr;
}

// ● dravikd.service - Device-Mapper Multipath Device Controller
//    Loaded: loaded (/usr/lib/systemd/system/dravikd.service; enabled; vendor preset: enabled)
//    Active: active (running) since Mon 2021-12-06 10:15:02 CST; 1h 3min ago
bool systemdSaysRunning(char *text) {
    return find_str(nonEmptyLine(text, 3), " active (running) ") != nullptr;
}

} // namespace

void checkAndCreatSoftlink() {
    runScript(SH_softlink);
}

void checkAndCreatlvmlibs() {
    runScript(SH_lvmlibs);
}

void checkAndStartdravikd() {
    runScript(SH_dravikd);
}

s_ecItems *getStatus(bool *running) {
    const bool sysv = prepareServiceTool();
    char command[TASK_COMMAND_SIZE] = "";
    if (sysv) {
        snprintf(command, sizeof(command), "%s dravikd status", CMD_service);
    } else {
        snprintf(command, sizeof(command), "%s status dravikd.service", CMD_systemctl);
    }
    *running = false;
    const TaskOutput output;
    // Both tools answer for a stopped daemon with an exit status of its own: the text alone decides.
    exeLiunxInfoCmd(command, output.pages, TASK_OUTPUT_SIZE);
    if (output.pages != nullptr) {
        *running = sysv ? sysvSaysRunning(output.pages) : systemdSaysRunning(output.pages);
    }
    return &EC_info_ok;
}

s_ecItems *chMultipathdService(const char *action) {
    char command[TASK_COMMAND_SIZE] = "";
    if (prepareServiceTool()) {
        snprintf(command, sizeof(command), "%s dravikd %s", CMD_service, action);
    } else {
        snprintf(command, sizeof(command), "%s %s dravikd.service", CMD_systemctl, action);
    }
    return exeLiunxTaskCmd(command);
}

s_ecItems *status() {
    bool running = false;
    s_ecItems *result = getStatus(&running);
    if (isFailure(result)) {
        return result;
    }
    print__();
    printf("Service status: %s\n", running ? "active" : "inactive");
    print__();
    return result;
}

s_ecItems *restart() {
    bool running = false;
    s_ecItems *result = getStatus(&running);
    if (!isFailure(result)) {
        result = chMultipathdService(running ? "reload" : "start");
    }
    if (isFailure(result)) {
        rollBackConfFile();
    }
    return result;
}

// dravikd         0:off   1:off   2:on    3:on    4:on    5:on    6:off
// enabled
s_ecItems *lsselfstart() {
    const bool sysv = prepareServiceTool();
    char command[TASK_COMMAND_SIZE] = "";
    if (sysv) {
        snprintf(command, sizeof(command), "chkconfig dravikd --list");
    } else {
        snprintf(command, sizeof(command), "%s is-enabled dravikd.service", CMD_systemctl);
    }
    const TaskOutput output;
    s_ecItems *result = exeLiunxInfoCmd(command, output.pages, TASK_OUTPUT_SIZE);
    if (isFailure(result)) {
        return result;
    }
    const char *text = output.pages;
    const bool on = sysv ? find_str(text, "5:on") != nullptr || find_str(text, "3:on") != nullptr
                         : find_str(text, "enabled") != nullptr;
    print__();
    printf("Self-starting status: %s\n", on ? "on" : "off");
    print__();
    return result;
}
