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
#include <utility>

#include "commands/report_sources.h"
#include "common/own_file.h"
#include "host/interruption.h"

namespace dravik {

namespace {

constexpr char WORK_PREFIX[] = ".dravik-report-";
constexpr char MARK[] = "made-by-dravik";
constexpr char ARCHIVE[] = "report.tar.gz";
constexpr char NAME_LIST[] = "names";
constexpr char SAFE_PLACE[] = "name a file in a folder that nobody else may change";
constexpr unsigned int CHECKSUM_SECONDS = 120;
constexpr unsigned int PACKING_SECONDS = 300;
constexpr int NEW_FILE = O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC;
constexpr int A_FOLDER = O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC;
constexpr int DEEPEST = 4;

// ---- looking at a folder

bool isDots(const char *name) {
    return strcmp(name, ".") == 0 || strcmp(name, "..") == 0;
}

// What the open folder holds, from the first entry on; null with errno.
Folder entriesOf(int folder) {
    Descriptor opened(openat(folder, ".", A_FOLDER));
    Folder entries(opened.isOpen() ? fdopendir(opened.get()) : nullptr);
    if (entries) {
        opened.release();
    }
    return entries;
}

// The next entry's name, null behind the last.
const char *nextName(const Folder &entries) {
    const dirent *entry = entries ? readdir(entries.get()) : nullptr;
    while (entry != nullptr && isDots(entry->d_name)) {
        entry = readdir(entries.get());
    }
    return entry == nullptr ? nullptr : entry->d_name;
}

bool isEmpty(int folder) {
    const Folder entries = entriesOf(folder);
    return entries && nextName(entries) == nullptr;
}

// Whether the open folder is this user's, on the file system of the folder that holds it, and nobody else may enter it.
bool isOursAlone(int folder, int parent) {
    struct stat is = {};
    struct stat holder = {};
    return fstat(folder, &is) == 0 && fstat(parent, &holder) == 0 && is.st_uid == geteuid() &&
           (is.st_mode & (S_IRWXG | S_IRWXO)) == 0 && is.st_dev == holder.st_dev;
}

// Whether the name itself, no link followed, is the open folder. Whoever owns `parent` may have renamed it.
bool isNamed(int parent, const char *name, int folder) {
    struct stat is = {};
    struct stat named = {};
    return fstat(folder, &is) == 0 && fstatat(parent, name, &named, AT_SYMLINK_NOFOLLOW) == 0 &&
           is.st_dev == named.st_dev && is.st_ino == named.st_ino;
}

// ---- removing a folder

void emptyFolder(int folder, dev_t device, int depth);

void removeEntry(int parent, const char *name, dev_t device, int depth) {
    const Descriptor inside(openat(parent, name, A_FOLDER));
    struct stat is = {};
    if (inside.isOpen() && depth < DEEPEST && fstat(inside.get(), &is) == 0 && is.st_dev == device) {
        emptyFolder(inside.get(), device, depth);
    }
    unlinkat(parent, name, inside.isOpen() ? AT_REMOVEDIR : 0);
}

// Removes what is in the open folder. Nothing is followed, no other file system entered.
void emptyFolder(int folder, dev_t device, int depth) {
    const Folder entries = entriesOf(folder);
    for (const char *name = nextName(entries); name != nullptr; name = nextName(entries)) {
        removeEntry(folder, name, device, depth + 1);
    }
}

// Empties the open folder, which must be ours alone, and takes it away where that name is still its own. Of a name that
// changes hands at this very moment no more can go than an empty folder, which the one who did it may remove himself.
void removeFolder(int parent, const char *name, int folder) {
    struct stat is = {};
    if (fstat(folder, &is) == 0) {
        emptyFolder(folder, is.st_dev, 0);
    }
    if (isNamed(parent, name, folder)) {
        unlinkat(parent, name, AT_REMOVEDIR);
    }
}

// Whether a report has made this folder of ours. The owner of the folder around it can give it the name of a report's,
// but put nothing into it.
bool isMarked(int folder) {
    struct stat mark = {};
    return fstatat(folder, MARK, &mark, AT_SYMLINK_NOFOLLOW) == 0 && S_ISREG(mark.st_mode) &&
           mark.st_uid == geteuid();
}

// Whether a report has been killed and left this folder: ours alone, old, and locked by nobody.
bool isLeftBehind(int folder, int parent) {
    struct stat is = {};
    return isOursAlone(folder, parent) && fstat(folder, &is) == 0 &&
           time(nullptr) - is.st_mtime > LEFT_BEHIND_SECONDS && flock(folder, LOCK_EX | LOCK_NB) == 0 &&
           (isMarked(folder) || isEmpty(folder));
}

void removeLeftBehind(int parent) {
    const Folder entries = entriesOf(parent);
    for (const char *name = nextName(entries); name != nullptr; name = nextName(entries)) {
        const bool is_like_one = strncmp(name, WORK_PREFIX, strlen(WORK_PREFIX)) == 0;
        const Descriptor folder(is_like_one ? openat(parent, name, A_FOLDER) : -1);
        if (folder.isOpen() && isLeftBehind(folder.get(), parent)) {
            removeFolder(parent, name, folder.get());
        }
    }
}

// ---- making one

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

// ---- packing

// While it lives, the file is descriptor 0 of this process, and so of each child: a digit that every shell takes behind
// ">&", whatever else is open here.
class AsInput {
  public:
    explicit AsInput(int file) : held(fcntl(STDIN_FILENO, F_DUPFD_CLOEXEC, STDERR_FILENO + 1)) {
        if (held.isOpen() && dup2(file, STDIN_FILENO) < 0) {
            held.reset();
        }
    }
    ~AsInput() {
        if (held.isOpen()) {
            dup2(held.get(), STDIN_FILENO);
        }
    }
    AsInput(const AsInput &) = delete;
    AsInput &operator=(const AsInput &) = delete;
    // False, with errno right behind the construction, where descriptor 0 is still what it was.
    bool isDone() const {
        return held.isOpen();
    }

