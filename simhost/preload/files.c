/* Opening files: the null device without a device node, the counters beside a real /proc, the notes of what
   was written into the simulated sysfs, and the failures of a full or read-only /dumps. */
#include "preload.h"

#include <errno.h>
#include <fcntl.h>
#include <stdarg.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

typedef int (*open_type)(const char *, int, ...);
typedef int (*openat_type)(int, const char *, int, ...);
typedef FILE *(*fopen_type)(const char *restrict, const char *restrict);

/* Large enough that the stream of a log or a snapshot never writes by itself between two flushes, where the
   limit of a full /dumps could not be kept. */
#define STREAM_BUFFER ((size_t)1 << 20)

static bool realProc;

/* The environment does not tell: the programs hand on none of it. */
__attribute__((constructor(103))) static void readRealProc(void) {
    realProc = access(SIM_DIR "/proc/stat", F_OK) == 0;
}

static bool beginsWith(const char *text, const char *prefix) {
    return strncmp(text, prefix, strlen(prefix)) == 0;
}

static bool endsWith(const char *text, const char *suffix) {
    const size_t length = strlen(text);
    const size_t tail = strlen(suffix);
    return length >= tail && strcmp(text + length - tail, suffix) == 0;
}

/* Where a real /proc is mounted, the simulated counters lie under /sim/proc. */
static const char *redirected(const char *path) {
    if (!realProc)
        return path;
    if (strcmp(path, "/proc/diskstats") == 0)
        return SIM_DIR "/proc/diskstats";
    if (strcmp(path, "/proc/stat") == 0)
        return SIM_DIR "/proc/stat";
    if (strcmp(path, "/proc/uptime") == 0)
        return SIM_DIR "/proc/uptime";
    return path;
}

/* A plain file has no driver that acts on what is written, so the writing is noted here and the multipath
   tool acts on it when it next runs. */
static void noteSysfsWrite(const char *path) {
    char line[512];

    if (!beginsWith(path, "/sys/"))
        return;
    if (!endsWith(path, "/delete") && !endsWith(path, "/state") && !endsWith(path, "/scan"))
        return;
    (void)snprintf(line, sizeof line, "%.500s\n", path);
    appendLine(SIM_DIR "/sysfs_writes", line);
}

/* In a folder where no device node can be made, /dev/null is a plain file; it is replaced by a nameless one,
   so that nothing written comes back. */
static int nullInsteadOf(int fd, int flags) {
    struct stat seen;

    if (fd < 0 || fstat(fd, &seen) != 0 || !S_ISREG(seen.st_mode))
        return fd;
    (void)close(fd);
    return memfd_create("null", (flags & O_CLOEXEC) != 0 ? MFD_CLOEXEC : 0);
}

static bool wantsWriting(int flags) {
    return (flags & O_ACCMODE) != O_RDONLY || (flags & (O_CREAT | O_TRUNC)) != 0;
}

static int openHere(int dir, const char *path, int flags, mode_t mode) {
    NEXT(openat_type, openat);
    if (next_openat.function == NULL) {
        errno = ENOSYS;
        return -1;
    }
    if (!inSimulatedHost() || path == NULL || path[0] != '/')
        return next_openat.function(dir, path, flags, mode);
    if (strcmp(path, "/dev/null") == 0)
        return nullInsteadOf(next_openat.function(dir, path, flags, mode), flags);
    if (wantsWriting(flags) && diskRefusesOpen(path, flags))
        return -1;
    const int fd = next_openat.function(dir, redirected(path), flags, mode);
    if (fd >= 0 && wantsWriting(flags))
        noteSysfsWrite(path);
    return fd;
}

static bool takesMode(int flags) {
    return (flags & O_CREAT) != 0 || (flags & O_TMPFILE) == O_TMPFILE;
}

#define DEFINE_OPEN(name)                                                                                    \
    int name(const char *path, int flags, ...) {                                                             \
        va_list rest;                                                                                        \
        va_start(rest, flags);                                                                               \
        const mode_t mode = takesMode(flags) ? va_arg(rest, mode_t) : 0;                                     \
        va_end(rest);                                                                                        \
        return openHere(AT_FDCWD, path, flags, mode);                                                        \
    }
#define DEFINE_OPENAT(name)                                                                                  \
    int name(int dir, const char *path, int flags, ...) {                                                    \
        va_list rest;                                                                                        \
        va_start(rest, flags);                                                                               \
        const mode_t mode = takesMode(flags) ? va_arg(rest, mode_t) : 0;                                     \
        va_end(rest);                                                                                        \
        return openHere(dir, path, flags, mode);                                                             \
    }
DEFINE_OPEN(open)
DEFINE_OPEN(open64)
DEFINE_OPENAT(openat)
DEFINE_OPENAT(openat64)

/* What a program compiled with fortification calls for an open without a mode. */
int __open_2(const char *path, int flags);
int __open64_2(const char *path, int flags);
int __openat_2(int dir, const char *path, int flags);
int __open_2(const char *path, int flags) {
    return openHere(AT_FDCWD, path, flags, 0);
}
int __open64_2(const char *path, int flags) {
    return openHere(AT_FDCWD, path, flags, 0);
}
int __openat_2(int dir, const char *path, int flags) {
    return openHere(dir, path, flags, 0);
}

int creat(const char *path, mode_t mode) {
    return openHere(AT_FDCWD, path, O_CREAT | O_WRONLY | O_TRUNC, mode);
}

static int flagsOfMode(const char *mode) {
    const bool both = strchr(mode, '+') != NULL;

    switch (mode[0]) {
    case 'w':
        return (both ? O_RDWR : O_WRONLY) | O_CREAT | O_TRUNC;
    case 'a':
        return (both ? O_RDWR : O_WRONLY) | O_CREAT | O_APPEND;
    default:
        return both ? O_RDWR : O_RDONLY;
    }
}

/* A stream opens its file inside the C library, out of sight of open() above. */
static FILE *fopenHere(const char *path, const char *mode, FILE *(*next)(const char *, const char *)) {
    const int flags = flagsOfMode(mode);

    if (next == NULL) {
        errno = ENOSYS;
        return NULL;
    }
    if (!inSimulatedHost() || path == NULL || path[0] != '/')
        return next(path, mode);
    if (strcmp(path, "/dev/null") == 0) {
        const int fd = openHere(AT_FDCWD, path, flags, 0666);
        return fd < 0 ? NULL : fdopen(fd, mode);
    }
    if (wantsWriting(flags) && diskRefusesOpen(path, flags))
        return NULL;
    FILE *stream = next(redirected(path), mode);
    if (stream != NULL && wantsWriting(flags)) {
        noteSysfsWrite(path);
        if (isUnderDumps(path) && dialValue(DIAL_DISK_FREE) >= 0)
            (void)setvbuf(stream, NULL, _IOFBF, STREAM_BUFFER);
    }
    return stream;
}

FILE *fopen(const char *restrict path, const char *restrict mode) {
    NEXT(fopen_type, fopen);
    return fopenHere(path, mode, next_fopen.function);
}

FILE *fopen64(const char *restrict path, const char *restrict mode) {
    NEXT(fopen_type, fopen64);
    return fopenHere(path, mode, next_fopen64.function);
}
