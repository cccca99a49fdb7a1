// Handing "start" to the service tool.
#include "commands/start.h"

#include "commands/service.h"

s_ecItems *dravik::startDaemon() {
    checkAndCreatlvmlibs();
    return chMultipathdService("start");
}
