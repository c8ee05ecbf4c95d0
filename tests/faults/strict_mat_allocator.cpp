#include "faults/strict_mat_allocator.h"

#include <cstddef>
#include <memory>

namespace brellix::testing {
namespace {

class RecordFirst : public cv::MatAllocator {
  public:
    cv::UMatData* allocate(int dims, const int* sizes, int type, void* data, std::size_t* step,
                           cv::AccessFlag /*flags*/, cv::UMatUsageFlags /*usage*/) const override {
        std::size_t total = static_cast<std::size_t>(CV_ELEM_SIZE(type));
        for (int i = dims - 1; i >= 0; --i) {
            if (step != nullptr) {
                step[i] = total;
            }
            total *= static_cast<std::size_t>(sizes[i]);
        }
        auto record = std::make_unique<cv::UMatData>(this);
        record->data = record->origdata = static_cast<uchar*>(data == nullptr ? cv::fastMalloc(total) : data);
        record->size = total;
        if (data != nullptr) {
            record->flags |= cv::UMatData::USER_ALLOCATED;
        }
        return record.release();
    }

    bool allocate(cv::UMatData* record, cv::AccessFlag /*flags*/,
                  cv::UMatUsageFlags /*usage*/) const override {
        return record != nullptr;
    }

    void deallocate(cv::UMatData* record) const override {
        if (record != nullptr) {
            if ((record->flags & cv::UMatData::USER_ALLOCATED) == 0) {
                cv::fastFree(record->origdata);
            }
            delete record;
        }
    }
};

}  // namespace

StrictMatAllocator::StrictMatAllocator() : before_(cv::Mat::getDefaultAllocator()) {
    static RecordFirst allocator;
    cv::Mat::setDefaultAllocator(&allocator);
}

StrictMatAllocator::~StrictMatAllocator() {
    cv::Mat::setDefaultAllocator(before_);
}

}  // namespace brellix::testing
