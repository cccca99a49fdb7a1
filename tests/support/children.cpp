// Forked children, alarms, and what a process has open and blocked.

#include "tests/support/children.h"

#include <fcntl.h>
#include <sys/time.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>

namespace {

volatile sig_atomic_t alarm_count = 0;

void countAlarm(int /*signal_number*/) {
    alarm_count = alarm_count + 1;
}

constexpr int MOST_DESCRIPTORS = 1024;

} // namespace

int inChild(const std::function<int()> &work) {
    const pid_t child = fork();
    if (child == 0) {
        _exit(work());
    }
    int status = -1;
    if (child < 0 || waitpid(child, &status, 0) != child || !WIFEXITED(status)) {
        return -1;
    }
    return WEXITSTATUS(status);
}

std::set<int> openDescriptors() {
    std::set<int> numbers;
    for (int fd = 0; fd < MOST_DESCRIPTORS; fd++) {
        if (fcntl(fd, F_GETFD) >= 0) {
            numbers.insert(fd);
        }
    }
    return numbers;
}

std::string inheritedDescriptorsAndOneMore() {
    std::set<std::string> numbers = {"1"}; // the pipe
    int lowest_free = -1;
    for (int fd = 0; fd < MOST_DESCRIPTORS; fd++) {
        const int flags = fcntl(fd, F_GETFD);
        if (flags >= 0 && (flags & FD_CLOEXEC) == 0) {
            numbers.insert(std::to_string(fd));
        } else if (lowest_free < 0 && fd != 1) {
            lowest_free = fd;
        }
    }
    numbers.insert(std::to_string(lowest_free));
    std::string text;
    for (const std::string &number : numbers) { // sorted as texts, like `ls` sorts them
        text += number + "\n";
    }
    return text;
}

std::string blockedSignals() {
    sigset_t blocked;
    sigprocmask(SIG_BLOCK, nullptr, &blocked);
    unsigned long long bits = 0;
    for (int number = 1; number < 32; number++) {
        if (sigismember(&blocked, number) == 1) {
            bits |= 1ULL << (number - 1);
        }
    }
    char text[20];
    snprintf(text, sizeof(text), "%016llx", bits);
    return text;
}

AlarmEveryMillisecond::AlarmEveryMillisecond() {
    alarm_count = 0;
    struct sigaction action = {};
    action.sa_handler = countAlarm;
    sigemptyset(&action.sa_mask);
    sigaction(SIGALRM, &action, &old);
    const itimerval every_millisecond = {{0, 1000}, {0, 1000}};
    setitimer(ITIMER_REAL, &every_millisecond, nullptr);
}

AlarmEveryMillisecond::~AlarmEveryMillisecond() {
    const itimerval none = {};
    setitimer(ITIMER_REAL, &none, nullptr);
    sigaction(SIGALRM, &old, nullptr);
}

int AlarmEveryMillisecond::count()
    const { // NOLINT(readability-convert-member-functions-to-static): reads as its own
    return alarm_count;
}
