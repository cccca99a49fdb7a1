// Ctrl+C in a command that changes the host: a signal that ends the process takes effect where the host is whole.
//
// From `deferEndingSignals` on SIGINT, SIGTERM, SIGHUP and SIGPIPE are only noted; the command asks at its own steps, and
// `endByPendingSignal` lets the first of them end the process as it would have. Children start with the usual actions, so
// that Ctrl+C reaches them as it always has. A second SIGINT within a second of the one before ends the process at once,
// and so does SIGQUIT: what the command had left undone is said on standard error.
#pragma once

namespace dravik {

// `at_sudden_end`, if not null, is called with the signal's number before the process ends at once; it may only do what a
// signal handler may. Signals that the process ignores stay ignored.
void deferEndingSignals(void (*at_sudden_end)(int signal_number));

// The first signal that has come, 0 while there is none.
int pendingSignal();

// How many have come.
int signalsNoted();

// Another function for the sudden end, or none.
void setSuddenEnd(void (*at_sudden_end)(int signal_number));

// Lets the pending signal, if there is one, end the process.
void endByPendingSignal();

// Back to the usual actions; a pending signal stays noted.
void restoreEndingSignals();

// What would be left behind if the process ended at once, as a sentence's end ("the paths of the flushed map are not
// deleted"); it stays the caller's and lives for ever. Null for nothing.
void setUnfinished(const char *what);

// Runs `step`, a step that may be repeated, and runs it once more when a signal came meanwhile: its child may have been
// ended by the same Ctrl+C. So does each further signal, up to five runs in all. The last run's result.
template <typename Step> auto finishStep(const Step &step) -> decltype(step()) {
    constexpr int LAST_RUN = 5;
    for (int run = 1;; ++run) {
        const int before = signalsNoted();
        auto result = step();
        if (signalsNoted() == before || run == LAST_RUN) {
            return result;
        }
    }
}

} // namespace dravik
