// The state in which the programs start their work.
#include "common/startup.h"

#include <csignal>
#include <cstdlib>
#include <fcntl.h>
#include <initializer_list>
#include <sys/stat.h>
#include <unistd.h>

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
    sigset_t none;
    sigemptyset(&none);
    sigprocmask(SIG_SETMASK, &none, nullptr);
}

} // namespace

void resetProcess() {
    openStandardDescriptors();
    resetSignals();
    umask(umask(0) | S_IWGRP | S_IWOTH);
    setenv("LC_ALL", "C", 1);
    unsetenv("TIME_STYLE");
}
