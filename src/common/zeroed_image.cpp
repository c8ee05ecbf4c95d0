#include "common/zeroed_image.h"

#include <sys/mman.h>

#include <cstddef>
#include <cstdint>
#include <new>

namespace ai_orvo::model {
namespace {

// Below this, asking the kernel for pages costs more than clearing bytes that are in the cache.
constexpr std::size_t kSmallestMapping = 128 * 1024;
constexpr std::size_t kHugePage = 2 * 1024 * 1024;

std::size_t wholeHugePages(std::size_t bytes) {
    return (bytes + kHugePage - 1) / kHugePage * kHugePage;
}

/// Whether huge pages would leave less than a quarter of themselves unused.
bool fillsHugePages(std::size_t bytes) {
    return bytes >= wholeHugePages(bytes) / 4 * 3;
}

std::size_t mappedBytes(std::size_t bytes) {
    return fillsHugePages(bytes) ? wholeHugePages(bytes) : bytes;
}

void* mapPages(std::size_t bytes) {
    void* const pages = mmap(nullptr, bytes, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    if (pages == MAP_FAILED) {
        throw std::bad_alloc();
    }
    return pages;
}

/// Maps `bytes`, a multiple of the huge page, at an address that is one, too.
void* mapHugePages(std::size_t bytes) {
    auto* const first = static_cast<std::uint8_t*>(mapPages(bytes + kHugePage));
    const std::size_t before = (kHugePage - reinterpret_cast<std::uintptr_t>(first) % kHugePage) % kHugePage;
    if (before != 0) {
        munmap(first, before);
    }
    munmap(first + before + bytes, kHugePage - before);
    // A wish: where there are none, ordinary pages serve.
    madvise(first + before, bytes, MADV_HUGEPAGE);
    return first + before;
}

/// Gives matrices pages of zeros. Stateless; one serves all threads.
class PageAllocator : public cv::MatAllocator {
  public:
    cv::UMatData* allocate(int dims, const int* sizes, int type, void* /*data*/, std::size_t* step,
                           cv::AccessFlag /*flags*/, cv::UMatUsageFlags /*usage*/) const override {
        std::size_t total = static_cast<std::size_t>(CV_ELEM_SIZE(type));
        for (int i = dims - 1; i >= 0; --i) {
            step[i] = total;
            total *= static_cast<std::size_t>(sizes[i]);
        }
        void* const pages = fillsHugePages(total) ? mapHugePages(wholeHugePages(total)) : mapPages(total);
        auto* const record = new (std::nothrow) cv::UMatData(this);
        if (record == nullptr) {
            munmap(pages, mappedBytes(total));
            throw std::bad_alloc();
        }
        record->data = record->origdata = static_cast<uchar*>(pages);
        record->size = total;
        return record;
    }

    /// There is no memory of another device to be in step with.
    bool allocate(cv::UMatData* record, cv::AccessFlag /*flags*/,
                  cv::UMatUsageFlags /*usage*/) const override {
        return record != nullptr;
    }

    void deallocate(cv::UMatData* record) const override {
        if (record != nullptr) {
            munmap(record->origdata, mappedBytes(record->size));
            delete record;
        }
    }
};

/// Never destroyed: a mask may outlive everything else in the process.
PageAllocator& pageAllocator() {
    static auto* const allocator = new PageAllocator();
    return *allocator;
}

}  // namespace

cv::Mat zeroedImage(const cv::Size& size) {
    if (size.width <= 0 || size.height <= 0 ||
        static_cast<std::size_t>(size.width) * static_cast<std::size_t>(size.height) < kSmallestMapping) {
        return cv::Mat::zeros(size, CV_8U);
    }
    cv::Mat image;
    image.allocator = &pageAllocator();
    image.create(size, CV_8U);
    // Where an allocator has nothing to give, OpenCV takes its own instead, whose memory holds anything.
    if (image.u->currAllocator != &pageAllocator()) {
        image.setTo(0);
    }
    // What is made of this matrix later, by `create` in place, is an ordinary one.
    image.allocator = nullptr;
    return image;
}

}  // namespace ai_orvo::model
