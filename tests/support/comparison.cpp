#include "support/comparison.h"

#include "reference/object_nms.h"
#include "reference/rounding.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstring>
#include <sstream>
#include <string>
#include <utility>

namespace brellix::testing {

using ai_orvo::model::LetterboxInfo;
using ai_orvo::model::Object;
using ::testing::AssertionFailure;
using ::testing::AssertionResult;
using ::testing::AssertionSuccess;

namespace {

bool lessProbable(const Object& a, const Object& b) {
    return std::isnan(a.prob) ? !std::isnan(b.prob) : a.prob < b.prob;
}

bool equallyProbable(const Object& a, const Object& b) {
    return !lessProbable(a, b) && !lessProbable(b, a);
}

bool suppresses(const Object& better, const Object& worse, float threshold) {
    return better.label == worse.label && !lessProbable(better, worse) &&
           reference::iou(reference::wholePixelBox(better.rect), reference::wholePixelBox(worse.rect)) >
               threshold;
}

/// For messages.
std::string described(const Object& object) {
    std::ostringstream text;
    text << object.rect << " label " << object.label << " prob " << object.prob;
    return text.str();
}

/// Takes the masks away, so that what is left can be compared field by field.
std::vector<cv::Mat> takeMasks(std::vector<Object>& objects) {
    std::vector<cv::Mat> masks;
    for (Object& object : objects) {
        masks.push_back(std::exchange(object.mask, cv::Mat()));
    }
    return masks;
}

/// Takes the kept ones out of the candidates. \return the first kept one that is no candidate, or null.
const Object* removeKept(const std::vector<Object>& kept, std::vector<Object>& candidates) {
    for (const Object& object : kept) {
        const auto found = std::find_if(candidates.begin(), candidates.end(),
                                        [&](const Object& other) { return sameObject(object, other); });
        if (found == candidates.end()) {
            return &object;
        }
        candidates.erase(found);
    }
    return nullptr;
}

AssertionResult isOrderedAndFree(const std::vector<Object>& kept, float threshold) {
    for (std::size_t i = 0; i < kept.size(); ++i) {
        for (std::size_t j = i + 1; j < kept.size(); ++j) {
            if (kept[i].label > kept[j].label ||
                (kept[i].label == kept[j].label && lessProbable(kept[i], kept[j]))) {
                return AssertionFailure()
                       << "wrong order: " << described(kept[i]) << " before " << described(kept[j]);
            }
            if (suppresses(kept[i], kept[j], threshold)) {
                return AssertionFailure()
                       << described(kept[i]) << " should have suppressed " << described(kept[j]);
            }
        }
    }
    return AssertionSuccess();
}

}  // namespace

bool sameFloat(float a, float b) {
    return (std::isnan(a) && std::isnan(b)) || std::memcmp(&a, &b, sizeof(a)) == 0;
}

bool sameFloats(const float* actual, const float* expected, std::size_t count) {
    return std::equal(actual, actual + count, expected, sameFloat);
}

bool sameFloats(const std::vector<float>& actual, const std::vector<float>& expected) {
    return actual.size() == expected.size() && sameFloats(actual.data(), expected.data(), actual.size());
}

AssertionResult sameImage(const cv::Mat& actual, const cv::Mat& expected) {
    if (actual.size() != expected.size() || actual.type() != expected.type()) {
        return AssertionFailure() << "size " << actual.size() << " type " << actual.type() << " instead of "
                                  << expected.size() << " type " << expected.type();
    }
    for (int row = 0; row < actual.rows; ++row) {
        const std::size_t length = static_cast<std::size_t>(actual.cols) * actual.elemSize();
        if (std::memcmp(actual.ptr(row), expected.ptr(row), length) != 0) {
            return AssertionFailure() << "row " << row << " differs";
        }
    }
    return AssertionSuccess();
}

AssertionResult sameLetterbox(const LetterboxInfo& actual, const LetterboxInfo& expected) {
    if (sameFloat(actual.ratio, expected.ratio) && sameFloat(actual.dw, expected.dw) &&
        sameFloat(actual.dh, expected.dh) && sameFloat(actual.src_height, expected.src_height) &&
        sameFloat(actual.src_width, expected.src_width)) {
        return AssertionSuccess();
    }
    return AssertionFailure() << "ratio " << actual.ratio << " dw " << actual.dw << " dh " << actual.dh
                              << " height " << actual.src_height << " width " << actual.src_width
                              << " instead of " << expected.ratio << ", " << expected.dw << ", "
                              << expected.dh << ", " << expected.src_height << ", " << expected.src_width;
}

bool sameObject(const Object& a, const Object& b) {
    return sameFloat(a.rect.x, b.rect.x) && sameFloat(a.rect.y, b.rect.y) &&
           sameFloat(a.rect.width, b.rect.width) && sameFloat(a.rect.height, b.rect.height) &&
           a.label == b.label && sameFloat(a.prob, b.prob) && a.mask.data == b.mask.data;
}

AssertionResult sameObjects(const std::vector<Object>& actual, const std::vector<Object>& expected) {
    for (std::size_t i = 0; i < std::min(actual.size(), expected.size()); ++i) {
        if (!sameObject(actual[i], expected[i])) {
            return AssertionFailure() << "object " << i << " is " << described(actual[i]) << " instead of "
                                      << described(expected[i]);
        }
    }
    if (actual.size() != expected.size()) {
        return AssertionFailure() << actual.size() << " objects instead of " << expected.size();
    }
    return AssertionSuccess();
}

AssertionResult sameObjectsAndMasks(std::vector<Object> actual, std::vector<Object> expected) {
    const std::vector<cv::Mat> actualMasks = takeMasks(actual);
    const std::vector<cv::Mat> expectedMasks = takeMasks(expected);
    if (AssertionResult result = sameObjects(actual, expected); !result) {
        return result;
    }
    for (std::size_t i = 0; i < expectedMasks.size(); ++i) {
        if (AssertionResult result = sameImage(actualMasks[i], expectedMasks[i]); !result) {
            return result << " in mask " << i;
        }
    }
    return AssertionSuccess();
}

bool hasTies(const std::vector<Object>& objects) {
    for (std::size_t i = 0; i < objects.size(); ++i) {
        for (std::size_t j = i + 1; j < objects.size(); ++j) {
            if (objects[i].label == objects[j].label && equallyProbable(objects[i], objects[j])) {
                return true;
            }
        }
    }
    return false;
}

AssertionResult isGreedySuppression(const std::vector<Object>& candidates, const std::vector<Object>& kept,
                                    float threshold) {
    std::vector<Object> removed = candidates;
    if (const Object* stranger = removeKept(kept, removed)) {
        return AssertionFailure() << described(*stranger) << " is none of the candidates";
    }
    if (AssertionResult result = isOrderedAndFree(kept, threshold); !result) {
        return result;
    }
    for (const Object& object : removed) {
        if (std::none_of(kept.begin(), kept.end(),
                         [&](const Object& better) { return suppresses(better, object, threshold); })) {
            return AssertionFailure() << "nothing suppresses " << described(object);
        }
    }
    return AssertionSuccess();
}

}  // namespace brellix::testing
