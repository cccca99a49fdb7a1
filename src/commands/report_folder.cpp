// Making, packing and removing a report's folder.
#include "commands/report_folder.h"

#include <cerrno>
#include <cstring>
#include <ctime>
#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

#include "commands/report_sources.h"
#include "host/interruption.h"

namespace dravik {

namespace {

constexpr char WORK_PREFIX[] = ".dravik-report-";
constexpr char ARCHIVE[] = "report.tar.gz";
constexpr char NAME_LIST[] = "names";
constexpr unsigned int CHECKSUM_SECONDS = 120;
constexpr unsigned int PACKING_SECONDS = 300;
constexpr int NEW_FILE = O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC;
constexpr int A_FOLDER = O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC;
constexpr int DEEPEST = 4;

bool isDots(const char *name) {
    return strcmp(name, ".") == 0 || strcmp(name, "..") == 0;
}

// Removes the entry and, of a folder of ours, what is in it. Nothing is followed, no other file system entered.
void removeTree(int parent, const char *name, int depth) {
    const Descriptor inside(openat(parent, name, A_FOLDER));
    if (inside.isOpen() && depth < DEEPEST) {
        const Folder entries(fdopendir(dup(inside.get())));
        for (const dirent *entry = entries ? readdir(entries.get()) : nullptr; entry != nullptr;
             entry = readdir(entries.get())) {
            if (!isDots(entry->d_name)) {
                removeTree(inside.get(), entry->d_name, depth + 1);
            }
        }
    }
    unlinkat(parent, name, inside.isOpen() ? AT_REMOVEDIR : 0);
}

// Whether a report has been killed and left this folder: ours alone, old, and locked by nobody.
bool isLeftBehind(int parent, const char *name) {
    const Descriptor opened(openat(parent, name, A_FOLDER));
    struct stat attributes = {};
    return opened.isOpen() && fstat(opened.get(), &attributes) == 0 && attributes.st_uid == geteuid() &&
           (attributes.st_mode & (S_IRWXG | S_IRWXO)) == 0 &&
           time(nullptr) - attributes.st_mtime > LEFT_BEHIND_SECONDS &&
           flock(opened.get(), LOCK_EX | LOCK_NB) == 0;
}

void removeLeftBehind(int parent) {
    const Folder entries(fdopendir(dup(parent)));
    for (const dirent *entry = entries ? readdir(entries.get()) : nullptr; entry != nullptr;
         entry = readdir(entries.get())) {
        if (strncmp(entry->d_name, WORK_PREFIX, strlen(WORK_PREFIX)) == 0 &&
            isLeftBehind(parent, entry->d_name)) {
            removeTree(parent, entry->d_name, 0);
        }
    }
}

// A new folder of the name's beginning, which nobody else may enter; its name. "" with errno.
std::string makeWorkFolder(int parent) {
    constexpr int TRIES = 100;
    for (int i = 0; i < TRIES; ++i) {
        timespec now = {};
        clock_gettime(CLOCK_MONOTONIC, &now);
        std::string name = WORK_PREFIX + std::to_string(getpid()) + "-" + std::to_string(now.tv_nsec);
        if (mkdirat(parent, name.c_str(), 0700) == 0) {
            return name;
        }
        if (errno != EEXIST) {
            return "";
        }
    }
    return "";
}

std::string remedyFor(int error) {
    switch (error) {
    case ENOSPC:
    case EDQUOT:
        return "free space there, or name a file in another folder";
    case ENOENT:
    case ENOTDIR:
        return "make the folder, or name a file in another one";
    default:
        return "name a file in another folder";
    }
}

// Whether no more can be written behind what the file holds; errno says why.
bool isFull(int file) {
    constexpr size_t SOME = 65536;
    return lseek(file, 0, SEEK_END) < 0 || !writeWhole(file, std::string(SOME, ' ')) || fsync(file) != 0;
}

int renameWithoutReplacing(int from_folder, const char *from, int to_folder, const char *to) {
#ifdef SYS_renameat2
    constexpr unsigned int NO_REPLACE = 1;
    return static_cast<int>(syscall(SYS_renameat2, from_folder, from, to_folder, to, NO_REPLACE));
#else
    (void)from_folder, (void)from, (void)to_folder, (void)to;
    errno = EPERM;
    return -1;
#endif
}

} // namespace

void checkInterruption() {
    if (pendingSignal() != 0) {
        throw ReportInterrupted();
    }
}

ReportFolder::Visit::Visit(const Descriptor &folder) {
    if (fchdir(folder.get()) != 0) {
        throw ReportFailure(std::string("the report's folder cannot be entered: ") + strerror(errno));
    }
}

ReportFolder::Visit::~Visit() {
    if (chdir("/") != 0) {
        _exit(1); // "/" is always there
    }
}

ReportFailure ReportFolder::failure(int error) const {
    return ReportFailure(folder + ": " + strerror(error) + "; " + remedyFor(error));
}

ReportFolder::ReportFolder(const std::string &file) : shown(file) {
    const size_t slash = file.rfind('/');
    folder = file.substr(0, slash == 0 ? 1 : slash);
    base = file.substr(slash + 1);
    parent.reset(open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    if (!parent.isOpen()) {
        throw failure(errno);
    }
    struct stat attributes = {};
    if (fstatat(parent.get(), base.c_str(), &attributes, AT_SYMLINK_NOFOLLOW) == 0) {
        throw ReportFailure(shown + " is already there: remove it, or name another file");
    }
    if (errno != ENOENT) {
        throw failure(errno);
    }
    removeLeftBehind(parent.get());
    work_name = makeWorkFolder(parent.get());
    if (work_name.empty()) {
        throw failure(errno);
    }
    work_folder.reset(openat(parent.get(), work_name.c_str(), A_FOLDER));
    if (!work_folder.isOpen() || flock(work_folder.get(), LOCK_EX | LOCK_NB) != 0) {
        const int error = errno;
        unlinkat(parent.get(), work_name.c_str(), AT_REMOVEDIR);
        throw failure(error);
    }
}

ReportFolder::~ReportFolder() {
    top_folder.reset();
    removeTree(parent.get(), work_name.c_str(), 0);
}

void ReportFolder::makeTop(const std::string &top) {
    top_name = top;
    if (mkdirat(work_folder.get(), top.c_str(), 0700) != 0) {
        throw failure(errno);
    }
    top_folder.reset(openat(work_folder.get(), top.c_str(), A_FOLDER));
    if (!top_folder.isOpen()) {
        throw failure(errno);
    }
}

void ReportFolder::write(const std::string &name, const std::string &text) {
    Descriptor file(openat(top_folder.get(), name.c_str(), NEW_FILE, 0600));
    if (!file.isOpen() || !writeWhole(file.get(), text) || file.close() != 0) {
        throw failure(errno);
    }
}

std::string ReportFolder::checksums(std::string *problem) {
    const Visit visit(top_folder);
    std::string output;
    return runLine(ShellCommand("sha256sum -- *"_sh), CHECKSUM_SECONDS, &output, problem) ? output : "";
}

uint64_t ReportFolder::pack(const std::vector<std::string> &names) {
    std::string list = top_name + "\n";
    for (const std::string &name : names) {
        list += top_name + "/" + name + "\n";
    }
    Descriptor listed(openat(work_folder.get(), NAME_LIST, NEW_FILE, 0600));
    // Its mode is that of the file from its first byte on: tar opens what is there.
    const Descriptor archive(openat(work_folder.get(), ARCHIVE, NEW_FILE, 0600));
    if (!listed.isOpen() || !writeWhole(listed.get(), list) || listed.close() != 0 || !archive.isOpen()) {
        throw failure(errno);
    }
    const Visit visit(work_folder);
    std::string output;
    std::string problem;
    const ShellCommand pack(
        "tar -c -z -f report.tar.gz --owner 0 --group 0 --numeric-owner --no-recursion -T names 2>&1"_sh);
    const bool packed = runLine(pack, PACKING_SECONDS, &output, &problem);
    checkInterruption();
    struct stat attributes = {};
    if (!packed) {
        throw isFull(archive.get()) ? failure(errno)
                                    : ReportFailure("tar " + problem + ": are tar and gzip installed?");
    }
    if (fsync(archive.get()) != 0 || fstat(archive.get(), &attributes) != 0) {
        throw failure(errno);
    }
    giveName();
    return static_cast<uint64_t>(attributes.st_size);
}

// The archive's second name; where the file system has no such thing, its only one.
void ReportFolder::giveName() {
    if (linkat(work_folder.get(), ARCHIVE, parent.get(), base.c_str(), 0) != 0 &&
        (errno == EEXIST ||
         renameWithoutReplacing(work_folder.get(), ARCHIVE, parent.get(), base.c_str()) != 0)) {
        throw errno == EEXIST
            ? ReportFailure(shown + " has come to be there meanwhile: remove it, or name another file")
            : failure(errno);
    }
    fsync(parent.get());
}

} // namespace dravik
