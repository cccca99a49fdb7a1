// The writing process: gathers names from a socket, merges them into the cache file.
#include "array/vdisk_writer.h"

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstdint>
#include <cstring>
#include <ctime>
#include <fcntl.h>
#include <initializer_list>
#include <new>
#include <poll.h>
#include <string>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>
#include <vector>

#include "array/device_node.h"
#include "array/vdisk_cache.h"
#include "common/owned.h"

namespace dravik {

namespace {

constexpr int GATHERING_MS = 500;
constexpr int LAST_ATTEMPTS = 5; // at the end, where memory is short

// One name on its way. The socket keeps messages apart: none arrives in pieces.
struct Message {
    char wwid[66];
    char name[VDISK_NAME_SIZE];
};

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

// Reads one message: false when the asker's end of the socket is closed.
bool readMessage(int fd, Message *message) {
    ssize_t got = -1;
    do {
        got = recv(fd, message, sizeof(*message), 0);
    } while (got < 0 && errno == EINTR);
    return got == static_cast<ssize_t>(sizeof(*message));
}

// Whether something, be it the end, can be read from the socket within `timeout_ms`.
bool isReadable(int fd, int timeout_ms) {
    pollfd ready = {fd, POLLIN, 0};
    return poll(&ready, 1, timeout_ms) > 0;
}

// What has been gathered and is to be merged when it is due.
struct Gathered {
    std::vector<VdiskPair> pairs;
    int64_t due;
    bool isDue() const {
        return !pairs.empty() && nowMs() >= due;
    }
    int timeLeft() const {
        return pairs.empty() ? -1 : static_cast<int>(std::max<int64_t>(due - nowMs(), 0));
    }
};

// Merges what there is. Where memory is short, it waits for the next time.
void mergeGathered(const char *path, Gathered *gathered) {
    if (mergeVdiskNames(path, gathered->pairs)) {
        gathered->pairs.clear();
    }
    gathered->due = nowMs() + GATHERING_MS;
}

// Adds a name. Where memory is short, it makes some by merging what there is; a name that still cannot be kept is asked
// from the array again by the next command that shows it.
void gather(const char *path, const Message &message, Gathered *gathered) {
    for (int attempt = 0; attempt < 2; ++attempt) {
        try {
            const int64_t due = gathered->pairs.empty() ? nowMs() + GATHERING_MS : gathered->due;
            gathered->pairs.push_back({message.wwid, message.name});
            gathered->due = due;
            return;
        } catch (const std::bad_alloc &) {
            mergeGathered(path, gathered);
        }
    }
}

// Gathers and merges until the asker's end is closed.
void serve(int fd, const char *path) {
    Gathered gathered = {};
    for (bool open = true; open;) {
        Message message = {};
        if (isReadable(fd, gathered.timeLeft())) {
            open = readMessage(fd, &message);
            if (open) {
                gather(path, message, &gathered);
            }
        }
        if (gathered.isDue()) {
            mergeGathered(path, &gathered);
        }
    }
    for (int attempt = 0; attempt < LAST_ATTEMPTS && !gathered.pairs.empty(); ++attempt) {
        poll(nullptr, 0, attempt == 0 ? 0 : GATHERING_MS / LAST_ATTEMPTS);
        mergeGathered(path, &gathered);
    }
}

} // namespace

bool startVdiskWriter(const char *path) {
    if (writer > 0) {
        return writers_path == path;
    }
    writers_path = path;
    int ends[2];
    if (socketpair(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC, 0, ends) != 0) {
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
    ssize_t sent = -1;
    do {
        sent = send(to_writer.get(), &message, sizeof(message), MSG_NOSIGNAL);
    } while (sent < 0 && errno == EINTR);
    if (sent == static_cast<ssize_t>(sizeof(message))) {
        return true;
    }
    endVdiskWriter(); // it is gone: the next name gets a new one
    return false;
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