  private:
    Descriptor held;
};

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
    if (work_folder.isOpen() && !isNamed(parent.get(), work_name.c_str(), work_folder.get())) {
        return ReportFailure(folder + ": the report's folder there, " + work_name +
                             ", has been renamed or removed meanwhile; " + SAFE_PLACE);
    }
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
    enterWork();
}

// What has that name now may be another's: it is used, and one day removed, only when it is as it was made.
void ReportFolder::enterWork() {
    Descriptor made(openat(parent.get(), work_name.c_str(), A_FOLDER));
    if (!made.isOpen() && errno != ENOENT && errno != ENOTDIR && errno != ELOOP) {
        throw failure(errno);
    }
    if (!made.isOpen() || !isOursAlone(made.get(), parent.get()) || !isEmpty(made.get())) {
        throw ReportFailure(
            folder + ": " + work_name +
            ", just made there, is no empty folder of root's alone: somebody else has replaced "
            "it, or the file system knows no owners; " +
            SAFE_PLACE);
    }
    work_folder = std::move(made);
    const Descriptor mark(flock(work_folder.get(), LOCK_EX | LOCK_NB) == 0
                              ? openat(work_folder.get(), MARK, NEW_FILE, 0600)
                              : -1);
    if (!mark.isOpen()) {
        const std::string why = failure(errno).what(); // while it has its name
        removeFolder(parent.get(), work_name.c_str(), work_folder.get());
        throw ReportFailure(why);
    }
}

ReportFolder::~ReportFolder() {
    removeFolder(parent.get(), work_name.c_str(), work_folder.get());
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

void ReportFolder::listNames(const std::vector<std::string> &names) {
    std::string list = top_name + "\n";
    for (const std::string &name : names) {
        list += top_name + "/" + name + "\n";
    }
    Descriptor listed(openat(work_folder.get(), NAME_LIST, NEW_FILE, 0600));
    if (!listed.isOpen() || !writeWhole(listed.get(), list) || listed.close() != 0) {
        throw failure(errno);
    }
}

// Lets tar write the archive into the open file: it is given no name that could lead elsewhere.
void ReportFolder::runTar(int archive) {
    const AsInput given(archive);
    if (!given.isDone()) {
        throw failure(errno);
    }
    std::string output;
    std::string problem;
    const ShellCommand pack(
        "tar -c -z -f - --owner 0 --group 0 --numeric-owner --no-recursion -T names 2>&1 >&0"_sh);
    const bool packed = runLine(pack, PACKING_SECONDS, &output, &problem);
    checkInterruption();
    if (!packed) {
        throw isFull(archive) ? failure(errno)
                              : ReportFailure("tar " + problem + ": are tar and gzip installed?");
    }
}

uint64_t ReportFolder::pack(const std::vector<std::string> &names) {
    listNames(names);
    const Descriptor archive(openat(work_folder.get(), ARCHIVE, NEW_FILE, 0600));
    if (!archive.isOpen()) {
        throw failure(errno);
    }
    const Visit visit(work_folder);
    runTar(archive.get());
    struct stat attributes = {};
    if (fsync(archive.get()) != 0 || fstat(archive.get(), &attributes) != 0 ||
        !isNamed(parent.get(), work_name.c_str(), work_folder.get())) {
        throw failure(errno);
    }
    if (!isStillNamed(archive.get(), ARCHIVE)) {
        throw ReportFailure(shown + " has been replaced while it was packed; " + SAFE_PLACE);
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
