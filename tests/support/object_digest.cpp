#include "support/object_digest.h"

#include <cstddef>
#include <cstring>

namespace brellix::testing {
namespace {

/// FNV-1a over words of 64 bits; masks are large.
class Digest {
  public:
    void add(const void* bytes, std::size_t count) {
        const auto* next = static_cast<const unsigned char*>(bytes);
        while (count != 0) {
            std::uint64_t word = 0;
            const std::size_t size = count < sizeof(word) ? count : sizeof(word);
            std::memcpy(&word, next, size);
            value_ = (value_ ^ word) * 0x100000001B3U;
            value_ ^= value_ >> 32U;
            next += size;
            count -= size;
        }
    }

    template <typename Value>
    void add(const Value& value) {
        add(&value, sizeof(value));
    }

    void addPicture(const cv::Mat& picture) {
        add(picture.rows);
        add(picture.cols);
        add(picture.type());
        for (int row = 0; row < picture.rows; ++row) {
            add(picture.ptr(row), static_cast<std::size_t>(picture.cols) * picture.elemSize());
        }
    }

    std::uint64_t value() const { return value_; }

  private:
    std::uint64_t value_ = 0xCBF29CE484222325U;
};

}  // namespace

std::uint64_t digestOf(const std::vector<ai_orvo::model::Object>& objects) {
    Digest digest;
    digest.add(objects.size());
    for (const ai_orvo::model::Object& object : objects) {
        digest.add(object.rect);
        digest.add(object.label);
        digest.add(object.prob);
        digest.addPicture(object.mask);
    }
    return digest.value();
}

std::uint64_t digestOf(const cv::Mat& picture) {
    Digest digest;
    digest.addPicture(picture);
    return digest.value();
}

}  // namespace brellix::testing
