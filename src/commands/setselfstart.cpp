// Handing "enable" to the service tool.
#include "commands/setselfstart.h"

#include "commands/service.h"

s_ecItems *dravik::enableSelfStart() {
    return chMultipathdService("enable");
}
