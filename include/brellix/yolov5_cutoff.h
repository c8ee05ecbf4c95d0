#pragma once

/// \file
/// YOLOv5 detector for networks cut before their detection layer.

#include "brellix/cv_model.h"
#include "brellix/export.h"
#include "brellix/letterbox.h"

#include <opencv2/core.hpp>

#include <string>
#include <vector>

namespace ai_orvo::model {

/// YOLOv5 detector whose network ends in three raw, 8-bit quantised head tensors.
///
/// | tensor | direction | element | layout | size in elements |
/// |---|---|---|---|---|
/// | "images" | input | uint8 | height x width x 3, BGR as the image | width * height * 3 |
/// | "/model.24/m.0/Conv_output_0" | output | int8, affine | channel, row, column; stride 8 | 3 * (class_num + 5) * cells |
/// | "/model.24/m.1/Conv_output_0" | output | int8, affine | same, stride 16 | same |
/// | "/model.24/m.2/Conv_output_0" | output | int8, affine | same, stride 32 | same |
///
/// Channel k of anchor a at row r and column c stands at
/// (a * (class_num + 5) + k) * gridH * gridW + r * gridW + c,
/// with gridW = width / stride and gridH = height / stride. Channels 0 to 3 are the box offsets, 4 is
/// the objectness logit, the rest are class logits. The anchors are fixed: networks trained with others do
/// not fit.
///
/// Objectness is tested as a raw byte, the class probability as a float; `Object::prob` is their product and
/// may lie below the threshold. Boxes hold whole numbers, truncated toward zero. Prints nothing.
///
/// Tensors that a failed inference left at zero, scale included, stand for a probability of one half
/// everywhere: below such a confidence threshold every cell is then an object. `last_run_report` tells.
class BRELLIX_API YOLOv5Cutoff : public CvModel {
  public:
    /// \param model_path path of the compiled network.
    /// \param framework  "TensorRT" or "RKNN", exactly. Any other name is reported on standard output and
    ///                   **ends the process with status 0**.
    /// \param inputSize  width and height of the network input in pixels.
    /// \param conf       confidence threshold, not range-checked.
    /// \param nms        overlap threshold of the suppression, not range-checked.
    /// \param classNum   classes that the network predicts.
    /// Whether the engine accepted the network is not reported.
    YOLOv5Cutoff(const std::string& model_path, std::string framework, cv::Size inputSize, float conf,
                 float nms, int classNum);

    /// Reads the same keys as `YOLOv5` from a YAML file; the back-end is RKNN.
    /// \throws as the path constructor of `YOLOv5` does.
    explicit YOLOv5Cutoff(const std::string& yaml_path);

    ~YOLOv5Cutoff() override;

    void detect(const cv::Mat& image, std::vector<Object>& objects) override;
    void postprocess(TensorMap& outputs, std::vector<Object>& objects) override;

    /// Decodes one head and appends its objects, in the order anchor, row, column.
    /// \param output  the head's tensor; one that is too short gives nothing, and so does a `class_num` above
    ///                `channels_per_anchor` - 5.
    /// \param head    0, 1 or 2; anything else gives nothing.
    /// \param objects appended to, before suppression.
    /// \return how many cells and anchors passed the objectness test, not how many objects were appended.
    int decodeBoxes(AIBuff& output, int head, std::vector<Object>& objects);

    cv::Size input_size{640, 640};  ///< width and height of the network input in pixels
    /// How `detect` letterboxed its last image; `postprocess` maps boxes back with it.
    LetterboxInfo letterbox_info{1.0F, 0.0F, 0.0F, 0.0F, 0.0F};
    float conf_thres = 0.25F;      ///< confidence threshold, read at each `postprocess`
    float nms_thres = 0.65F;       ///< overlap threshold of the suppression, read at each `postprocess`
    int class_num = 80;            ///< classes that the network predicts
    int strides[3] = {8, 16, 32};  ///< network pixels a cell of each head
    int channels_per_anchor = 85;  ///< `class_num` + 5, set by the constructor
    /// Anchors by head, width and height in network pixels. They take part in each `postprocess`.
    int anchors[3][3][2] = {
        {{10, 13}, {16, 30}, {33, 23}}, {{30, 61}, {62, 45}, {59, 119}}, {{116, 90}, {156, 198}, {373, 326}}};
};

}  // namespace ai_orvo::model
