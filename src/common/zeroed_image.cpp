#include "common/zeroed_image.h"

#include <sys/mman.h>

#include <algorithm>
#include <cstddef>
#include <cstring>
#include <iterator>
#include <mutex>
#include <new>
#include <vector>

namespace ai_orvo::model {
namespace {

// Smaller ones stay in the ordinary allocator's hands anyway.
constexpr std::size_t kSmallest = 128 * 1024;
constexpr std::size_t kMostKept = 128 * 1024 * 1024;

/// Pages of zeros: kept ones that are cleared, or fresh ones, which the kernel clears as they are touched.
class PagePool {
  public:
    void* take(std::size_t bytes) {
        if (void* const pages = takeKept(bytes)) {
            std::memset(pages, 0, bytes);
            return pages;
        }
        void* const pages = mmap(nullptr, bytes, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
        if (pages == MAP_FAILED) {
            throw std::bad_alloc();
        }
        return pages;
    }

    void giveBack(void* pages, std::size_t bytes) noexcept {
        if (!keep(pages, bytes)) {
            munmap(pages, bytes);
        }
    }

  private:
    struct Block {
        void* pages;
        std::size_t bytes;
    };

    void* takeKept(std::size_t bytes) {
        const std::lock_guard<std::mutex> lock(mutex_);
        // The one given back last is the likeliest to be in a cache.
        const auto found = std::find_if(kept_.rbegin(), kept_.rend(),
                                        [bytes](const Block& block) { return block.bytes == bytes; });
        if (found == kept_.rend()) {
            return nullptr;
        }
        void* const pages = found->pages;
        keptBytes_ -= bytes;
        kept_.erase(std::next(found).base());
        return pages;
    }

    bool keep(void* pages, std::size_t bytes) noexcept {
        const std::lock_guard<std::mutex> lock(mutex_);
        try {
            // Pictures of another size than before would find nothing: the oldest blocks make room.
            while (!kept_.empty() && keptBytes_ + bytes > kMostKept) {
                munmap(kept_.front().pages, kept_.front().bytes);
                keptBytes_ -= kept_.front().bytes;
                kept_.erase(kept_.begin());
            }
            if (bytes > kMostKept) {
                return false;
            }
            kept_.push_back({pages, bytes});
        } catch (const std::bad_alloc&) {
            return false;
        }
        keptBytes_ += bytes;
        return true;
    }

    std::mutex mutex_;
    std::vector<Block> kept_;
    std::size_t keptBytes_ = 0;
};

/// Never destroyed: a mask may outlive everything else in the process.
PagePool& pagePool() {
    static auto* const pool = new PagePool();
    return *pool;
}

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
        void* const pages = pagePool().take(total);
        auto* const record = new (std::nothrow) cv::UMatData(this);
        if (record == nullptr) {
            pagePool().giveBack(pages, total);
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
            pagePool().giveBack(record->origdata, record->size);
            delete record;
        }
    }
};

PageAllocator& pageAllocator() {
    static auto* const allocator = new PageAllocator();
    return *allocator;
}

}  // namespace

cv::Mat zeroedImage(const cv::Size& size) {
    if (size.width <= 0 || size.height <= 0 ||
        static_cast<std::size_t>(size.width) * static_cast<std::size_t>(size.height) < kSmallest) {
        return cv::Mat::zeros(size, CV_8U);
    }
    cv::Mat image;
    image.allocator = &pageAllocator();
    image.create(size, CV_8U);
    // What is made of this matrix later, by `create` in place, is an ordinary one.
    image.allocator = nullptr;
    return image;
}

}  // namespace ai_orvo::model
