/* The dials file, the look-up of the real functions, and appending to the records under /sim. */
#include "preload.h"

#include <dlfcn.h>
#include <errno.h>
#include <fcntl.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

/* clock_offset                 -3600
   A name, blanks, the number right-aligned, a newline: 32 bytes. */
#define DIAL_LINE 32
#define DIAL_NAME 16
#define DIALS_SIZE ((size_t)DIAL_COUNT * DIAL_LINE)

static const char *dials;

void *nextFunction(const char *name) {
    return dlsym(RTLD_NEXT, name);
}

/* Opening goes through the system call: the library's own open() is one of the functions it replaces. */
static int openDirect(const char *path, int flags) {
    return (int)syscall(SYS_openat, AT_FDCWD, path, flags | O_CLOEXEC, 0666);
}

__attribute__((constructor(101))) static void mapDials(void) {
    const int fd = openDirect(SIM_DIR "/dials", O_RDONLY);
    if (fd < 0)
        return;
    /* A shorter file would end in a bus error at the first read behind its end. */
    if (lseek(fd, 0, SEEK_END) >= (off_t)DIALS_SIZE) {
        void *map = mmap(NULL, DIALS_SIZE, PROT_READ, MAP_SHARED, fd, 0);
        dials = map == MAP_FAILED ? NULL : map;
    }
    (void)close(fd);
}

bool inSimulatedHost(void) {
    return dials != NULL;
}

double dialValue(enum dial which) {
    char text[DIAL_LINE - DIAL_NAME + 1];
    char again[sizeof text];

    if (dials == NULL)
        return which == DIAL_DISK_FREE ? -1 : 0;
    const char *from = dials + (size_t)which * DIAL_LINE + DIAL_NAME;
    /* A command may be in the middle of rewriting the line: take it when two readings agree. */
    do {
        memcpy(text, from, sizeof text - 1);
        memcpy(again, from, sizeof again - 1);
    } while (memcmp(text, again, sizeof text - 1) != 0);
    text[sizeof text - 1] = '\0';
    return strtod(text, NULL);
}

void setDial(enum dial which, long value) {
    char text[DIAL_LINE];
    const int saved = errno;
    const int fd = openDirect(SIM_DIR "/dials", O_WRONLY);

    if (fd >= 0) {
        const int length = snprintf(text, sizeof text, "%*ld", DIAL_LINE - DIAL_NAME - 1, value);
        if (length == DIAL_LINE - DIAL_NAME - 1)
            (void)syscall(SYS_pwrite64, fd, text, (size_t)length,
                          (off_t)((size_t)which * DIAL_LINE + DIAL_NAME));
        (void)close(fd);
    }
    errno = saved;
}

void appendLine(const char *path, const char *text) {
    const int saved = errno;
    const int fd = openDirect(path, O_WRONLY | O_APPEND | O_CREAT);

    if (fd >= 0) {
        (void)syscall(SYS_write, fd, text, strlen(text));
        (void)close(fd);
    }
    errno = saved;
}
