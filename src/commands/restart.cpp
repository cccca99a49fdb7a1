// Reloading or starting the daemon.
#include "commands/restart.h"

#include "commands/conf_backup.h"
#include "commands/service.h"

s_ecItems *restart() {
    bool running = false;
    s_ecItems *result = getStatus(&running);
    if (!isFailure(result)) {
        result = chMultipathdService(running ? "reload" : "start");
    }
    if (isFailure(result)) {
        rollBackConfFile();
    }
    return result;
}
