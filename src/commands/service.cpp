// The daemon's state and its service tools.
#include "commands/service.h"

#include "common/text.h"
#include "host/command_output.h"
#include "host/host_os.h"
#include "host/interruption.h"
#include "host/task.h"
#include "host/tool_names.h"

using dravik::ServiceState;
using dravik::ShellCommand;
using namespace dravik::literals;

namespace {

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
ServiceState sysvState(char *text) {
    const char *line = nonEmptyLine(text, 1);
    if (line == nullptr) {
        return ServiceState::UNKNOWN;
    }
    const bool running = find_str(line, "running") != nullptr || find_str(line, "正在运行") != nullptr;
    return running ? ServiceState::RUNNING : ServiceState::STOPPED;
}

// ● dravikd.service - Device-Mapper Multipath Device Controller
//    Loaded: loaded (/usr/lib/systemd/system/dravikd.service; enabled; vendor preset: enabled)
//    Active: active (running) since Mon 2021-12-06 10:15:02 CST; 1h 3min ago
ServiceState systemdState(char *text) {
    const char *line = nonEmptyLine(text, 3);
    if (find_str(line, " active (running) ") != nullptr) {
        return ServiceState::RUNNING;
    }
    return find_str(line, " Active: ") != nullptr ? ServiceState::STOPPED : ServiceState::UNKNOWN;
}

} // namespace

void checkAndCreatSoftlink() {
    dravik::runScript(__func__, SH_softlink);
}

void checkAndCreatlvmlibs() {
    dravik::runScript(__func__, SH_lvmlibs);
}

void checkAndStartdravikd() {
    dravik::runScript(__func__, SH_dravikd);
}

bool dravik::prepareServiceTool() {
    if (isSysVHost()) {
        return true;
    }
    checkAndCreatSoftlink();
    return false;
}

ServiceState dravik::serviceState() {
    const bool sysv = prepareServiceTool();
    const ShellCommand command = sysv ? ShellCommand(CMD_service, " dravikd status"_sh)
                                      : ShellCommand(CMD_systemctl, " status dravikd.service"_sh);
    const CommandOutput output;
    // Both tools answer for a stopped daemon with an exit status of its own: the text alone decides.
    runForOutput("getStatus", command, output.pages, TASK_OUTPUT_SIZE);
    if (output.pages == nullptr) {
        return ServiceState::UNKNOWN;
    }
    return sysv ? sysvState(output.pages) : systemdState(output.pages);
}

s_ecItems *getStatus(bool *running) {
    // An answer that Ctrl+C has cut off would be that of a stopped daemon.
    *running = dravik::finishStep(dravik::serviceState) == ServiceState::RUNNING;
    return &EC_info_ok;
}

s_ecItems *chMultipathdService(const char *action) {
    const bool sysv = dravik::prepareServiceTool();
    const ShellCommand command = sysv ? ShellCommand(CMD_service, " dravikd "_sh, action)
                                      : ShellCommand(CMD_systemctl, " "_sh, action, " dravikd.service"_sh);
    return dravik::finishStep([&] { return runTask("chMultipathdService", command); });
}
