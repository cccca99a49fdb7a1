// The state in which the programs start their work.
#include "common/startup.h"

#include <csignal>
#include <cstdlib>
#include <fcntl.h>
#include <initializer_list>
#include <iterator>
#include <string>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include "common/callers_folder.h"

namespace {

void openStandardDescriptors() {
    int fd = 0;
    do {
        fd = open("/dev/null", O_RDWR); // the lowest free number: 0 to 2 first
    } while (fd >= 0 && fd <= STDERR_FILENO);
    if (fd >= 0) {
        close(fd);
    }
}

void resetSignals() {
    for (const int number : {SIGCHLD, SIGPIPE, SIGALRM}) {
        signal(number, SIG_DFL);
    }
    signal(SIGXFSZ, SIG_IGN);
    sigset_t none;
    sigemptyset(&none);
    sigprocmask(SIG_SETMASK, &none, nullptr);
}

// As high as the process may go: root, all the way.
void liftLimit(decltype(RLIMIT_FSIZE) resource) {
    const rlimit none = {RLIM_INFINITY, RLIM_INFINITY};
    rlimit now = {};
    if (setrlimit(resource, &none) != 0 && getrlimit(resource, &now) == 0) {
        now.rlim_cur = now.rlim_max;
        setrlimit(resource, &now);
    }
}

// The variables of the caller's that stay; startup.h says why.
constexpr const char *KEPT_VARIABLES[] = {
    "DRAVIK_CLI_DEBUG", "TERM",     "NO_COLOR",      "COLUMNS",       "TZ",           "POSIXLY_CORRECT",
    "SUDO_USER",        "SUDO_UID", "NOTIFY_SOCKET", "WATCHDOG_USEC", "WATCHDOG_PID", "JOURNAL_STREAM"};

void resetEnvironment() {
    std::string values[std::size(KEPT_VARIABLES)];
    bool given[std::size(KEPT_VARIABLES)] = {};
    for (size_t i = 0; i < std::size(KEPT_VARIABLES); ++i) {
        const char *value = getenv(KEPT_VARIABLES[i]);
        given[i] = value != nullptr;
        values[i] = value == nullptr ? "" : value;
    }
    clearenv();
    setenv("PATH", SYSTEM_PATH, 1);
    setenv("LC_ALL", "C", 1);
    for (size_t i = 0; i < std::size(KEPT_VARIABLES); ++i) {
        if (given[i]) {
            setenv(KEPT_VARIABLES[i], values[i].c_str(), 1);
        }
    }
}

} // namespace

void resetProcess() {
    openStandardDescriptors();
    resetSignals();
    liftLimit(RLIMIT_FSIZE);
    liftLimit(RLIMIT_CPU);
    umask(umask(0) | S_IWGRP | S_IWOTH);
    dravik::rememberCallersFolder();
    if (chdir("/") != 0) {
        // No process lacks its root; the folder stays what it was.
    }
    resetEnvironment();
}
