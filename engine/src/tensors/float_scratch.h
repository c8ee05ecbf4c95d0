#pragma once

/// \file
/// Memory that stays from one inference to the next: fresh pages cost more than the conversion into them.

#include <cstddef>
#include <vector>

namespace ai_orvo::alg::common {

class FloatScratch {
  public:
    /// Room for `count` floats of any value, until `clear`.
    float* take(std::size_t count) {
        if (taken_ == tensors_.size()) {
            tensors_.emplace_back();
        }
        std::vector<float>& tensor = tensors_[taken_++];
        tensor.resize(count);
        return tensor.data();
    }

    /// Takes all tensors back, and keeps their memory.
    void clear() { taken_ = 0; }

  private:
    std::vector<std::vector<float>> tensors_;
    std::size_t taken_ = 0;
};

}  // namespace ai_orvo::alg::common
