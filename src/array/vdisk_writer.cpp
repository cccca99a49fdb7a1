// The writing process: gathers names from a pipe, merges them into the cache file.
#include "array/vdisk_writer.h"

#include <cerrno>
#include <csignal>
#include <cstdint>
#include <cstring>
#include <ctime>
#include <fcntl.h>
#include <initializer_list>
#include <poll.h>
#include <string>
#include <sys/wait.h>
#include <unistd.h>
#include <vector>

#include "array/device_node.h"
#include "array/vdisk_cache.h"
#include "common/owned.h"

namespace dravik {

namespace {

constexpr int GATHERING_MS = 500;

// One name on its way: small enough that a pipe takes it in one piece.
struct Message {
    char wwid[66];
    char name[VDISK_NAME_SIZE];
};
static_assert(sizeof(Message) <= 512, "a pipe takes 512 bytes in one piece on every system");

pid_t writer = -1;
std::string writers_path;
Descriptor to_writer;

// ---- in the writing process

int64_t nowMs() {
    timespec now = {};
    clock_gettime(CLOCK_MONOTONIC, &now);
    return now.tv_sec * int64_t{1000} + now.tv_nsec / 1000000;
}

// What ends the process that asks must not end the one that writes; and it holds none of its descriptors, so that whoever
// reads the output sees its end.
void standAlone() {
    for (const int number : {SIGINT, SIGTERM, SIGHUP, SIGQUIT, SIGPIPE, SIGALRM}) {
        signal(number, SIG_IGN);
    }
    const Descriptor nowhere(open("/dev/null", O_RDWR | O_CLOEXEC));
    for (int fd = STDIN_FILENO; fd <= STDERR_FILENO; ++fd) {
        dup2(nowhere.get(), fd);
    }
}

// Reads one message: false at the end of the pipe.
bool readMessage(int fd, Message *message) {
    ssize_t got = -1;
    do {
        got = read(fd, message, sizeof(*message));
    } while (got < 0 && errno == EINTR);
    return got == static_cast<ssize_t>(sizeof(*message));
}

// Whether something can be read from the pipe within `timeout_ms`; the end of the pipe can be.
bool isReadable(int fd, int timeout_ms) {
    pollfd ready = {fd, POLLIN, 0};
    return poll(&ready, 1, timeout_ms) > 0;
}

// Gathers and merges until the pipe ends.
void serve(int fd, const char *path) {
    std::vector<VdiskPair> pairs;
    int64_t due = 0;
    for (bool open = true; open;) {
        const int64_t left = pairs.empty() ? -1 : std::max<int64_t>(due - nowMs(), 0);
        if (isReadable(fd, static_cast<int>(left))) {
            Message message = {};
            open = readMessage(fd, &message);
            if (open) {
                due = pairs.empty() ? nowMs() + GATHERING_MS : due;
                pairs.push_back({message.wwid, message.name});
            }
        }
        if (!pairs.empty() && (!open || nowMs() >= due)) {
            mergeVdiskNames(path, pairs);
            pairs.clear();
        }
    }
}

} // namespace

bool startVdiskWriter(const char *path) {
    if (writer > 0) {
        return writers_path == path;
    }
    writers_path = path;
    int ends[2];
    if (pipe2(ends, O_CLOEXEC) != 0) {
        return false;
    }
    const Descriptor from_asker(ends[0]);
    to_writer.reset(ends[1]);
    writer = fork();
    if (writer == 0) {
        to_writer.reset();
        standAlone();
        serve(from_asker.get(), path);
        _exit(0); // nothing of this process's is flushed or released: it is all the other's
    }
    if (writer < 0) {
        to_writer.reset();
    }
    return writer > 0;
}

bool handToVdiskWriter(const char *wwid, const char *name) {
    if (writer <= 0) {
        return false;
    }
    Message message = {};
    strncpy(message.wwid, wwid, sizeof(message.wwid) - 1);
    strncpy(message.name, name, sizeof(message.name) - 1);
    ssize_t written = -1;
    do {
        written = write(to_writer.get(), &message, sizeof(message));
    } while (written < 0 && errno == EINTR);
    return written == static_cast<ssize_t>(sizeof(message));
}

void endVdiskWriter() {
    if (writer <= 0) {
        return;
    }
    to_writer.reset();
    while (waitpid(writer, nullptr, 0) < 0 && errno == EINTR) {
    }
    writer = -1;
}

} // namespace dravik
