/* What the modules of the preload library share: the dials file, the next function in line, small file helpers.
 */
#ifndef SIMHOST_PRELOAD_H
#define SIMHOST_PRELOAD_H

#include <stdbool.h>
#include <stddef.h>
#include <sys/types.h>

/* Every path here is seen from inside the chroot. */
#define SIM_DIR "/sim"

/* Calls FUNCTION of the library that is next in the search order, that is the real one (or a sanitizer's).
   Gives a null pointer where no later library has it. The union keeps the conversion from an object pointer
   within the C standard. */
void *nextFunction(const char *name);
#define NEXT(type, name)                                                                                     \
    static union {                                                                                           \
        void *object;                                                                                        \
        type function;                                                                                       \
    } next_##name;                                                                                           \
    if (next_##name.object == NULL)                                                                          \
    next_##name.object = nextFunction(#name)

/* The dials: numbers that the commands of the simulated host turn while programs run. They are lines of fixed
   width in the text file /sim/dials, mapped into every process, so that reading one costs nothing. The order
   is that of DIALS in lib/dials.sh. */
enum dial {
    DIAL_CLOCK_OFFSET, /* seconds added to the clock; turned by commands and by slow tools */
    DIAL_CLOCK_SLEPT,  /* seconds that the paced monitor slept in no time; turned by this library only */
    DIAL_CLOCK_FROZEN, /* 0: the clock runs; else it stands at this second since 1970 */
    DIAL_SPEED,        /* 0: each sleep of the paced monitor waits for a tick; else how many times faster */
    DIAL_ASLEEP,       /* 1 while the paced monitor is in its sleep; turned by this library only */
    DIAL_DISK_FREE,    /* bytes that can still be written under /dumps; below 0: any number */
    DIAL_DISK_LOCKED,  /* 1: /dumps is read-only */
    DIAL_COUNT
};

/* False in a process that runs outside a simulated host; then every call goes straight on. */
bool inSimulatedHost(void);
double dialValue(enum dial which);
void setDial(enum dial which, long value);

/* Appends TEXT to a file under /sim with one write, so that no line is lost between processes. Keeps errno.
 */
void appendLine(const char *path, const char *text);

/* True when opening PATH with these open(2) flags is refused; errno then says why (EROFS or ENOSPC). */
bool diskRefusesOpen(const char *path, int flags);
bool isUnderDumps(const char *path);

/* True when STREAM-less writing of COUNT bytes to FD meets the limit; *ALLOWED is how many bytes still fit.
 */
bool diskLimitsWrite(int fd, size_t count, size_t *allowed);

#endif
