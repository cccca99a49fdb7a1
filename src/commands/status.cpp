// Showing whether the daemon runs.
#include "commands/status.h"

#include <cstdio>

#include "commands/service.h"
#include "common/log.h"

s_ecItems *status() {
    bool running = false;
    s_ecItems *result = getStatus(&running);
    if (isFailure(result)) {
        return result;
    }
    print__();
    printf("Service status: %s\n", running ? "active" : "inactive");
    print__();
    return result;
}
