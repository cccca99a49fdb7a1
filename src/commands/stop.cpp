// Handing "stop" to the service tool.
#include "commands/stop.h"

#include "commands/service.h"

s_ecItems *dravik::stopDaemon() {
    return chMultipathdService("stop");
}
