// Running a command under the interval timer.
#include "host/timed_task.h"

#include <cerrno>
#include <csignal>
#include <ctime>
#include <sys/time.h>

#include "common/capture.h"
#include "common/log.h"
#include "host/command_output.h"
#include "host/task.h"

sigjmp_buf invoke_env;
volatile int invoke_count = 0;

namespace {

constexpr time_t TIME_OUT_SECONDS = 5;
constexpr int STATUS_TIMED_OUT = -9;

// Holds SIGALRM back for as long as it lives, except where the capture layer waits; before it lets go, an
// expiry that came in between is taken out of the way of the handler that is back in place by then.
class AlarmHeld {
  public:
    AlarmHeld() {
        sigemptyset(&alarm_only);
        sigaddset(&alarm_only, SIGALRM);
        sigprocmask(SIG_BLOCK, &alarm_only, &before);
    }
    ~AlarmHeld() {
        if (sigismember(&before, SIGALRM) == 0) {
            const timespec at_once = {0, 0};
            while (sigtimedwait(&alarm_only, nullptr, &at_once) == SIGALRM) {
            }
        }
        sigprocmask(SIG_SETMASK, &before, nullptr);
    }
    AlarmHeld(const AlarmHeld &) = delete;
    AlarmHeld &operator=(const AlarmHeld &) = delete;

  private:
    sigset_t alarm_only;
    sigset_t before;
};

// Runs `command` under the timer, whose handler is installed. Owns nothing: the handler's jump comes back
// here from inside the capture layer's waits. `*flag` is what the capture layer left in the growth flag.
int captureTimed(const char *command, CommandOutput *output, volatile int *flag) {
    if (sigsetjmp(invoke_env, 1) != 0 && invoke_count >= 1) {
        return STATUS_TIMED_OUT;
    }
    const itimerval five_seconds = {{TIME_OUT_SECONDS, 0}, {TIME_OUT_SECONDS, 0}};
    itimerval before = {};
    if (setitimer(ITIMER_REAL, &five_seconds, &before) != 0) {
        return errno;
    }
    int grown = 0;
    const int status =
        exe_cmd_nonblocking(command, output->pages, CommandOutput::SIZE, &output->text, &grown);
    *flag = grown;
    setitimer(ITIMER_REAL, &before, nullptr);
    return status;
}

} // namespace

s_ecItems *exeLiunxInfoCmd_nonblocking(const char *command, char *out, unsigned int size) {
    CommandOutput output;
    volatile int flag = 0;
    int status = 0;
    invoke_count = 0;
    {
        const AlarmHeld held;
        const signal_handler before = my_signal(SIGALRM, timeout_signal_handler);
        if (before == SIG_ERR) { // NOLINT(performance-no-int-to-ptr): the C library's own constant
            status = errno;
        } else {
            status = output.pages == nullptr ? EXE_NO_MEMORY : captureTimed(command, &output, &flag);
            my_signal(SIGALRM, before);
        }
    }
    if (status == STATUS_TIMED_OUT) {
        DRAVIK_LOG(LOG_ERROR, "Execute command [%s] timeout\n", command);
        return &EC_exe_cmd_timeout;
    }
    // What a command printed before it failed is copied too.
    const bool nothing = output.text == nullptr;
    if (!nothing) {
        output.copyTo(out, size);
    }
    if (flag < 0 || nothing) {
        DRAVIK_LOG(LOG_ERROR, "Execute command [%s] failed\n", command);
        return &EC_exe_cmd_failed;
    }
    return &EC_info_ok;
}

namespace dravik {

s_ecItems *runTimed(const char *operation, const ShellCommand &command, char *out, unsigned int size) {
    return isRefused(operation, command) ? &EC_exe_cmd_failed
                                         : exeLiunxInfoCmd_nonblocking(command.line(), out, size);
}

} // namespace dravik

signal_handler my_signal(int signal_number, signal_handler handler) {
    struct sigaction action = {};
    struct sigaction before = {};
    action.sa_handler = handler;
    sigemptyset(&action.sa_mask);
    action.sa_flags = signal_number == SIGALRM ? SA_INTERRUPT : SA_RESTART;
    return sigaction(signal_number, &action, &before) == 0 ? before.sa_handler : SIG_ERR;
}

void timeout_signal_handler(int /*signal_number*/) {
    invoke_count = invoke_count + 1;
    siglongjmp(invoke_env, 1);
}
