/* A preload library: dravik-monitor runs so many cycles, without pauses, and ends.

     RUN_CYCLES=N    its Nth sleep ends it, with exit status 0

   Before the cycle after its Nth sleep, /sim/said.N becomes /sim/said, what the multipath tool says. */
#include <stdio.h>
#include <stdlib.h>
#include <unistd.h>

static long wanted;

/* Early: the program clears its environment. */
__attribute__((constructor)) static void readCycles(void) {
    const char *value = getenv("RUN_CYCLES");

    wanted = value == NULL ? 0 : strtol(value, NULL, 10);
}

unsigned sleep(unsigned seconds) {
    static long slept;
    char next[64];

    (void)seconds;
    if (++slept == wanted)
        _exit(0);
    (void)snprintf(next, sizeof next, "/sim/said.%ld", slept);
    if (access(next, F_OK) == 0) {
        (void)unlink("/sim/said");
        (void)link(next, "/sim/said");
    }
    return 0;
}
