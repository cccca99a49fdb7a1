// The lock of the commands that change the host.
#include "cli/command_lock.h"

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <ctime>
#include <fcntl.h>
#include <string>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>
#include <utility>

#include "cli/caller.h"
#include "common/own_file.h"
#include "common/owned.h"
#include "host/interruption.h"

const char *const COMMAND_LOCK_FILES[] = {"/run/dravik.lock", "/var/run/dravik.lock", "/var/lock/dravik.lock",
                                          nullptr};

namespace {

constexpr size_t HOLDER_SIZE = 512;
constexpr unsigned int TENTHS = 10; // of the first second of a wait

dravik::Descriptor held;

// ---- the file

// Opens the lock file `path`; where that fails, `*out` owns nothing and errno says why.
void openLockFile(const char *path, dravik::Descriptor *out) {
    // Not to wait for the other end of a FIFO that somebody has put there.
    out->reset(open(path, O_RDWR | O_CREAT | O_NOFOLLOW | O_NONBLOCK | O_NOCTTY | O_CLOEXEC, 0600));
    if (out->isOpen() && (!dravik::isOwnFile(out->get()) || fchmod(out->get(), 0600) != 0)) {
        errno = EPERM;
        out->reset();
    }
}

void writeHolder(int fd, const char *command_line) {
    char user[USER_NAME_SIZE] = "";
    runningUser(user, sizeof(user));
    char text[HOLDER_SIZE] = "";
    snprintf(text, sizeof(text), "%ld\n%s\n%s", static_cast<long>(getpid()), user, command_line);
    const size_t length = strlen(text);
    // Never empty in between: written over the old text first, cut to length after.
    if (pwrite(fd, text, length, 0) < 0 || ftruncate(fd, static_cast<off_t>(length)) != 0) {
        // A full disk: the lock holds all the same, those who wait will not read for whom.
    }
}

// Who has the lock, for a message: "process 4711 (user root): dravik scan".
std::string holderOf(int fd) {
    char text[HOLDER_SIZE] = "";
    const ssize_t length = pread(fd, text, sizeof(text) - 1, 0);
    if (length <= 0) {
        return "another dravik command";
    }
    char *user = strchr(text, '\n');
    char *command = user == nullptr ? nullptr : strchr(user + 1, '\n');
    if (command == nullptr) {
        return "another dravik command";
    }
    *user++ = '\0';
    *command++ = '\0';
    char shown[HOLDER_SIZE] = "";
    shownText((std::string("process ") + text + " (user " + user + "): " + command).c_str(), shown,
              sizeof(shown));
    return shown;
}

// ---- waiting

// The outcome of one attempt at one place.
enum class Attempt { taken, busy, impossible, interrupted };

// Tries once; the file stays open in `*file` unless the attempt is impossible, which leaves errno. A cleaner may
// have removed the file that is open: others then lock a new one.
Attempt tryOnce(const char *path, dravik::Descriptor *file) {
    if (!file->isOpen() || !dravik::isStillNamed(file->get(), path)) {
        openLockFile(path, file);
    }
    if (!file->isOpen()) {
        return Attempt::impossible;
    }
    if (flock(file->get(), LOCK_EX | LOCK_NB) == 0) {
        return dravik::isStillNamed(file->get(), path) ? Attempt::taken : Attempt::busy;
    }
    if (errno == EWOULDBLOCK || errno == EINTR) {
        return Attempt::busy;
    }
    file->reset();
    return Attempt::impossible;
}

// Between two attempts: tenths of a second at first, for most commands end soon, later whole seconds.
void pauseBefore(unsigned int attempt) {
    if (attempt < TENTHS) {
        timespec tenth = {0, 100000000L};
        while (nanosleep(&tenth, &tenth) != 0 && errno == EINTR) {
        }
    } else {
        sleep(1);
    }
}

// Tries at one place until it is taken, impossible, or the time is over. Pauses are counted, no clock is read:
// one that is set in the meantime neither lengthens nor shortens the wait.
Attempt waitAt(const char *path, unsigned int seconds, dravik::Descriptor *file) {
    Attempt attempt = tryOnce(path, file);
    const unsigned int pauses = seconds == 0 ? 0 : TENTHS + seconds - 1;
    for (unsigned int pause = 0; attempt == Attempt::busy && pause < pauses; ++pause) {
        if (dravik::pendingSignal() != 0) {
            return Attempt::interrupted;
        }
        pauseBefore(pause); // the first also leaves a fresh holder the time to write down who he is
        attempt = tryOnce(path, file);
        if (attempt == Attempt::busy && pause == 0) {
            fprintf(stderr, "dravik: waiting up to %u seconds for %s\n", seconds,
                    holderOf(file->get()).c_str());
        }
    }
    return attempt;
}

} // namespace

int takeCommandLock(const char *command_line, const char *const *files, unsigned int seconds) {
    std::string reasons;
    for (const char *const *file = files; *file != nullptr; ++file) {
        dravik::Descriptor opened;
        const Attempt attempt = waitAt(*file, seconds, &opened);
        if (attempt == Attempt::taken) {
            writeHolder(opened.get(), command_line);
            held = std::move(opened);
            return COMMAND_LOCK_TAKEN;
        }
        if (attempt == Attempt::interrupted) {
            return COMMAND_LOCK_INTERRUPTED;
        }
        if (attempt == Attempt::busy) {
            fprintf(stderr, "dravik: gave up after %u seconds, nothing was changed: still running is %s\n",
                    seconds, holderOf(opened.get()).c_str());
            return COMMAND_LOCK_BUSY;
        }
        reasons += std::string(reasons.empty() ? "" : ", ") + *file + ": " + strerror(errno);
    }
    fprintf(
        stderr,
        "dravik: no lock file can be made (%s), going on: another command may change the host at the same "
        "time\n",
        reasons.c_str());
    return COMMAND_LOCK_IMPOSSIBLE;
}

void releaseCommandLock() {
    held.reset();
}
