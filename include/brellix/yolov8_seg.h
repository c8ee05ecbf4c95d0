#pragma once

/// \file
/// YOLOv8 instance segmentation.

#include "brellix/cv_model.h"
#include "brellix/export.h"
#include "brellix/letterbox.h"

#include <yaml-cpp/yaml.h>
#include <opencv2/core.hpp>

#include <string>
#include <vector>

namespace ai_orvo::model {

/// Expectation of the distance distributions of one cell, as "Generalized Focal Loss" (Li et al., 2020)
/// defines it: the mean of the bin numbers, weighted by the softmax of the side's logits. Pure.
///
/// \param logits 4 x `dflLen` logits: left, top, right, bottom, each `dflLen` bins. Large ones overflow to
///               NaN.
/// \param dflLen bins a side; below 1 nothing is written.
/// \param out    receives the four distances in cells.
/// \throws std::out_of_range where `logits` is too short.
///
/// Safe to call from several threads.
BRELLIX_API void computeDfl(std::vector<float>& logits, int dflLen, float out[4]);

/// YOLOv8 instance segmentation with prototype masks, float or int8: an object's mask is the sum of the
/// prototypes weighted by its coefficients ("YOLACT: Real-time Instance Segmentation", Bolya et al., 2019).
///
/// Head k has stride s = 8, 16, 32 and a grid of gridH = height / s by gridW = width / s cells.
///
/// | tensor | direction | element | layout | meaning |
/// |---|---|---|---|---|
/// | "images" | input | float32 0 to 1 | 1 x 3 x height x width | letterboxed image, BGR |
/// | "images" | input, RKNN | uint8 | height x width x 3 | the same |
/// | "output0", "3", "6" | output | float32 or int8 | 1 x 64 x gridH x gridW | distances: 4 sides x 16 bins |
/// | "output1", "4", "7" | output | float32 or int8 | 1 x classNum x gridH x gridW | class logits |
/// | "output2", "5", "8" | output | float32 or int8 | 1 x 32 x gridH x gridW | mask coefficients |
/// | "proto" | output | float32 or int8 | 1 x 32 x height / 4 x width / 4 | prototype masks |
///
/// Each object carries a mask as large as the source image, 255 inside the object, 0 elsewhere and everywhere
/// outside its box. An object whose box has no pixels has an empty, zero mask. The network input has to be
/// square: with any other shape `postprocess` raises `cv::Exception` as soon as something is found, or, where
/// the longer side less one of its two borders is no longer than the shorter side, gives skewed masks.
///
/// Tensors that a failed inference left at zero, scale included, stand for a probability of one half in every
/// cell: below such a confidence threshold `detect` then gives up to `maxDetections` objects of class 0.
/// `last_run_report` tells.
///
/// Every `detect` logs three lines through `brellix::Logger`, which models on several threads may do at once.
class BRELLIX_API YOLOv8Seg : public CvModel {
  public:
    /// Reads "model_path", "framework" ("TensorRT", "RKNN" or "ONNX"), "class_num", "conf_thres",
    /// "nms_thres", "input_size" and "is_quantized" (docs/configuration.md). An unknown framework and a
    /// network that the engine refuses are reported and **end the process with status 0**. Only one thread at
    /// a time may use a document of yaml-cpp, its copies and its parts, even for reading.
    /// \throws YAML::InvalidNode (names the missing key), YAML::BadConversion, YAML::BadSubscript (a single
    ///         value in place of keys), std::out_of_range (fewer than two elements in "input_size").
    explicit YOLOv8Seg(const YAML::Node& document);

    /// Loads the YAML file at `path` first.
    /// \throws YAML::BadFile where it cannot be read, std::ios_base::failure where it is a folder,
    ///         YAML::ParserException where it is not YAML, and what the other constructor throws.
    explicit YOLOv8Seg(const std::string& path);

    ~YOLOv8Seg() override;

    /// Finds the objects in an image, and their masks.
    /// \param image   as for `CvModel`.
    /// \param objects has to be empty: objects are appended, masks go to the first ones.
    void detect(const cv::Mat& image, std::vector<Object>& objects) override;

