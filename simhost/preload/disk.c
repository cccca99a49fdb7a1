/* A full or read-only file system under /dumps, without a file system: writes end as they would there. */
#include "preload.h"

#include <dirent.h>
#include <errno.h>
#include <fcntl.h>
#include <stdio.h>
#include <stdio_ext.h>
#include <string.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/uio.h>
#include <unistd.h>

typedef ssize_t (*write_type)(int, const void *, size_t);
typedef ssize_t (*pwrite_type)(int, const void *, size_t, off_t);
typedef ssize_t (*writev_type)(int, const struct iovec *, int);
typedef int (*stream_type)(FILE *);
typedef int (*mkdir_type)(const char *, mode_t);
typedef int (*rename_type)(const char *, const char *);
typedef int (*renameat_type)(int, const char *, int, const char *);
typedef int (*renameat2_type)(int, const char *, int, const char *, unsigned);
typedef int (*unlink_type)(const char *);
typedef int (*unlinkat_type)(int, const char *, int);

bool isUnderDumps(const char *path) {
    return strncmp(path, "/dumps", 6) == 0 && (path[6] == '/' || path[6] == '\0');
}

static bool dumpsLocked(void) {
    return inSimulatedHost() && dialValue(DIAL_DISK_LOCKED) > 0;
}

static bool lockRefuses(const char *path) {
    if (!dumpsLocked() || path == NULL || !isUnderDumps(path))
        return false;
    errno = EROFS;
    return true;
}

bool diskRefusesOpen(const char *path, int flags) {
    if (!isUnderDumps(path))
        return false;
    if (lockRefuses(path))
        return true;
    /* A full file system still opens what exists; it has no room for a new name. */
    if ((flags & O_CREAT) != 0 && dialValue(DIAL_DISK_FREE) == 0 && access(path, F_OK) != 0) {
        errno = ENOSPC;
        return true;
    }
    return false;
}

/* The folder holds a handful of files and is only searched while the disk is limited, so an open file is
   known by its inode: that holds for descriptors that were duplicated or inherited, too. */
static bool fileLiesInDumps(int fd) {
    struct stat file;
    struct stat entry;
    bool found = false;
    DIR *dumps;

    if (fstat(fd, &file) != 0 || !S_ISREG(file.st_mode) || (dumps = opendir("/dumps")) == NULL)
        return false;
    for (struct dirent *name; !found && (name = readdir(dumps)) != NULL;)
        found = fstatat(dirfd(dumps), name->d_name, &entry, 0) == 0 && entry.st_ino == file.st_ino &&
                entry.st_dev == file.st_dev;
    (void)closedir(dumps);
    return found;
}

bool diskLimitsWrite(int fd, size_t count, size_t *allowed) {
    if (!inSimulatedHost() || count == 0 || dialValue(DIAL_DISK_FREE) < 0)
        return false;
    const int saved = errno;
    const bool limited = fileLiesInDumps(fd);
    errno = saved;
    if (!limited)
        return false;
    const size_t room = (size_t)dialValue(DIAL_DISK_FREE);
    *allowed = count < room ? count : room;
    setDial(DIAL_DISK_FREE, (long)(room - *allowed));
    return true;
}

static ssize_t noSpace(void) {
    errno = ENOSPC;
    return -1;
}

ssize_t write(int fd, const void *data, size_t count) {
    NEXT(write_type, write);
    size_t allowed = count;

    if (diskLimitsWrite(fd, count, &allowed) && allowed == 0)
        return noSpace();
    return next_write.function == NULL ? noSpace() : next_write.function(fd, data, allowed);
}

ssize_t pwrite(int fd, const void *data, size_t count, off_t at) {
    NEXT(pwrite_type, pwrite);
    size_t allowed = count;

    if (diskLimitsWrite(fd, count, &allowed) && allowed == 0)
        return noSpace();
    return next_pwrite.function == NULL ? noSpace() : next_pwrite.function(fd, data, allowed, at);
}

/* The name under which programs with large files call it. */
ssize_t pwrite64(int fd, const void *data, size_t count, off64_t at) {
    return pwrite(fd, data, count, at);
}

