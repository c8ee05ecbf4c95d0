#pragma once

/// \file
/// Memory for matrices without the leak of OpenCV's own allocator.

#include <opencv2/core.hpp>

namespace brellix::testing {

/// OpenCV's default allocator while it lives. OpenCV's own loses a matrix's memory where there is none left
/// for the record beside it; this one takes the record first, so that what is lost is lost by somebody else.
class StrictMatAllocator {
  public:
    StrictMatAllocator();
    StrictMatAllocator(const StrictMatAllocator&) = delete;
    StrictMatAllocator& operator=(const StrictMatAllocator&) = delete;
    ~StrictMatAllocator();

  private:
    cv::MatAllocator* before_;
};

}  // namespace brellix::testing
