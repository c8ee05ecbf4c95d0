#include "common/zeroed_image.h"

#include <sys/mman.h>

#include <cstddef>
#include <new>

namespace ai_orvo::model {
namespace {

// Below this, asking the kernel for pages costs more than clearing bytes that are in the cache.
constexpr std::size_t kSmallestMapping = 128 * 1024;

/// Gives matrices whole pages of zeros. Stateless; one serves all threads.
class PageAllocator : public cv::MatAllocator {
  public:
    cv::UMatData* allocate(int dims, const int* sizes, int type, void* /*data*/, std::size_t* step,
                           cv::AccessFlag /*flags*/, cv::UMatUsageFlags /*usage*/) const override {
        std::size_t total = static_cast<std::size_t>(CV_ELEM_SIZE(type));
        for (int i = dims - 1; i >= 0; --i) {
            step[i] = total;
            total *= static_cast<std::size_t>(sizes[i]);
        }
        void* const pages = mmap(nullptr, total, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
        if (pages == MAP_FAILED) {
            throw std::bad_alloc();
        }
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
const PageAllocator& pageAllocator() {
    static const auto* const allocator = new PageAllocator();
    return *allocator;
}

}  // namespace

cv::Mat zeroedImage(const cv::Size& size) {
    if (size.width <= 0 || size.height <= 0 ||
        static_cast<std::size_t>(size.width) * static_cast<std::size_t>(size.height) < kSmallestMapping) {
        return cv::Mat::zeros(size, CV_8U);
    }
    cv::Mat image;
    image.allocator = const_cast<PageAllocator*>(&pageAllocator());
    image.create(size, CV_8U);
    // What is made of this matrix later, by `create` in place, is an ordinary one.
    image.allocator = nullptr;
    return image;
}

}  // namespace ai_orvo::model
