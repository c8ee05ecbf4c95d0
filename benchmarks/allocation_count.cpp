// Takes the place of the C library's allocation functions in the whole process, the shared libraries
// included.

#include "allocation_count.h"

#include <atomic>
#include <cerrno>

extern "C" {
void* __libc_malloc(std::size_t size);
void* __libc_calloc(std::size_t count, std::size_t size);
void* __libc_realloc(void* memory, std::size_t size);
void* __libc_memalign(std::size_t alignment, std::size_t size);
}

namespace {

std::atomic<std::size_t> allocationCount{0};
std::atomic<std::size_t> allocatedBytes{0};

void note(std::size_t bytes) {
    allocationCount.fetch_add(1, std::memory_order_relaxed);
    allocatedBytes.fetch_add(bytes, std::memory_order_relaxed);
}

}  // namespace

extern "C" {

void* malloc(std::size_t size) {
    note(size);
    return __libc_malloc(size);
}

void* calloc(std::size_t count, std::size_t size) {
    note(count * size);
    return __libc_calloc(count, size);
}

void* realloc(void* memory, std::size_t size) {
    note(size);
    return __libc_realloc(memory, size);
}

int posix_memalign(void** memory, std::size_t alignment, std::size_t size) {
    note(size);
    *memory = __libc_memalign(alignment, size);
    return *memory == nullptr ? ENOMEM : 0;
}

void* aligned_alloc(std::size_t alignment, std::size_t size) {
    note(size);
    return __libc_memalign(alignment, size);
}
}

namespace brellix::bench {

Allocations allocationsSoFar() {
    return {allocationCount.load(), allocatedBytes.load()};
}

}  // namespace brellix::bench
