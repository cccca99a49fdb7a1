// Deleting an alias through alias.sh, which exits with 0 on success and otherwise begins its output with a digit: "7"
// the WWID has no alias.
#include "commands/delalias.h"

#include "commands/parameter_buffers.h"
#include "host/command_output.h"
#include "host/task.h"
#include "host/tool_names.h"

using dravik::ShellCommand;
using namespace dravik::literals;

s_ecItems *delalias() {
    const ShellCommand command(CMD_sh, " "_sh, SH_alias, " del "_sh, gParamWwidVal);
    const CommandOutput output;
    s_ecItems *result = runForOutput(__func__, command, output.pages, TASK_OUTPUT_SIZE);
    if (!isFailure(result)) {
        return &EC_ok;
    }
    if (output.pages != nullptr && output.pages[0] == '7') {
        initEcItems1(&EC_no_wwid, gParamWwidVal);
        return &EC_no_wwid;
    }
    return result;
}
