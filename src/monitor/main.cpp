// dravik-monitor: the path monitor. No arguments, foreground, runs until it is killed.
#include "common/startup.h"
#include "monitor/cycle.h"

int main() {
    resetProcess();
    initMonitor();
    start();
}
