// dravik-monitor: the path monitor. No arguments, foreground, runs until it is killed.
#include <csignal>

#include "monitor/cycle.h"

int main() {
    // A parent that ignores its children must not make ours vanish before their exit status is read.
    signal(SIGCHLD, SIG_DFL);
    initMonitor();
    start();
}
