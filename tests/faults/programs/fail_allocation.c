/* A preload library: the Nth request for memory of a process, its libraries' requests included, is refused.

     FAIL_ALLOCATION=N         which one, counted from 1
     COUNT_ALLOCATIONS=FILE    none is; FILE, eight bytes of zero, is mapped and counts them (a child's too)

   A child that is forked without exec goes on counting where its parent was. */
#include <errno.h>
#include <fcntl.h>
#include <stdbool.h>
#include <stddef.h>
#include <stdlib.h>
#include <sys/mman.h>
#include <unistd.h>

void *__libc_malloc(size_t size);
void *__libc_calloc(size_t count, size_t size);
void *__libc_realloc(void *block, size_t size);
void *__libc_memalign(size_t alignment, size_t size);

static long refused;
static long private_count;
static long *count = &private_count;
static bool is_ready;

static void getReady(void) {
    const char *which = getenv("FAIL_ALLOCATION");
    const char *file = getenv("COUNT_ALLOCATIONS");

    is_ready = true;
    refused = which == NULL ? 0 : strtol(which, NULL, 10);
    if (file == NULL)
        return;
    const int fd = open(file, O_RDWR | O_CLOEXEC);
    void *shared = fd < 0 ? MAP_FAILED : mmap(NULL, sizeof *count, PROT_READ | PROT_WRITE, MAP_SHARED, fd, 0);
    if (fd >= 0)
        (void)close(fd);
    if (shared != MAP_FAILED)
        count = shared;
}

static bool isRefused(void) {
    if (!is_ready)
        getReady();
    if (__atomic_add_fetch(count, 1, __ATOMIC_RELAXED) != refused)
        return false;
    errno = ENOMEM;
    return true;
}

void *malloc(size_t size) {
    return isRefused() ? NULL : __libc_malloc(size);
}

void *calloc(size_t items, size_t size) {
    return isRefused() ? NULL : __libc_calloc(items, size);
}

void *realloc(void *block, size_t size) {
    return isRefused() ? NULL : __libc_realloc(block, size);
}

void *memalign(size_t alignment, size_t size) {
    return isRefused() ? NULL : __libc_memalign(alignment, size);
}

void *aligned_alloc(size_t alignment, size_t size) {
    return memalign(alignment, size);
}

int posix_memalign(void **block, size_t alignment, size_t size) {
    void *made = memalign(alignment, size);

    if (made == NULL)
        return ENOMEM;
    *block = made;
    return 0;
}
