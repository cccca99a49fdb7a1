// Backing up, changing and restoring the multipath configuration file.
#include "commands/conf_backup.h"

#include "host/task.h"
#include "host/tool_names.h"

using dravik::own;
using dravik::ShellCommand;
using dravik::operator""_sh;

s_ecItems *backupConfFile() {
    return runTask(__func__, ShellCommand(own<CMD_cp>(), " "_sh, CONF_FILE, " "_sh, CONF_FILE, ".bk"_sh));
}

void rollBackConfFile() {
    runTask(__func__, ShellCommand(own<CMD_cp>(), " "_sh, CONF_FILE, ".bk "_sh, CONF_FILE));
}

s_ecItems *dravik::changeConfFile(s_ecItems *(*change)()) {
    s_ecItems *result = backupConfFile();
    if (isFailure(result)) {
        return result;
    }
    result = change();
    if (isFailure(result)) {
        rollBackConfFile();
    }
    return result;
}
