// Noting signals instead of obeying them.
#include "host/interruption.h"

#include <csignal>
#include <cstring>
#include <ctime>
#include <unistd.h>

namespace dravik {

namespace {

constexpr int DEFERRED_SIGNALS[] = {SIGINT, SIGTERM, SIGHUP, SIGPIPE};
constexpr long TWICE_WITHIN_MS = 1000;

volatile sig_atomic_t pending = 0;
volatile sig_atomic_t noted = 0;
long last_interrupt =
    -1; // when the last SIGINT came, in ms of the monotonic clock; only the handler knows it
const char *volatile unfinished = nullptr;
void (*volatile sudden_end)(int) = nullptr;

void say(const char *text) {
    if (write(STDERR_FILENO, text, strlen(text)) < 0) {
        // Nobody is there to read it.
    }
}

// Everything in here may be done in a signal handler.
[[noreturn]] void endAtOnce(int signal_number) {
    say("\ndravik: ended at once");
    if (unfinished != nullptr) {
        say(", unfinished: ");
        say(unfinished);
    }
    say("\n");
    if (sudden_end != nullptr) {
        sudden_end(signal_number);
    }
    signal(signal_number, SIG_DFL);
    sigset_t this_one;
    sigemptyset(&this_one);
    sigaddset(&this_one, signal_number);
    sigprocmask(SIG_UNBLOCK, &this_one, nullptr);
    raise(signal_number);
    _exit(128 + signal_number); // not reached: the signal has ended the process
}

void note(int signal_number) {
    if (signal_number == SIGQUIT) {
        endAtOnce(signal_number);
    }
    if (signal_number == SIGINT) {
        timespec now = {};
        clock_gettime(CLOCK_MONOTONIC, &now);
        const long now_ms = now.tv_sec * 1000 + now.tv_nsec / 1000000;
        if (last_interrupt >= 0 && now_ms - last_interrupt <= TWICE_WITHIN_MS) {
            endAtOnce(signal_number);
        }
        last_interrupt = now_ms;
    }
    if (pending == 0) {
        pending = signal_number;
    }
    noted = noted + 1;
}

// Puts `handler` in the place of `replaced` for a signal, which is otherwise left alone.
void exchange(int signal_number, void (*replaced)(int), void (*handler)(int)) {
    struct sigaction action = {};
    struct sigaction before = {};
    action.sa_handler = handler;
    action.sa_flags = SA_RESTART;
    sigfillset(&action.sa_mask);
    if (sigaction(signal_number, nullptr, &before) == 0 && before.sa_handler == replaced) {
        sigaction(signal_number, &action, nullptr);
    }
}

} // namespace

void deferEndingSignals(void (*at_sudden_end)(int signal_number)) {
    sudden_end = at_sudden_end;
    for (const int number : DEFERRED_SIGNALS) {
        exchange(number, SIG_DFL, note);
    }
    exchange(SIGQUIT, SIG_DFL, note);
}

void setSuddenEnd(void (*at_sudden_end)(int signal_number)) {
    sudden_end = at_sudden_end;
}

int pendingSignal() {
    return pending;
}

int signalsNoted() {
    return noted;
}

void endByPendingSignal() {
    if (pending != 0) {
        restoreEndingSignals();
        raise(pending);
    }
}

void restoreEndingSignals() {
    for (const int number : DEFERRED_SIGNALS) {
        exchange(number, note, SIG_DFL);
    }
    exchange(SIGQUIT, note, SIG_DFL);
}

void setUnfinished(const char *what) {
    unfinished = what;
}

} // namespace dravik
