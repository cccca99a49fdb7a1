// dravik-monitor: the path monitor. No arguments, foreground, runs until it is killed.
#include "common/startup.h"
#include "monitor/cycle.h"
#include "monitor/journal_sender.h"
#include "monitor/observing.h"
#include "monitor/service_state.h"

int main() {
    resetProcess();
    dravik::takeServiceVariables();
    dravik::setJournal(dravik::sendToJournal);
    initMonitor();
    start();
}
