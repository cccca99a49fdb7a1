// The C library's path calls of the test program, with "/dumps" sent into the folder of the running test.
//
// A definition in the program itself goes before the C library's (and before a sanitizer's, whose
// interceptors are weak), for the product's objects and for the shared C++ library alike. Each definition
// changes the path and hands the call on to the next owner of the name.

// The plain declarations are wanted here: fortified and large-file headers would redirect the names again.
#undef _FORTIFY_SOURCE
#undef _FILE_OFFSET_BITS

#include "tests/support/dumps_redirect.h"

#include <dirent.h>
#include <dlfcn.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <sys/statfs.h>
#include <sys/statvfs.h>
#include <unistd.h>

#include <cerrno>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <type_traits>

// Set by the `DumpsFolder` of the moment. Plain storage, because the first calls come before any constructor
// has run.
char dumps_place[DUMPS_PLACE_SIZE] = "";
int dumps_error = 0;

namespace {

constexpr char DUMPS[] = "/dumps";
constexpr size_t DUMPS_LENGTH = sizeof(DUMPS) - 1;

bool liesUnderDumps(const char *path) {
    return path != nullptr && strncmp(path, DUMPS, DUMPS_LENGTH) == 0 &&
           (path[DUMPS_LENGTH] == '\0' || path[DUMPS_LENGTH] == '/');
}

// A path on its way into a call. `refused` holds the error number when the call must not be made.
struct Redirected {
    Redirected(const char *path, bool changes) : text(path) {
        if (!liesUnderDumps(path)) {
            return;
        }
        if (dumps_place[0] == '\0') {
            refused = EACCES;
            return;
        }
        if (changes && dumps_error != 0) {
            refused = dumps_error;
            return;
        }
        const int length = snprintf(buffer, sizeof(buffer), "%s%s", dumps_place, path + DUMPS_LENGTH);
        if (length < 0 || static_cast<size_t>(length) >= sizeof(buffer)) {
            refused = ENAMETOOLONG;
            return;
        }
        text = buffer;
    }
    Redirected(const Redirected &) = delete;
    Redirected &operator=(const Redirected &) = delete;

