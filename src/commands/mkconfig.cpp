// Restoring the stock configuration and adding the maker's block.
#include "commands/mkconfig.h"

#include "commands/conf_backup.h"
#include "commands/vendor_block.h"
#include "host/interruption.h"
#include "host/task.h"
#include "host/tool_names.h"

using dravik::own;
using dravik::ShellCommand;
using namespace dravik::literals;

namespace {

s_ecItems *copyStockFile() {
    return runTask(
        "mkconfig",
        ShellCommand(own<CMD_cp>(), " /usr/share/doc/device-mapper-velomux-*/velomux.conf "_sh, CONF_FILE));
}

s_ecItems *restoreStockFile() {
    s_ecItems *result = copyStockFile();
    if (isFailure(result)) {
        return result;
    }
    // A block that could not be appended costs the example file, not the command: the mode is set all the same.
    if (isFailure(addConf())) {
        rollBackConfFile();
    }
    result = chmodConfFile();
    // Ctrl+C may have ended one of the steps, which counts as a success.
    return dravik::pendingSignal() != 0 ? &EC_exe_cmd_failed : result;
}

} // namespace

s_ecItems *mkconfig() {
    return dravik::changeConfFile(restoreStockFile);
}

s_ecItems *chmodConfFile() {
    return runTask(__func__, ShellCommand(CMD_chmod, " 777 "_sh, CONF_FILE));
}
