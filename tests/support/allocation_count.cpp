// The heap's calls, counted: through the address sanitizer's hook where it owns the heap, otherwise by standing
// before the C library's functions.
#include "tests/support/allocation_count.h"

#include <atomic>
#include <cstddef>

#if defined(__has_feature)
#if __has_feature(address_sanitizer)
#define SANITIZER_OWNS_THE_HEAP
#endif
#endif
#ifdef __SANITIZE_ADDRESS__
#define SANITIZER_OWNS_THE_HEAP
#endif

static std::atomic<long> allocations{0};
static std::atomic<long> held{0};

long allocationCount() {
    return allocations;
}

long heldBlocks() {
    return held;
}

#ifdef SANITIZER_OWNS_THE_HEAP

// gcc installs the sanitizer's runtime without this header of its interface.
extern "C" int __sanitizer_install_malloc_and_free_hooks(void (*on_malloc)(const volatile void *, size_t),
                                                         void (*on_free)(const volatile void *));

[[maybe_unused]] static const int hooks_installed = __sanitizer_install_malloc_and_free_hooks(
    [](const volatile void *, size_t) {
        ++allocations;
        ++held;
    },
    [](const volatile void *) { --held; });

#else

// Counts a call that answered `block`.
static void *taken(void *block) {
    ++allocations;
    held += block != nullptr ? 1 : 0;
    return block;
}

extern "C" {
void *__libc_malloc(size_t size);
void *__libc_calloc(size_t count, size_t size);
void *__libc_realloc(void *block, size_t size);
void *__libc_memalign(size_t alignment, size_t size);
void __libc_free(void *block);

void *malloc(size_t size) {
    return taken(__libc_malloc(size));
}
void *calloc(size_t count, size_t size) {
    return taken(__libc_calloc(count, size));
}
void *realloc(void *block, size_t size) {
    void *moved = taken(__libc_realloc(block, size));
    // The old block is gone, unless the new one could not be had.
    held -= block != nullptr && (moved != nullptr || size == 0) ? 1 : 0;
    return moved;
}
void *aligned_alloc(size_t alignment, size_t size) {
    return taken(__libc_memalign(alignment, size));
}
void free(void *block) {
    held -= block != nullptr ? 1 : 0;
    __libc_free(block);
}
}

#endif