    const char *text;
    int refused = 0;
    char buffer[8192];
};

// What a refused call answers.
template <typename Result> Result refuse(int error_number) {
    errno = error_number;
    if constexpr (std::is_pointer_v<Result>) {
        return nullptr;
    } else {
        return -1;
    }
}

// The owner of `name` behind this program: a sanitizer's runtime in a shared library, or the C library.
template <typename Function> Function nextOwner(const char *name) {
    void *found = dlsym(RTLD_NEXT, name);
    if (found == nullptr) {
        fprintf(stderr, "dumps_redirect: the C library has no %s\n", name);
        abort();
    }
    return reinterpret_cast<Function>(found);
}

bool opensForChange(int flags) {
    return (flags & O_ACCMODE) != O_RDONLY || (flags & (O_CREAT | O_TRUNC)) != 0;
}

bool takesMode(int flags) {
    return (flags & O_CREAT) != 0 || (flags & O_TMPFILE) == O_TMPFILE;
}

bool opensForChange(const char *mode) {
    return mode != nullptr && (mode[0] != 'r' || strchr(mode, '+') != nullptr);
}

// Hands a call of one path on; `PATH` is the argument's name, `CHANGES` whether it creates or alters.
#define HAND_ON(RESULT, NAME, TYPES, PATH, CHANGES, ...)                                                     \
    using Function = RESULT(*) TYPES;                                                                        \
    static const Function next = nextOwner<Function>(#NAME);                                                 \
    const Redirected redirected(PATH, CHANGES);                                                              \
    if (redirected.refused != 0) {                                                                           \
        return refuse<RESULT>(redirected.refused);                                                           \
    }                                                                                                        \
    return next(__VA_ARGS__);

// The mode that follows the flags of an open call, when these ask for one.
#define MODE_OF(FLAGS, MODE)                                                                                 \
    mode_t MODE = 0;                                                                                         \
    if (takesMode(FLAGS)) {                                                                                  \
        va_list arguments;                                                                                   \
        va_start(arguments, FLAGS);                                                                          \
        (MODE) = va_arg(arguments, mode_t);                                                                  \
        va_end(arguments);                                                                                   \
    }

// Hands on a call that makes a file from a template and writes the name it chose back into it.
template <typename Call> int makeFromTemplate(char *name, const Call &call) {
    Redirected redirected(name, true);
    if (redirected.refused != 0) {
        return refuse<int>(redirected.refused);
    }
    if (redirected.text == name) {
        return call(name);
    }
    const int fd = call(redirected.buffer);
    if (fd >= 0) {
        // Same length as before: only the X's of the template have changed.
        memcpy(name + DUMPS_LENGTH, redirected.buffer + strlen(dumps_place), strlen(name + DUMPS_LENGTH) + 1);
    }
    return fd;
}

} // namespace

// The headers call these arguments non-null; the redirect hands on whatever it is given.
#ifndef __clang__
#pragma GCC diagnostic ignored "-Wnonnull-compare"
#endif

// NOLINTBEGIN(cert-dcl50-cpp,bugprone-macro-parentheses): the C library's own variadic signatures, and types
extern "C" {

// ---- opening

int open(const char *path, int flags, ...) {
    MODE_OF(flags, mode)
    HAND_ON(int, open, (const char *, int, ...), path, opensForChange(flags), redirected.text, flags, mode)
}
int open64(const char *path, int flags, ...) {
    MODE_OF(flags, mode)
    HAND_ON(int, open64, (const char *, int, ...), path, opensForChange(flags), redirected.text, flags, mode)
}
int openat(int dir, const char *path, int flags, ...) {
    MODE_OF(flags, mode)
    HAND_ON(int, openat, (int, const char *, int, ...), path, opensForChange(flags), dir, redirected.text,
            flags, mode)
}
int openat64(int dir, const char *path, int flags, ...) {
    MODE_OF(flags, mode)
    HAND_ON(int, openat64, (int, const char *, int, ...), path, opensForChange(flags), dir, redirected.text,
            flags, mode)
}
// What a fortified build calls for an open without a mode.
int __open_2(const char *path, int flags) {
    return open(path, flags);
}
int __open64_2(const char *path, int flags) {
    return open64(path, flags);
}
int __openat_2(int dir, const char *path, int flags) {
    return openat(dir, path, flags);
}
int __openat64_2(int dir, const char *path, int flags) {
    return openat64(dir, path, flags);
}
int creat(const char *path, mode_t mode) {
    HAND_ON(int, creat, (const char *, mode_t), path, true, redirected.text, mode)
}
int creat64(const char *path, mode_t mode){HAND_ON(int, creat64, (const char *, mode_t), path, true,
                                                   redirected.text, mode)} FILE *fopen(const char *path,
                                                                                       const char *mode){
    HAND_ON(FILE *, fopen, (const char *, const char *), path, opensForChange(mode), redirected.text,
            mode)} FILE *fopen64(const char *path, const char *mode){
    HAND_ON(FILE *, fopen64, (const char *, const char *), path, opensForChange(mode), redirected.text,
            mode)} FILE *freopen(const char *path, const char *mode, FILE *stream){
    HAND_ON(FILE *, freopen, (const char *, const char *, FILE *), path, opensForChange(mode),
            redirected.text, mode, stream)} FILE *freopen64(const char *path, const char *mode,
                                                            FILE *stream) {
    HAND_ON(FILE *, freopen64, (const char *, const char *, FILE *), path, opensForChange(mode),
            redirected.text, mode, stream)
}
int mkstemp(char *name) {
    static const auto next = nextOwner<int (*)(char *)>("mkstemp");
    return makeFromTemplate(name, [](char *real) { return next(real); });
}
int mkstemp64(char *name) {
    return mkstemp(name);
}
int mkostemp(char *name, int flags) {
    static const auto next = nextOwner<int (*)(char *, int)>("mkostemp");
    return makeFromTemplate(name, [flags](char *real) { return next(real, flags); });
}
int mkostemp64(char *name, int flags) {
    return mkostemp(name, flags);
}
int mkstemps(char *name, int suffix) {
    static const auto next = nextOwner<int (*)(char *, int)>("mkstemps");
    return makeFromTemplate(name, [suffix](char *real) { return next(real, suffix); });
}
int mkstemps64(char *name, int suffix) {
    return mkstemps(name, suffix);
}
int mkostemps(char *name, int suffix, int flags) {
    static const auto next = nextOwner<int (*)(char *, int, int)>("mkostemps");
    return makeFromTemplate(name, [suffix, flags](char *real) { return next(real, suffix, flags); });
}
int mkostemps64(char *name, int suffix, int flags) {
    return mkostemps(name, suffix, flags);
}
DIR *opendir(const char *path) {
    HAND_ON(DIR *, opendir, (const char *), path, false, redirected.text)
}

// ---- looking

int stat(const char *path, struct stat *attributes) noexcept {
    HAND_ON(int, stat, (const char *, struct stat *), path, false, redirected.text, attributes)
}
int stat64(const char *path, struct stat64 *attributes) noexcept {
    HAND_ON(int, stat64, (const char *, struct stat64 *), path, false, redirected.text, attributes)
}
int lstat(const char *path, struct stat *attributes) noexcept {
    HAND_ON(int, lstat, (const char *, struct stat *), path, false, redirected.text, attributes)
}
int lstat64(const char *path, struct stat64 *attributes) noexcept {
    HAND_ON(int, lstat64, (const char *, struct stat64 *), path, false, redirected.text, attributes)
}
int fstatat(int dir, const char *path, struct stat *attributes, int flags) noexcept {
    HAND_ON(int, fstatat, (int, const char *, struct stat *, int), path, false, dir, redirected.text,
            attributes, flags)
}
int fstatat64(int dir, const char *path, struct stat64 *attributes, int flags) noexcept {
    HAND_ON(int, fstatat64, (int, const char *, struct stat64 *, int), path, false, dir, redirected.text,
            attributes, flags)
}
int statx(int dir, const char *path, int flags, unsigned int mask, struct statx *attributes) noexcept {
    HAND_ON(int, statx, (int, const char *, int, unsigned int, struct statx *), path, false, dir,
            redirected.text, flags, mask, attributes)
}
// The names under which C libraries before 2.33 have stat and its kin.
int __xstat(int version, const char *path, struct stat *attributes) {
    HAND_ON(int, __xstat, (int, const char *, struct stat *), path, false, version, redirected.text,
            attributes)
}
int __xstat64(int version, const char *path, struct stat64 *attributes) {
    HAND_ON(int, __xstat64, (int, const char *, struct stat64 *), path, false, version, redirected.text,
            attributes)
}
int __lxstat(int version, const char *path, struct stat *attributes) {
    HAND_ON(int, __lxstat, (int, const char *, struct stat *), path, false, version, redirected.text,
            attributes)
}
int __lxstat64(int version, const char *path, struct stat64 *attributes) {
    HAND_ON(int, __lxstat64, (int, const char *, struct stat64 *), path, false, version, redirected.text,
            attributes)
}
int access(const char *path, int mode) noexcept {
    HAND_ON(int, access, (const char *, int), path, (mode & W_OK) != 0, redirected.text, mode)
}
int faccessat(int dir, const char *path, int mode, int flags) noexcept {
    HAND_ON(int, faccessat, (int, const char *, int, int), path, (mode & W_OK) != 0, dir, redirected.text,
            mode, flags)} ssize_t readlink(const char *path, char *target, size_t size) noexcept {
    HAND_ON(ssize_t, readlink, (const char *, char *, size_t), path, false, redirected.text, target, size)
}
int statfs(const char *path, struct statfs *attributes) noexcept {
    HAND_ON(int, statfs, (const char *, struct statfs *), path, false, redirected.text, attributes)
}
int statvfs(const char *path, struct statvfs *attributes) noexcept {
    HAND_ON(int, statvfs, (const char *, struct statvfs *), path, false, redirected.text, attributes)
}
int chdir(const char *path) noexcept {
    HAND_ON(int, chdir, (const char *), path, false, redirected.text)
}

// ---- changing

int mkdir(const char *path, mode_t mode) noexcept {
    HAND_ON(int, mkdir, (const char *, mode_t), path, true, redirected.text, mode)
}
int mkdirat(int dir, const char *path, mode_t mode) noexcept {
    HAND_ON(int, mkdirat, (int, const char *, mode_t), path, true, dir, redirected.text, mode)
}
int rename(const char *from, const char *to) noexcept {
    const Redirected source(from, true);
    if (source.refused != 0) {
        return refuse<int>(source.refused);
    }
    HAND_ON(int, rename, (const char *, const char *), to, true, source.text, redirected.text)
}
int renameat(int from_dir, const char *from, int to_dir, const char *to) noexcept {
    const Redirected source(from, true);
    if (source.refused != 0) {
        return refuse<int>(source.refused);
    }
    HAND_ON(int, renameat, (int, const char *, int, const char *), to, true, from_dir, source.text, to_dir,
            redirected.text)
}
int renameat2(int from_dir, const char *from, int to_dir, const char *to, unsigned int flags) noexcept {
    const Redirected source(from, true);
    if (source.refused != 0) {
        return refuse<int>(source.refused);
    }
    HAND_ON(int, renameat2, (int, const char *, int, const char *, unsigned int), to, true, from_dir,
            source.text, to_dir, redirected.text, flags)
}
int link(const char *from, const char *to) noexcept {
    const Redirected source(from, false);
    if (source.refused != 0) {
        return refuse<int>(source.refused);
    }
    HAND_ON(int, link, (const char *, const char *), to, true, source.text, redirected.text)
}
int linkat(int from_dir, const char *from, int to_dir, const char *to, int flags) noexcept {
    const Redirected source(from, false);
    if (source.refused != 0) {
        return refuse<int>(source.refused);
    }
    HAND_ON(int, linkat, (int, const char *, int, const char *, int), to, true, from_dir, source.text, to_dir,
            redirected.text, flags)
}
int symlink(const char *target, const char *path) noexcept {
    HAND_ON(int, symlink, (const char *, const char *), path, true, target, redirected.text)
}
int unlink(const char *path) noexcept {
    HAND_ON(int, unlink, (const char *), path, true, redirected.text)
}
int unlinkat(int dir, const char *path, int flags) noexcept {
    HAND_ON(int, unlinkat, (int, const char *, int), path, true, dir, redirected.text, flags)
}
int rmdir(const char *path) noexcept {
    HAND_ON(int, rmdir, (const char *), path, true, redirected.text)
}
int remove(const char *path) noexcept {
    HAND_ON(int, remove, (const char *), path, true, redirected.text)
}
int truncate(const char *path, off_t length) noexcept {
    HAND_ON(int, truncate, (const char *, off_t), path, true, redirected.text, length)
}
int truncate64(const char *path, off64_t length) noexcept {
    HAND_ON(int, truncate64, (const char *, off64_t), path, true, redirected.text, length)
}
int chmod(const char *path, mode_t mode) noexcept {
    HAND_ON(int, chmod, (const char *, mode_t), path, true, redirected.text, mode)
}
int fchmodat(int dir, const char *path, mode_t mode, int flags) noexcept {
    HAND_ON(int, fchmodat, (int, const char *, mode_t, int), path, true, dir, redirected.text, mode, flags)
}
int chown(const char *path, uid_t owner, gid_t group) noexcept {
    HAND_ON(int, chown, (const char *, uid_t, gid_t), path, true, redirected.text, owner, group)
}
int utimensat(int dir, const char *path, const struct timespec *times, int flags) noexcept {
    HAND_ON(int, utimensat, (int, const char *, const struct timespec *, int), path, true, dir,
            redirected.text, times, flags)
}

} // extern "C"
// NOLINTEND(cert-dcl50-cpp,bugprone-macro-parentheses)

std::string redirectedPath(const std::string &path) {
    const Redirected redirected(path.c_str(), false);
    return redirected.text;
}
