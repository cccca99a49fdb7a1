// Reviving paths and rebuilding maps.
#include "commands/aggregation.h"

#include "host/interruption.h"
#include "host/task.h"
#include "host/tool_names.h"

using namespace dravik::literals;

s_ecItems *aggregation() {
    dravik::runScript(__func__, SH_run_all_offline_path);
    const dravik::ShellCommand reload(CMD_velomux, " -r"_sh);
    return dravik::finishStep([&] { return dravik::runTask("aggregation", reload); });
}
