#include "common/zeroed_image.h"

#include <sys/mman.h>
#include <unistd.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <new>

namespace ai_orvo::model {
namespace {

// Below this, asking the kernel for pages costs more than clearing bytes that are in the cache.
constexpr std::size_t kSmallestMapping = std::size_t{128} * 1024;

void* mapPages(std::size_t bytes) {
    void* const pages = mmap(nullptr, bytes, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    if (pages == MAP_FAILED) {
        throw std::bad_alloc();
    }
    return pages;
}

/// Takes the pages under those of the lines that the mapped image has in one call: a fault for each costs as
/// much as clearing it.
void takePages(const cv::Mat& image, const cv::Range& lines) {
#ifdef MADV_POPULATE_WRITE
    const auto page = static_cast<std::uintptr_t>(sysconf(_SC_PAGESIZE));
    const int start = std::max(lines.start, 0);
    const int end = std::min(lines.end, image.rows);
    // Of longer lines whole pages may stay untouched.
    if (start >= end || image.step[0] > 2 * page) {
        return;
    }
    const uchar* const line = image.ptr(start);
    auto* const first = const_cast<uchar*>(line - reinterpret_cast<std::uintptr_t>(line) % page);
    const uchar* const beyond = image.ptr(end - 1) + image.step[0];
    // A wish: a kernel that does not know it lets the pages come one by one.
    madvise(first, static_cast<std::size_t>(beyond - first), MADV_POPULATE_WRITE);
#else
    static_cast<void>(image);
    static_cast<void>(lines);
#endif
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
        void* const pages = mapPages(total);
        auto* const record = new (std::nothrow) cv::UMatData(this);
        if (record == nullptr) {
            munmap(pages, total);
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
            munmap(record->origdata, record->size);
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

cv::Mat zeroedImage(const cv::Size& size, const cv::Range& writtenLines) {
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
    takePages(image, writtenLines);
    return image;
}

}  // namespace ai_orvo::model
