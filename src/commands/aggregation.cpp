// Reviving paths and rebuilding maps.
#include "commands/aggregation.h"

#include "host/task.h"
#include "host/tool_names.h"

using dravik::operator""_sh;

s_ecItems *aggregation() {
    dravik::runScript(__func__, SH_run_all_offline_path);
    return dravik::runTask(__func__, dravik::ShellCommand(CMD_velomux, " -r"_sh));
}
