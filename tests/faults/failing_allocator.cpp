#include "faults/failing_allocator.h"

#include <sys/mman.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <cstdlib>
#include <new>

#include "support/sanitizers.h"

namespace brellix::testing {
namespace {

struct Countdown {
    std::size_t left = 0;  ///< allocations until the failing one, that one included; 0: none fails
    bool failsOn = false;  ///< whether all that follow fail, too
    bool hasFailed = false;
};

// Without a constructor or destructor to run: allocations precede and outlive those.
thread_local Countdown countdown;
std::atomic<long> blocks{0};

bool mustFail() {
    if (countdown.left == 0) {
        return false;
    }
    if (--countdown.left != 0) {
        return false;
    }
    countdown.left = countdown.failsOn ? 1 : 0;
    countdown.hasFailed = true;
    return true;
}

}  // namespace

AllocationFailure::AllocationFailure(std::size_t nth, Shortage shortage) {
    countdown = {nth, shortage == Shortage::kAllFromThere, false};
}

AllocationFailure::~AllocationFailure() {
    end();
}

bool AllocationFailure::end() {
    countdown.left = 0;
    return countdown.hasFailed;
}

long liveBlocks() {
    return blocks.load(std::memory_order_relaxed);
}

}  // namespace brellix::testing

using brellix::testing::blocks;
using brellix::testing::mustFail;

#if BRELLIX_ADDRESS_SANITIZER || BRELLIX_THREAD_SANITIZER

namespace {

void* allocate(std::size_t size) {
    void* const memory = mustFail() ? nullptr : std::malloc(size == 0 ? 1 : size);
    if (memory == nullptr) {
        throw std::bad_alloc();
    }
    return memory;
}

void* allocateQuietly(std::size_t size) noexcept {
    return mustFail() ? nullptr : std::malloc(size == 0 ? 1 : size);
}

}  // namespace

void* operator new(std::size_t size) {
    return allocate(size);
}
void* operator new[](std::size_t size) {
    return allocate(size);
}
void* operator new(std::size_t size, const std::nothrow_t&) noexcept {
    return allocateQuietly(size);
}
void* operator new[](std::size_t size, const std::nothrow_t&) noexcept {
    return allocateQuietly(size);
}
void operator delete(void* memory) noexcept {
    std::free(memory);
}
void operator delete[](void* memory) noexcept {
    std::free(memory);
}
void operator delete(void* memory, std::size_t) noexcept {
    std::free(memory);
}
void operator delete[](void* memory, std::size_t) noexcept {
    std::free(memory);
}
void operator delete(void* memory, const std::nothrow_t&) noexcept {
    std::free(memory);
}
void operator delete[](void* memory, const std::nothrow_t&) noexcept {
    std::free(memory);
}

#else

extern "C" {

void* __libc_malloc(std::size_t size);
void* __libc_calloc(std::size_t count, std::size_t size);
void* __libc_realloc(void* memory, std::size_t size);
void* __libc_memalign(std::size_t alignment, std::size_t size);
void __libc_free(void* memory);
}

namespace {

/// What `take` gives, counted; null and ENOMEM where it is the turn of a failure.
template <typename Take>
void* counted(Take take) {
    void* const memory = mustFail() ? nullptr : take();
    if (memory == nullptr) {
        errno = ENOMEM;
        return nullptr;
    }
    blocks.fetch_add(1, std::memory_order_relaxed);
    return memory;
}

}  // namespace

extern "C" {

void* malloc(std::size_t size) {
    return counted([=] { return __libc_malloc(size); });
}

void* calloc(std::size_t count, std::size_t size) {
    return counted([=] { return __libc_calloc(count, size); });
}

void* memalign(std::size_t alignment, std::size_t size) {
    return counted([=] { return __libc_memalign(alignment, size); });
}

void* aligned_alloc(std::size_t alignment, std::size_t size) {
    return memalign(alignment, size);
}

int posix_memalign(void** memory, std::size_t alignment, std::size_t size) {
    void* const block = memalign(alignment, size);
    if (block == nullptr) {
        return ENOMEM;
    }
    *memory = block;
    return 0;
}

void free(void* memory) {
    if (memory != nullptr) {
        blocks.fetch_sub(1, std::memory_order_relaxed);
    }
    __libc_free(memory);
}

void* realloc(void* memory, std::size_t size) {
    if (memory == nullptr) {
        return malloc(size);
    }
    if (size == 0) {
        free(memory);
        return nullptr;
    }
    if (mustFail()) {
        errno = ENOMEM;
        return nullptr;
    }
    return __libc_realloc(memory, size);
}

void* mmap(void* address, std::size_t length, int protection, int flags, int file, off_t offset) noexcept {
    if (mustFail()) {
        errno = ENOMEM;
        return MAP_FAILED;
    }
    return reinterpret_cast<void*>(syscall(SYS_mmap, address, length, protection, flags, file, offset));
}
}

#endif
