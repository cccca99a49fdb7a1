/* The clock and the time-lapse: what a program of the simulated host reads as the time, and how long the
   paced monitor's sleep lasts. */
#include "preload.h"

#include <errno.h>
#include <fcntl.h>
#include <poll.h>
#include <stdio.h>
#include <stdlib.h>
#include <sys/time.h>
#include <time.h>
#include <unistd.h>

typedef int (*clock_gettime_type)(clockid_t, struct timespec *);
typedef unsigned (*sleep_type)(unsigned);

/* Set in the monitor's own process only, from an environment variable that its children do not inherit. */
static bool paced;
static bool sleepsAtOnce;
static struct timespec cycleStart; /* on the real clock */

static void realTime(struct timespec *now) {
    NEXT(clock_gettime_type, clock_gettime);
    if (next_clock_gettime.function != NULL)
        (void)next_clock_gettime.function(CLOCK_REALTIME, now);
}

/* A paced monitor that waits for ticks sees no time pass but in its sleeps and in slow tools; otherwise a
   cycle of a few milliseconds that happens to cross a full second would count as one second long. */
static bool cycleStandsStill(void) {
    return paced && dialValue(DIAL_SPEED) <= 0;
}

static void simulatedTime(struct timespec *now) {
    const long frozen = (long)dialValue(DIAL_CLOCK_FROZEN);

    if (frozen != 0) {
        now->tv_sec = frozen;
        now->tv_nsec = 0;
    } else if (cycleStandsStill()) {
        *now = cycleStart;
    } else {
        realTime(now);
    }
    now->tv_sec += (time_t)(dialValue(DIAL_CLOCK_OFFSET) + dialValue(DIAL_CLOCK_SLEPT));
}

__attribute__((constructor(102))) static void readPace(void) {
    if (!inSimulatedHost())
        return;
    paced = getenv("SIMHOST_PACED") != NULL;
    sleepsAtOnce = getenv("SIMHOST_SLEEPS") != NULL;
    (void)unsetenv("SIMHOST_PACED");
    if (paced)
        realTime(&cycleStart);
}

int clock_gettime(clockid_t id, struct timespec *now) {
    NEXT(clock_gettime_type, clock_gettime);
    if (inSimulatedHost() && (id == CLOCK_REALTIME || id == CLOCK_REALTIME_COARSE)) {
        simulatedTime(now);
        return 0;
    }
    if (next_clock_gettime.function == NULL) {
        errno = ENOSYS;
        return -1;
    }
    return next_clock_gettime.function(id, now);
}

time_t time(time_t *out) {
    struct timespec now = {0, 0};

    simulatedTime(&now);
    if (out != NULL)
        *out = now.tv_sec;
    return now.tv_sec;
}

int gettimeofday(struct timeval *restrict out, void *restrict zone) {
    struct timespec now = {0, 0};

    (void)zone;
    simulatedTime(&now);
    out->tv_sec = now.tv_sec;
    out->tv_usec = now.tv_nsec / 1000;
    return 0;
}

static void ringBell(const char *fifo) {
    /* Reading and writing, so that neither a missing reader nor a full pipe stops the monitor. */
    const int fd = open(fifo, O_RDWR | O_NONBLOCK | O_CLOEXEC);

    if (fd < 0)
        return;
    if (write(fd, ".", 1) < 0)
        errno = 0;
    (void)close(fd);
}

/* Waits for a byte from the pipe TICK, or at a given speed for SECONDS / speed. False when a signal came first. */
static bool waitForTick(int tick, unsigned seconds, double speed) {
    char byte;
    struct pollfd waiting = {.fd = tick, .events = POLLIN};
    const int limit = speed > 0 ? (int)(seconds * 1000 / speed) : -1;

    if (tick < 0)
        return true;
    const int ready = poll(&waiting, 1, limit);
    const bool interrupted = ready < 0 && errno == EINTR;
    if (ready > 0 && read(tick, &byte, 1) < 0)
        errno = 0;
    return !interrupted;
}

static unsigned pacedSleep(unsigned seconds) {
    char line[32];
    struct timespec from = {0, 0};
    struct timespec to = {0, 0};
    const double speed = dialValue(DIAL_SPEED);
    /* Held before anyone can see that this sleep has begun: a byte in a pipe that nobody holds is lost. */
    const int tick = open(SIM_DIR "/tick", O_RDWR | O_CLOEXEC);

    (void)snprintf(line, sizeof line, "%u\n", seconds);
    appendLine(SIM_DIR "/sleeps", line);
    setDial(DIAL_ASLEEP, 1);
    ringBell(SIM_DIR "/asleep");
    realTime(&from);
    const bool slept = waitForTick(tick, seconds, speed);
    (void)close(tick);
    realTime(&to);
    setDial(DIAL_ASLEEP, 0);
    if (slept) {
        /* The running clock already moved by the seconds that really passed. */
        const long passed = speed > 0 ? to.tv_sec - from.tv_sec : 0;
        setDial(DIAL_CLOCK_SLEPT, (long)dialValue(DIAL_CLOCK_SLEPT) + (long)seconds - passed);
    }
    realTime(&cycleStart);
    return slept ? 0 : seconds;
}

unsigned sleep(unsigned seconds) {
    char line[64];
    NEXT(sleep_type, sleep);

    if (paced)
        return pacedSleep(seconds);
    if (inSimulatedHost()) {
        (void)snprintf(line, sizeof line, "%.40s %u\n", program_invocation_short_name, seconds);
        appendLine(SIM_DIR "/sleeps.others", line);
        if (sleepsAtOnce)
            return 0;
    }
    return next_sleep.function == NULL ? 0 : next_sleep.function(seconds);
}
