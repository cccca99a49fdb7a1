// Configuring the host through the configuration script.
#include "commands/config.h"

#include "common/text.h"
#include "host/command_output.h"
#include "host/task.h"
#include "host/tool_names.h"

using namespace dravik::literals;

s_ecItems *config() {
    const dravik::ShellCommand command(CMD_sh, " "_sh, CMD_G2CONFIG_FILE);
    const CommandOutput output;
    s_ecItems *result = runForOutput(__func__, command, output.pages, TASK_OUTPUT_SIZE);
    if (!isFailure(result)) {
        return &EC_ok;
    }
    return find_str(output.pages, "distribute type is not supported") != nullptr ? &EC_os_not_support
                                                                                 : result;
}
