#pragma once

/// \file
/// Drawing detections onto an image. Several threads may draw at once, each into a `res` of its own; where
/// memory runs out, `std::bad_alloc` or `cv::Exception` reaches the caller and `res` is left as it was.

#include "brellix/cv_model.h"
#include "brellix/export.h"

#include <opencv2/core.hpp>

#include <string>
#include <vector>

namespace ai_orvo::model {

/// Colours by class label (80 entries), three values each, used as the first three channels in order.
BRELLIX_API extern const std::vector<std::vector<unsigned int>> CLASS_COLORS;

/// Colours of masks by class label modulo 20 (20 entries), used likewise.
BRELLIX_API extern const std::vector<std::vector<unsigned int>> MASK_COLORS;

/// Draws each object's box and, at its top-left corner, its name and probability in per cent.
///
/// Boxes are rounded to whole pixels, ties to even.
///
/// \param image       8-bit image, usually BGR.
/// \param res         receives the drawing; may be the same matrix as `image`.
/// \param objs        objects in pixels of `image`.
/// \param class_names names by label.
/// \param colors      colours by label, three values 0 to 255 each.
/// \throws std::out_of_range for a label outside `class_names` or `colors`, or a colour of fewer than three
///         values; `res` is then left as it was.
BRELLIX_API void draw_objects(const cv::Mat& image, cv::Mat& res, const std::vector<Object>& objs,
                              const std::vector<std::string>& class_names,
                              const std::vector<std::vector<unsigned int>>& colors);

/// Colours each object's mask translucently, then draws boxes and larger labels as `draw_objects` does.
///
/// The picture is brightened even where there is no mask: the weights are 0.5 for it and 0.8 for the colours.
/// An object without a mask (a detector's) is not coloured but boxed.
///
/// \param image       8-bit BGR image.
/// \param res         receives the drawing; may be the same matrix as `image`.
/// \param objs        objects in pixels of `image`.
/// \param class_names names by label.
/// \param colors      colours of boxes and labels by label, three values 0 to 255 each.
/// \param mask_colors colours by label modulo 20, three values 0 to 255 each.
/// \throws std::out_of_range as `draw_objects`, and for a mask whose label's remainder is outside `mask_colors`;
///         cv::Exception for a mask that is not as large as the image. `res` is then left as it was.
BRELLIX_API void draw_objects_masks(const cv::Mat& image, cv::Mat& res, const std::vector<Object>& objs,
                                    const std::vector<std::string>& class_names,
                                    const std::vector<std::vector<unsigned int>>& colors,
                                    const std::vector<std::vector<unsigned int>>& mask_colors);

}  // namespace ai_orvo::model
