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

long allocationCount() {
    return allocations;
}

#ifdef SANITIZER_OWNS_THE_HEAP

// gcc installs the sanitizer's runtime without this header of its interface.
extern "C" int __sanitizer_install_malloc_and_free_hooks(void (*on_malloc)(const volatile void *, size_t),
                                                         void (*on_free)(const volatile void *));

[[maybe_unused]] static const int hooks_installed = __sanitizer_install_malloc_and_free_hooks(
    [](const volatile void *, size_t) { ++allocations; }, [](const volatile void *) {});

#else

extern "C" {
void *__libc_malloc(size_t size);
void *__libc_calloc(size_t count, size_t size);
void *__libc_realloc(void *block, size_t size);
void *__libc_memalign(size_t alignment, size_t size);

void *malloc(size_t size) {
    ++allocations;
    return __libc_malloc(size);
}
void *calloc(size_t count, size_t size) {
    ++allocations;
    return __libc_calloc(count, size);
}
void *realloc(void *block, size_t size) {
    ++allocations;
    return __libc_realloc(block, size);
}
void *aligned_alloc(size_t alignment, size_t size) {
    ++allocations;
    return __libc_memalign(alignment, size);
}
}

#endif
