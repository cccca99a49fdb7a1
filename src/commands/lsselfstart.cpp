// Showing whether the daemon starts with the host.
#include "commands/lsselfstart.h"

#include <cstdio>

#include "commands/service.h"
#include "common/log.h"
#include "common/text.h"
#include "host/command_output.h"
#include "host/task.h"
#include "host/tool_names.h"

using dravik::ShellCommand;
using namespace dravik::literals;

// dravikd         0:off   1:off   2:on    3:on    4:on    5:on    6:off
// enabled
s_ecItems *lsselfstart() {
    const bool sysv = dravik::prepareServiceTool();
    const ShellCommand command = sysv ? ShellCommand("chkconfig dravikd --list"_sh)
                                      : ShellCommand(CMD_systemctl, " is-enabled dravikd.service"_sh);
    const CommandOutput output;
    s_ecItems *result = runForOutput(__func__, command, output.pages, TASK_OUTPUT_SIZE);
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
