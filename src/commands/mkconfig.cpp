// Restoring the stock configuration and adding the maker's block.
#include "commands/mkconfig.h"

#include <glob.h>

#include "commands/conf_backup.h"
#include "commands/vendor_block.h"
#include "common/capture.h"
#include "host/file_state.h"
#include "host/interruption.h"
#include "host/task.h"
#include "host/tool_names.h"

using dravik::own;
using dravik::ShellCommand;
using namespace dravik::literals;

namespace {

constexpr char STOCK_FILES[] = "/usr/share/doc/device-mapper-velomux-*/velomux.conf";

s_ecItems *copyStockFile() {
    return runTask("mkconfig", ShellCommand(own<CMD_cp>(), " "_sh, own<STOCK_FILES>(), " "_sh, CONF_FILE));
}

// How a tool ended counts for nothing, but for this: on a full disk it may have left half a file.
bool hasRunShort() {
    const dravik::ChildEnd &end = dravik::lastChildEnd();
    return end.exit_status != 0 || end.signal_number != 0;
}

bool holdsStockFile() {
    glob_t found = {};
    dravik::FileState stock = {};
    bool holds = false;
    if (glob(STOCK_FILES, 0, nullptr, &found) == 0) {
        for (size_t i = 0; i < found.gl_pathc && !holds; ++i) {
            holds = dravik::readFileState(found.gl_pathv[i], &stock) && stock.exists &&
                    dravik::holdsText(CONF_FILE, stock.text);
        }
    }
    globfree(&found);
    return holds;
}

s_ecItems *restoreStockFile() {
    s_ecItems *result = copyStockFile();
    if (isFailure(result)) {
        return result;
    }
    // Without a stock file the one that is there is gone on with.
    if (hasRunShort() && !dravik::isConfFileAsFound() && !holdsStockFile()) {
        return &EC_exe_cmd_failed;
    }
    // A block that could not be appended costs the example file, not the command: the mode is set all the same.
    if (isFailure(addConf()) || hasRunShort()) {
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