ssize_t writev(int fd, const struct iovec *parts, int count) {
    NEXT(writev_type, writev);
    size_t total = 0;
    size_t allowed = 0;

    for (int i = 0; i < count; i++)
        total += parts[i].iov_len;
    if (!diskLimitsWrite(fd, total, &allowed))
        return next_writev.function == NULL ? noSpace() : next_writev.function(fd, parts, count);
    if (allowed == 0)
        return noSpace();
    ssize_t done = 0;
    for (int i = 0; i < count && allowed > 0; i++) {
        const size_t part = parts[i].iov_len < allowed ? parts[i].iov_len : allowed;
        const ssize_t wrote = (ssize_t)syscall(SYS_write, fd, parts[i].iov_base, part);
        if (wrote < 0)
            return done > 0 ? done : -1;
        done += wrote;
        allowed -= part;
    }
    return done;
}

/* Copying inside the kernel would go past write(); the copying tools fall back to it on this answer. */
ssize_t copy_file_range(int from, off_t *fromAt, int to, off_t *toAt, size_t count, unsigned flags) {
    (void)from, (void)fromAt, (void)to, (void)toAt, (void)count, (void)flags;
    errno = ENOSYS;
    return -1;
}

/* A stream writes inside the C library. What it holds is known before it is flushed, and a stream under
   /dumps has a buffer that is large enough to hold it all until then (fopen in files.c). */
static bool streamMeetsLimit(FILE *stream) {
    if (stream == NULL || !inSimulatedHost() || dialValue(DIAL_DISK_FREE) < 0 || !__fwriting(stream))
        return false;
    const size_t pending = __fpending(stream);
    size_t allowed = pending;
    const int fd = fileno(stream);

    if (fd < 0 || !diskLimitsWrite(fd, pending, &allowed) || allowed == pending)
        return false;
    (void)syscall(SYS_write, fd, stream->_IO_write_base, allowed);
    __fpurge(stream);
    errno = ENOSPC;
    return true;
}

int fflush(FILE *stream) {
    NEXT(stream_type, fflush);
    if (streamMeetsLimit(stream))
        return EOF;
    return next_fflush.function == NULL ? EOF : next_fflush.function(stream);
}

int fclose(FILE *stream) {
    NEXT(stream_type, fclose);
    const bool full = streamMeetsLimit(stream);
    const int result = next_fclose.function == NULL ? EOF : next_fclose.function(stream);

    if (!full)
        return result;
    errno = ENOSPC;
    return EOF;
}

/* ---- changes of the folder itself, refused while it is read-only */

int mkdir(const char *path, mode_t mode) {
    NEXT(mkdir_type, mkdir);
    if (lockRefuses(path) || next_mkdir.function == NULL)
        return -1;
    return next_mkdir.function(path, mode);
}

int rename(const char *from, const char *to) {
    NEXT(rename_type, rename);
    if (lockRefuses(from) || lockRefuses(to) || next_rename.function == NULL)
        return -1;
    return next_rename.function(from, to);
}

int renameat(int fromDir, const char *from, int toDir, const char *to) {
    NEXT(renameat_type, renameat);
    if (lockRefuses(from) || lockRefuses(to) || next_renameat.function == NULL)
        return -1;
    return next_renameat.function(fromDir, from, toDir, to);
}

int renameat2(int fromDir, const char *from, int toDir, const char *to, unsigned flags) {
    NEXT(renameat2_type, renameat2);
    if (lockRefuses(from) || lockRefuses(to) || next_renameat2.function == NULL)
        return -1;
    return next_renameat2.function(fromDir, from, toDir, to, flags);
}

int unlink(const char *path) {
    NEXT(unlink_type, unlink);
    if (lockRefuses(path) || next_unlink.function == NULL)
        return -1;
    return next_unlink.function(path);
}

int unlinkat(int dir, const char *path, int flags) {
    NEXT(unlinkat_type, unlinkat);
    if (lockRefuses(path) || next_unlinkat.function == NULL)
        return -1;
    return next_unlinkat.function(dir, path, flags);
}