    /// Decodes the outputs, suppresses overlaps and makes the masks.
    /// \param outputs the engine's outputs by name; a missing name is inserted and gives nothing.
    /// \param objects as for `detect`.
    /// \throws cv::Exception where something is found and the network input is not square, see above, and for
    ///         an object whose right or lower distance overflows to NaN: its width or height may be negative.
    void postprocess(TensorMap& outputs, std::vector<Object>& objects) override;

    /// Decodes one head's candidates from float tensors and appends them to the four lists.
    ///
    /// A tensor that is missing or shorter than its grid gives no candidates.
    /// \param box             4 x `dflLen` x `gridH` x `gridW`: logits of the distances' bins.
    /// \param score           `classNum` x `gridH` x `gridW`: class logits.
    /// \param maskCoef        `maskCoefCount` x `gridH` x `gridW`: mask coefficients.
    /// \param gridH, gridW    the head's grid.
    /// \param inputHeight, inputWidth not used.
    /// \param stride          network pixels a cell.
    /// \param dflLen          bins a box side.
    /// \param boxes           boxes in whole source pixels, inside the image. An edge whose distance overflows
    ///                        to NaN is 0, so that a width or height may be negative.
    /// \param maskCoefs       `maskCoefCount` values a candidate.
    /// \param scores, classIds probability and class of a candidate.
    /// \param threshold       probability that the best class has to exceed.
    /// \return how many candidates were appended.
    int decodeBoxes_fp32(AIBuff& box, AIBuff& score, AIBuff& maskCoef, int gridH, int gridW, int inputHeight,
                         int inputWidth, int stride, int dflLen, std::vector<cv::Rect_<int>>& boxes,
                         std::vector<float>& maskCoefs, std::vector<float>& scores,
                         std::vector<int>& classIds, float threshold);

    /// The same from int8 tensors. Mask coefficients are `raw - zp` wrapped to 8 bits and not scaled.
    int decodeBoxes_i8(AIBuff& box, AIBuff& score, AIBuff& maskCoef, int gridH, int gridW, int inputHeight,
                       int inputWidth, int stride, int dflLen, std::vector<cv::Rect_<int>>& boxes,
                       std::vector<float>& maskCoefs, std::vector<float>& scores, std::vector<int>& classIds,
                       float threshold);

    /// Makes the prototype matrix: `maskCoefCount` rows of `protoHeight` x `protoWidth` floats. What the
    /// tensor lacks is 0.
    /// \param proto the tensor "proto".
    /// \param out   becomes the matrix, in memory of its own.
    void decodeMask_fp32(AIBuff& proto, cv::Mat& out);

    /// The same from an int8 tensor, as `raw - zp`, not scaled: only the sign of a mask logit counts.
    void decodeMask_i8(AIBuff& proto, cv::Mat& out);

    cv::Size inputSize{640, 640};  ///< width and height of the network input in pixels, equal
    /// How `detect` letterboxed its last image; `postprocess` maps boxes and masks back with it.
    LetterboxInfo letterboxInfo{1.0F, 0.0F, 0.0F, 0.0F, 0.0F};
    std::vector<std::vector<float>> spareLists;  ///< part of the layout; not used
    bool isQuantized = false;                    ///< whether the tensors are int8
    int protoWidth = 160;                        ///< columns of a prototype, a quarter of the input's
    int protoHeight = 160;                       ///< rows of a prototype, a quarter of the input's
    int maskCoefCount = 32;                      ///< prototypes, and coefficients an object
    float confThreshold = 0.25F;                 ///< confidence threshold, read at each `postprocess`
    float nmsThreshold = 0.65F;    ///< overlap threshold of the suppression, read at each `postprocess`
    int maxDetections = 100;       ///< objects that a `postprocess` gives at most, the most probable ones
    int strides[3] = {8, 16, 32};  ///< network pixels a cell of each head
    int classNum = 13;             ///< classes that the network predicts
};

}  // namespace ai_orvo::model
