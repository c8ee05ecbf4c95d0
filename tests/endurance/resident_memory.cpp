#include "endurance/resident_memory.h"

#include <malloc.h>
#include <unistd.h>

#include <fstream>
#include <stdexcept>

namespace brellix::testing {

MemoryUse memoryUse() {
    std::size_t pages = 0;
    std::size_t residentPages = 0;
    if (!(std::ifstream("/proc/self/statm") >> pages >> residentPages)) {
        throw std::runtime_error("cannot read the memory in use from /proc/self/statm");
    }
    const struct mallinfo2 heap = mallinfo2();
    return {residentPages * static_cast<std::size_t>(sysconf(_SC_PAGESIZE)), heap.uordblks + heap.hblkhd};
}

}  // namespace brellix::testing
