// Reading with bounds.
#include "commands/report_sources.h"

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstring>
#include <fcntl.h>
#include <poll.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include "common/capture.h"
#include "common/dumps_folder.h"
#include "common/owned.h"
#include "common/startup.h"
#include "host/command_output.h"
#include "host/interruption.h"

namespace dravik {

namespace {

using Clock = std::chrono::steady_clock;

long long msSince(Clock::time_point start) {
    return std::chrono::duration_cast<std::chrono::milliseconds>(Clock::now() - start).count();
}

// ---- files

std::string whyNotOpened(const char *path, int error) {
    struct stat attributes = {};
    if (error == EPERM || error == ELOOP || error == ENXIO) {
        return lstat(path, &attributes) == 0 && !S_ISREG(attributes.st_mode)
                   ? "is no plain file"
                   : "is no plain file of root's alone";
    }
    return strerror(error);
}

Descriptor openSource(const char *path) {
    constexpr int FLAGS = O_RDONLY | O_NONBLOCK | O_NOCTTY;
    return openDataFile(path, FLAGS);
}

// Reads from the place where the descriptor stands, `most` bytes at most. False with errno.
bool readUpTo(int fd, uint64_t most, std::string *text) {
    char piece[65536];
    while (text->size() < most) {
        const ssize_t got = read(fd, piece, std::min<uint64_t>(sizeof(piece), most - text->size()));
        if (got == 0) {
            return true;
        }
        if (got < 0 && errno != EINTR) {
            return false;
        }
        text->append(piece, got < 0 ? 0 : static_cast<size_t>(got));
    }
    return true;
}

// Takes away what is no whole line at the cut, unless it is all there is.
void keepWholeLines(ReportItem *item) {
    std::string &text = item->text;
    const size_t before = text.size();
    const size_t line = item->keep == Keep::END ? text.find('\n') : text.rfind('\n');
    if (line == std::string::npos) {
        return;
    }
    if (item->keep == Keep::BEGINNING) {
        text.resize(line + 1);
    } else if (line + 1 < before) {
        text.erase(0, line + 1);
    }
    item->left_out += before - text.size();
}

// The part that is kept, at most the item's limit; a file that grows meanwhile is read no further.
void readPart(ReportItem *item, int fd, uint64_t size) {
    const uint64_t left_out = size > item->limit ? size - item->limit : 0;
    const uint64_t begin = item->keep == Keep::END ? left_out : 0;
    if (lseek(fd, static_cast<off_t>(begin), SEEK_SET) < 0 || !readUpTo(fd, item->limit, &item->text)) {
        item->problem = std::string("could not be read to its end: ") + strerror(errno);
    }
    item->is_there = true;
    item->left_out = left_out;
    if (left_out > 0) {
        keepWholeLines(item);
    }
}

// ---- commands

void endWithTheReport() {
    if (pendingSignal() != 0) {
        setChildDeadline(1, nullptr); // that much has passed: the child is killed at once
    }
}

std::string whyFailed(int status, unsigned int seconds) {
    const ChildEnd &end = lastChildEnd();
    if (end.stuck_process != 0) {
        return "did not end within " + std::to_string(seconds) + " seconds and cannot be killed: process " +
               std::to_string(end.stuck_process) + " waits in the kernel";
    }
    if (end.deadline_passed) {
        return "did not end within " + std::to_string(seconds) + " seconds and was killed";
    }
    if (status == 0) {
        return "was ended by signal " + std::to_string(end.signal_number);
    }
    return status > 0 ? "failed with exit status " + std::to_string(status) : "could not be run";
}

bool isInSystemPath(const std::string &tool) {
    const std::string folders = SYSTEM_PATH;
    for (size_t begin = 0; begin < folders.size();) {
        const size_t end = std::min(folders.find(':', begin), folders.size());
        if (access((folders.substr(begin, end - begin) + "/" + tool).c_str(), X_OK) == 0) {
            return true;
        }
        begin = end + 1;
    }
    return false;
}

// ---- a process beside this one

// The text that comes through the pipe until its end, `until` or a signal; whether the end came.
bool readPipe(int fd, Clock::time_point until, uint64_t most, std::string *text) {
    char piece[65536];
    while (text->size() < most && Clock::now() < until && pendingSignal() == 0) {
        pollfd ready = {fd, POLLIN, 0};
        if (poll(&ready, 1, 200) <= 0) {
            continue;
        }
        const ssize_t got = read(fd, piece, sizeof(piece));
        if (got == 0) {
            return true;
        }
        text->append(piece, got < 0 ? 0 : static_cast<size_t>(got));
    }
    return false;
}

// A process that hangs inside the kernel does not even end when it is killed: it is not waited for.
void endProcess(pid_t process) {
    kill(process, SIGKILL);
    for (int tries = 0; tries < 20 && waitpid(process, nullptr, WNOHANG) == 0; ++tries) {
        poll(nullptr, 0, 10);
    }
}

} // namespace

bool writeWhole(int fd, const std::string &text) {
    size_t written = 0;
    while (written < text.size()) {
        const ssize_t done = write(fd, text.data() + written, text.size() - written);
        if (done < 0 && errno != EINTR) {
            return false;
        }
        written += done < 0 ? 0 : static_cast<size_t>(done);
    }
    return true;
}

void cutItem(ReportItem *item) {
    const uint64_t limit = item->limit;
    std::string &text = item->text;
    const size_t before = text.size();
    if (before <= limit) {
        return;
    }
    if (item->keep == Keep::BEGINNING) {
        const size_t line = text.rfind('\n', limit - 1);
        text.resize(line == std::string::npos ? limit : line + 1);
    } else {
        const size_t line = text.find('\n', before - limit - 1);
        text.erase(0, line == std::string::npos || line + 1 == before ? before - limit : line + 1);
    }
    item->left_out += before - text.size();
}

void readFile(ReportItem *item, const char *path) {
    const Clock::time_point start = Clock::now();
    struct stat attributes = {};
    item->source = path;
    const Descriptor file = openSource(path);
    if (!file.isOpen()) {
        item->is_expected = item->is_expected || errno != ENOENT;
        item->problem = errno == ENOENT ? "there is none" : whyNotOpened(path, errno);
    } else if (fstat(file.get(), &attributes) != 0 || !S_ISREG(attributes.st_mode)) {
        item->is_expected = true;
        item->problem = "is no plain file";
    } else {
        readPart(item, file.get(), static_cast<uint64_t>(attributes.st_size));
    }
    item->duration_ms = msSince(start);
}

bool runLine(const ShellCommand &command, unsigned int seconds, std::string *output, std::string *problem) {
    if (!command.isPlain()) {
        *problem = "could not be run";
        return false;
    }
    CommandOutput taken;
    setChildDeadline(seconds, endWithTheReport);
    const int status = taken.fill(exe_query, command.line());
    setChildDeadline(0, nullptr);
    // A child that a signal has ended has exit status 0 here.
    if (status == 0 && lastChildEnd().signal_number == 0) {
        *output = taken.text;
        return true;
    }
    *problem = whyFailed(status, seconds);
    return false;
}

void runCommand(ReportItem *item, const char *tool, const ShellCommand &command, unsigned int seconds) {
    const Clock::time_point start = Clock::now();
    item->source = command.line();
    if (!isInSystemPath(tool)) {
        item->problem = std::string("there is no ") + tool + " on this host";
        return;
    }
    if (!command.isPlain()) {
        item->problem = "could not be run";
        return;
    }
    const OwnText line = {command.line()};
    const ShellCommand bounded("( ("_sh, line, ") || echo '(its exit status was not 0)' ) 2>&1 | "_sh,
                               item->keep == Keep::END ? "tail -c 33554432"_sh : "head -c 33554432"_sh);
    item->is_there = runLine(bounded, seconds, &item->text, &item->problem);
    item->is_expected = item->is_expected || !item->is_there;
    cutItem(item);
    item->duration_ms = msSince(start);
}

void readBeside(ReportItem *item, const std::function<void(int out)> &make, unsigned int seconds) {
    const Clock::time_point start = Clock::now();
    int ends[2] = {-1, -1};
    if (pipe2(ends, O_CLOEXEC) != 0) {
        item->problem = strerror(errno);
        return;
    }
    const Descriptor from(ends[0]);
    Descriptor to(ends[1]);
    const pid_t process = fork();
    if (process == 0) {
        make(to.get());
        _exit(0);
    }
    to.reset();
    if (process < 0) {
        item->problem = strerror(errno);
        return;
    }
    constexpr uint64_t MOST = 33554432;
    item->is_there = true;
    if (!readPipe(from.get(), start + std::chrono::seconds(seconds), MOST, &item->text)) {
        item->problem = "did not end within " + std::to_string(seconds) + " seconds: what came by then";
    }
    endProcess(process);
    cutItem(item);
    item->duration_ms = msSince(start);
}

} // namespace dravik
