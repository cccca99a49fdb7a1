// Discovering volumes.
#include "commands/scan.h"

#include "host/task.h"
#include "host/tool_names.h"

s_ecItems *scan() {
    dravik::runScript(__func__, CMD_G2SCAN_FILE);
    return dravik::runScript(__func__, CMD_CONNECT_NVME_FILE);
}
