#include "common/buffer_pool.h"

#include "common/thread_kept.h"

#include <algorithm>
#include <atomic>
#include <cstdint>
#include <deque>
#include <memory>
#include <vector>

namespace ai_orvo::model {
namespace {

using Buffer = std::shared_ptr<std::vector<std::int8_t>>;

// Two segmentation models that take turns on a thread: a scaled picture, an input, ten outputs and the
// prototypes each.
constexpr std::size_t kMostBuffers = 26;

Buffer newBuffer(std::size_t bytes) {
    return std::make_shared<std::vector<std::int8_t>>(bytes);
}

bool isFree(const Buffer& buffer) {
    if (buffer.use_count() != 1) {
        return false;
    }
    // Pairs with the release by which the last other owner let go: its reads and writes lie before ours.
    std::atomic_thread_fence(std::memory_order_acquire);
    return true;
}

/// The buffers of a thread, the one used last at the end.
class BufferPool {
  public:
    Buffer take(std::size_t bytes) {
        // An owner elsewhere may resize a buffer until it lets go: the size counts only after that. (Read
        // through a copy, whose count says the same to tools that do not know fences.)
        const auto found = std::find_if(buffers_.begin(), buffers_.end(), [bytes](const Buffer& buffer) {
            return isFree(buffer) && Buffer(buffer)->size() == bytes;
        });
        Buffer buffer;
        if (found != buffers_.end()) {
            buffer = *found;
            buffers_.erase(found);
        } else {
            buffer = newBuffer(bytes);
        }
        keep(buffer);
        return buffer;
    }

  private:
    void keep(const Buffer& buffer) {
        buffers_.push_back(buffer);
        if (buffers_.size() > kMostBuffers) {
            buffers_.pop_front();
        }
    }

    std::deque<Buffer> buffers_;
};

}  // namespace

alg::common::AIBuff pooledTensor(std::size_t bytes) {
    alg::common::AIBuff tensor;
    BufferPool* const pool = threadKept<BufferPool>();
    tensor.data = pool != nullptr ? pool->take(bytes) : newBuffer(bytes);
    return tensor;
}

alg::common::AIBuff pooledZeros(std::size_t bytes) {
    alg::common::AIBuff tensor = pooledTensor(bytes);
    std::fill(tensor.data->begin(), tensor.data->end(), std::int8_t{0});
    return tensor;
}

}  // namespace ai_orvo::model
