// Discovering volumes.
#include "commands/scan.h"

#include "host/interruption.h"
#include "host/task.h"
#include "host/tool_names.h"

s_ecItems *scan() {
    s_ecItems *result = dravik::runScript(__func__, CMD_G2SCAN_FILE);
    if (dravik::pendingSignal() != 0) {
        return result; // what has been found so far is found; nothing is half done
    }
    return dravik::runScript(__func__, CMD_CONNECT_NVME_FILE);
}
