#pragma once

/// \file
/// YOLOv5 detector for networks with their detection layer.

#include "brellix/cv_model.h"
#include "brellix/export.h"
#include "brellix/letterbox.h"

#include <opencv2/core.hpp>

#include <string>
#include <vector>

namespace ai_orvo::model {

/// YOLOv5 detector for a network with one fused output of decoded candidates.
///
/// | tensor | direction | element | layout | size in elements |
/// |---|---|---|---|---|
/// | "image" | input | float32, 0 to 1, RGB | 1 x 3 x height x width | 3 * width * height |
/// | "output0" | output | float32 | 1 x num_candidates x (class_num + 5) | (class_num + 5) * num_candidates |
///
/// A candidate's row holds cx, cy, w, h (network pixels), objectness and the class scores.
/// `num_candidates` is 3 * the sum over the strides s of (width / s) * (height / s).
/// Objectness and the best class score each have to exceed the confidence threshold; `Object::prob` is
/// their product and may lie below it. Boxes hold whole numbers, truncated toward zero.
///
/// Every `postprocess` writes one line that begins with "dw: " to standard output, the destructor one that
/// says "Destruct yolov5". Models on several threads share standard output: their lines stay whole as long as
/// the application leaves it synchronised with stdio (`std::ios::sync_with_stdio`).
class BRELLIX_API YOLOv5 : public CvModel {
  public:
    /// \param model_path path of the compiled network.
    /// \param framework  "TensorRT" or "RKNN", exactly. Any other name is reported on standard output and
    ///                   **ends the process with status 0**.
    /// \param inputSize  width and height of the network input in pixels.
    /// \param conf       confidence threshold, not range-checked.
    /// \param nms        overlap threshold of the suppression, not range-checked.
    /// \param classNum   classes that the network predicts.
    /// Whether the engine accepted the network is not reported.
    YOLOv5(const std::string& model_path, std::string framework, cv::Size inputSize, float conf, float nms,
           int classNum);

    /// Reads "model_path", "conf_thres", "nms_thres", "class_num" and "input_size" from a YAML file
    /// (docs/configuration.md).
    /// \throws YAML::BadFile where it cannot be read, std::ios_base::failure where it is a folder,
    ///         YAML::ParserException where it is not YAML, YAML::BadSubscript (a single value in place of
    ///         keys), YAML::InvalidNode (names the missing key), YAML::BadConversion, std::out_of_range
    ///         (fewer than two elements in "input_size").
    explicit YOLOv5(const std::string& config_path);

    ~YOLOv5() override;

    void detect(const cv::Mat& image, std::vector<Object>& objects) override;
    void postprocess(TensorMap& outputs, std::vector<Object>& objects) override;

    cv::Size input_size{640, 640};  ///< width and height of the network input in pixels
    /// How `detect` letterboxed its last image; `postprocess` maps boxes back with it.
    LetterboxInfo letterbox_info{1.0F, 0.0F, 0.0F, 0.0F, 0.0F};
    float conf_thres = 0.25F;      ///< confidence threshold, read at each `postprocess`
    float nms_thres = 0.65F;       ///< overlap threshold of the suppression, read at each `postprocess`
    int class_num = 80;            ///< classes that the network predicts
    int strides[3] = {8, 16, 32};  ///< network pixels a cell of each head
    int num_candidates = 0;        ///< rows of "output0", set by the constructor
};

}  // namespace ai_orvo::model
