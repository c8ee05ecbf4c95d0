#pragma once

/// \file
/// Tiny networks of the two models whose outputs can be 8-bit.

#include "detect_fixture.h"

namespace brellix::testing {

constexpr float kBackground = -11.0F;

/// Metadata of a network that was trained with the anchors that the cut detector decodes with.
constexpr const char* kFixedAnchors =
    "[[[10,13],[16,30],[33,23]],[[30,61],[62,45],[59,119]],[[116,90],[156,198],[373,326]]]";

/// Beside the files of DetectTest there are "cut.onnx" and "seg.onnx", "cut.yaml", "seg.yaml" (float) and
/// "seg8.yaml" (8-bit), all with an input of 64 x 64 and three classes, and a picture "a.png" of that size.
///
/// Each network sees one object of class 2, or 1 in the segmentation, with all logits 1; every other cell
/// says `kBackground`. The cut one's box is [20, 5, 16, 30], the other's [12, 20, 24, 24] with a mask over
/// columns 12 to 31 of it.
class ModelTest : public DetectTest {
  protected:
    ModelTest();

    static cv::Mat segmentationMask();

    /// The first object in the output of `detect CONFIG a.png --json -`; fails the test unless it is the
    /// only.
    nlohmann::json onlyObject(const std::string& config) const;

    static cv::Mat decodedMask(const nlohmann::json& object);

    static std::string detectorConfig(const std::string& network);
    static std::string segmentationConfig(const std::string& framework, const std::string& isQuantized);
};

/// The fixture's networks; the cut one tells its anchors.
TinyNetwork tinyCutNetwork();
TinyNetwork tinySegmentationNetwork();

}  // namespace brellix::testing
