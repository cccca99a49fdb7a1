/* Who the host is: its kernel release, and the record of the command lines that its programs hand to the
 * shell. */
#include "preload.h"

#include <errno.h>
#include <stdio.h>
#include <string.h>
#include <sys/utsname.h>

typedef int (*uname_type)(struct utsname *);

static void firstLine(const char *path, char *out, size_t size) {
    FILE *file = fopen(path, "re");

    if (file == NULL)
        return;
    if (fgets(out, (int)size, file) != NULL)
        out[strcspn(out, "\n")] = '\0';
    (void)fclose(file);
}

int uname(struct utsname *out) {
    NEXT(uname_type, uname);
    if (next_uname.function == NULL || next_uname.function(out) != 0)
        return -1;
    if (inSimulatedHost()) {
        firstLine(SIM_DIR "/kernel_release", out->release, sizeof out->release);
        firstLine("/etc/hostname", out->nodename, sizeof out->nodename);
    }
    return 0;
}

/* popen() and system() start "sh -c COMMAND" (newer C libraries "sh -c -- COMMAND"). */
__attribute__((constructor(104))) static void recordShellCommand(int argc, char **argv, char **environment) {
    char line[4096];

    (void)environment;
    if (!inSimulatedHost() || argc < 3 || strcmp(argv[0], "sh") != 0 || strcmp(argv[1], "-c") != 0)
        return;
    const char *command = strcmp(argv[2], "--") == 0 && argc > 3 ? argv[3] : argv[2];
    (void)snprintf(line, sizeof line, "%.4090s\n", command);
    appendLine(SIM_DIR "/shells.log", line);
}
