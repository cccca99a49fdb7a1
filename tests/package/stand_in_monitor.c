/* Stands for the monitor in the tests of its service script: waits until a signal ends it. Files beside the program tell
   how: NAME.deaf, SIGTERM is not heard; NAME.slow, it takes two seconds to end; NAME.broken, it ends at once. */
#include <signal.h>
#include <stdio.h>
#include <unistd.h>

static int told(const char *program, const char *how) {
    char path[4096];

    snprintf(path, sizeof path, "%s.%s", program, how);
    return access(path, F_OK) == 0;
}

static void endSlowly(int number) {
    (void)number;
    sleep(2);
    _exit(0);
}

int main(int argc, char **argv) {
    (void)argc;
    if (told(argv[0], "broken"))
        return 1;
    if (told(argv[0], "deaf"))
        signal(SIGTERM, SIG_IGN);
    else if (told(argv[0], "slow"))
        signal(SIGTERM, endSlowly);
    for (;;)
        pause();
}
