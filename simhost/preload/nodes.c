/* Device nodes without devices: a plain file with the sticky bit, holding "dm-3 sdb" (its map and its own name),
   passes for a block device. The mark is in the file itself, so it holds for descriptors that were duplicated or
   inherited, and no table of open files is kept. */
#include "nodes.h"

#include "preload.h"

#include <errno.h>
#include <fcntl.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

/* /sim/array/dm-3:
   vdisk vol_database
   page normal
   transport fc
   nsid 1 */
static void readAnswerSheet(const char *map, struct array_volume *volume) {
    char path[64];
    char line[VDISK_NAME_SIZE + 16];

    (void)snprintf(path, sizeof path, SIM_DIR "/array/%.31s", map);
    FILE *sheet = fopen(path, "re");
    if (sheet == NULL)
        return;
    while (fgets(line, sizeof line, sheet) != NULL) {
        line[strcspn(line, "\n")] = '\0';
        const char *value = strchr(line, ' ');
        value = value == NULL ? "" : value + 1;
        if (strncmp(line, "vdisk ", 6) == 0)
            (void)snprintf(volume->vdisk, sizeof volume->vdisk, "%.511s",
                           strcmp(value, "-") == 0 ? "" : value);
        else if (strncmp(line, "page ", 5) == 0)
            (void)snprintf(volume->page, sizeof volume->page, "%.31s", value);
        else if (strncmp(line, "transport ", 10) == 0)
            volume->nvme = strncmp(value, "nvme", 4) == 0;
        else if (strncmp(line, "nsid ", 5) == 0)
            volume->nsid = (unsigned)strtoul(value, NULL, 10);
    }
    (void)fclose(sheet);
}

static bool isUnreachable(const char *map) {
    char line[32];
    bool found = false;
    FILE *list = fopen(SIM_DIR "/unreachable", "re");

    if (list == NULL)
        return false;
    while (!found && fgets(line, sizeof line, list) != NULL) {
        line[strcspn(line, "\n")] = '\0';
        found = strcmp(line, map) == 0;
    }
    (void)fclose(list);
    return found;
}

static bool isMarked(unsigned mode) {
    return S_ISREG(mode) && (mode & S_ISVTX) != 0;
}

static bool describe(char *text, struct array_volume *volume) {
    char map[32];
    char name[32];
    const int words = sscanf(text, "%31s %31s", map, name);

    memset(volume, 0, sizeof *volume);
    if (words < 1)
        return false;
    (void)snprintf(volume->node, sizeof volume->node, "%s", words == 2 ? name : map);
    readAnswerSheet(map, volume);
    volume->reachable = !isUnreachable(map);
    return true;
}

bool volumeOfNode(int fd, struct array_volume *volume) {
    struct stat file;
    char text[64] = "";

    if (!inSimulatedHost() || syscall(SYS_fstat, fd, &file) != 0 || !isMarked(file.st_mode))
        return false;
    return pread(fd, text, sizeof text - 1, 0) > 0 && describe(text, volume);
}

static unsigned blockMode(unsigned mode) {
    return (mode & 0777) | S_IFBLK;
}

/* Of an open node the array may want to be told that it is none (the page "not-block"). */
static bool passesForBlock(int fd) {
    struct array_volume volume;
    const int saved = errno;
    const bool passes = !volumeOfNode(fd, &volume) || strcmp(volume.page, "not-block") != 0;

    errno = saved;
    return passes;
}

#define SHOW_AS_BLOCK(result, out)                                                                           \
    if ((result) == 0 && inSimulatedHost() && isMarked((out)->st_mode)) {                                    \
        (out)->st_mode = blockMode((out)->st_mode);                                                          \
        (out)->st_size = 0;                                                                                  \
    }

#define DEFINE_FSTAT(name, kind)                                                                             \
    typedef int (*name##_type)(int, struct kind *);                                                          \
    int name(int fd, struct kind *out) {                                                                     \
        NEXT(name##_type, name);                                                                             \
        const int result =                                                                                   \
            next_##name.function == NULL ? (int)syscall(SYS_fstat, fd, out) : next_##name.function(fd, out); \
        if (result == 0 && isMarked(out->st_mode) && passesForBlock(fd))                                     \
            SHOW_AS_BLOCK(result, out)                                                                       \
        return result;                                                                                       \
    }
#define DEFINE_STAT(name, kind)                                                                              \
    typedef int (*name##_type)(const char *restrict, struct kind *restrict);                                 \
    int name(const char *restrict path, struct kind *restrict out) {                                         \
        NEXT(name##_type, name);                                                                             \
        const int result = next_##name.function == NULL ? -1 : next_##name.function(path, out);              \
        SHOW_AS_BLOCK(result, out)                                                                           \
        return result;                                                                                       \
    }
#define DEFINE_FSTATAT(name, kind)                                                                           \
    typedef int (*name##_type)(int, const char *restrict, struct kind *restrict, int);                       \
    int name(int dir, const char *restrict path, struct kind *restrict out, int flags) {                     \
        NEXT(name##_type, name);                                                                             \
        const int result = next_##name.function == NULL ? -1 : next_##name.function(dir, path, out, flags);  \
        SHOW_AS_BLOCK(result, out)                                                                           \
        return result;                                                                                       \
    }
DEFINE_FSTAT(fstat, stat)
DEFINE_FSTAT(fstat64, stat64)
DEFINE_STAT(stat, stat)
DEFINE_STAT(stat64, stat64)
DEFINE_STAT(lstat, stat)
DEFINE_STAT(lstat64, stat64)
DEFINE_FSTATAT(fstatat, stat)
DEFINE_FSTATAT(fstatat64, stat64)

/* What programs that were built with a C library before 2.33 call. */
#define DEFINE_XSTAT(name, subject, kind)                                                                    \
    typedef int (*name##_type)(int, subject, struct kind *);                                                 \
    int name(int version, subject file, struct kind *out);                                                   \
    int name(int version, subject file, struct kind *out) {                                                  \
        NEXT(name##_type, name);                                                                             \
        const int result = next_##name.function == NULL ? -1 : next_##name.function(version, file, out);     \
        SHOW_AS_BLOCK(result, out)                                                                           \
        return result;                                                                                       \
    }
DEFINE_XSTAT(__fxstat, int, stat)
DEFINE_XSTAT(__fxstat64, int, stat64)
DEFINE_XSTAT(__xstat, const char *, stat)
DEFINE_XSTAT(__xstat64, const char *, stat64)
DEFINE_XSTAT(__lxstat, const char *, stat)
DEFINE_XSTAT(__lxstat64, const char *, stat64)

typedef int (*statx_type)(int, const char *restrict, int, unsigned, struct statx *restrict);
int statx(int dir, const char *restrict path, int flags, unsigned mask, struct statx *restrict out) {
    NEXT(statx_type, statx);
    const int result = next_statx.function == NULL ? -1 : next_statx.function(dir, path, flags, mask, out);

    if (result == 0 && inSimulatedHost() && isMarked(out->stx_mode)) {
        out->stx_mode = (unsigned short)blockMode(out->stx_mode);
        out->stx_size = 0;
    }
    return result;
}
