// Setting an alias through alias.sh, which exits with 0 on success and otherwise begins its output with a digit: "4"
// the pair exists, "5" the alias belongs to another WWID.
#include "commands/setalias.h"

#include <cstring>

#include "commands/parameter_buffers.h"
#include "common/log.h"
#include "common/text.h"
#include "host/command_output.h"
#include "host/task.h"
#include "host/tool_names.h"

using dravik::ShellCommand;
using namespace dravik::literals;

namespace {

// Whether the alias names a device of the maker's other than the one with the WWID itself as its name.
// Everything else, a tool that cannot be run included, leaves the decision to the script.
bool isTaken(const char *operation, const ShellCommand &command) {
    CommandOutput output;
    if (output.fill(exe_cmd, command.line()) < 0) {
        DRAVIK_LOG_AS(operation, LOG_ERROR, "Execute command [%s] failed", command.line());
        return false;
    }
    if (find_str(output.text, "KORVEL") == nullptr) {
        // The ordinary case of a new alias: noted in the record, which nobody returns.
        initEcItems1(&EC_no_this_device, gParamAliasVal);
        return false;
    }
    return strcmp(gParamAliasVal, gParamWwidVal) != 0;
}

// The record for the script's answer `output`, whose own record is `result`.
s_ecItems *failureOf(const char *output, s_ecItems *result) {
    switch (output == nullptr ? '\0' : output[0]) {
    case '4':
        initEcItems2(&EC_exist_wwid_alias, gParamWwidVal, gParamAliasVal);
        return &EC_exist_wwid_alias;
    case '5':
        initEcItems1(&EC_exist_alias, gParamAliasVal);
        return &EC_exist_alias;
    default:
        return result;
    }
}

} // namespace

s_ecItems *setalias() {
    const ShellCommand look_up(CMD_velomux, " -ll "_sh, gParamAliasVal);
    const ShellCommand set(CMD_sh, " "_sh, SH_alias, " set "_sh, gParamWwidVal, " "_sh, gParamAliasVal);
    if (isRefused(__func__, look_up) || isRefused(__func__, set)) {
        return &EC_exe_cmd_failed;
    }
    if (isTaken(__func__, look_up)) {
        initEcItems1(&EC_exist_alias, gParamAliasVal);
        return &EC_exist_alias;
    }
    const CommandOutput output;
    s_ecItems *result = runForOutput(__func__, set, output.pages, TASK_OUTPUT_SIZE);
    return isFailure(result) ? failureOf(output.pages, result) : &EC_ok;
}
