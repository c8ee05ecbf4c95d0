#pragma once

/// \file
/// Which of the known networks a file holds.

#include "network/model_class.h"
#include "network/network_facts.h"

#include <opencv2/core.hpp>

#include <optional>
#include <string>

namespace brellix::app {

enum class NetworkKind {
    kFused,                   ///< rows of box, objectness and scores: what YOLOv5 decodes
    kFusedTransposed,         ///< the same with rows and columns exchanged
    kCut,                     ///< the three raw heads that YOLOv5Cutoff decodes
    kSegmentation,            ///< the nine raw heads and the prototypes that YOLOv8Seg decodes
    kSegmentationExport,      ///< a YOLOv8 segmentation network as it is exported
    kFusedWithMasks,          ///< a YOLOv5 segmentation network: no model decodes it
    kBoxesWithoutObjectness,  ///< a YOLOv8 detection network: no model decodes it
    kUnknown,
};

struct Recognition {
    NetworkKind kind = NetworkKind::kUnknown;
    std::optional<cv::Size> inputSize;  ///< where the file fixes it
    std::optional<int> classNum;        ///< likewise
};

Recognition recognise(const NetworkFacts& network);

/// \return "a YOLOv8 segmentation network as it is exported" and the like.
const char* describe(NetworkKind kind);

/// \return the class that is made for such networks.
std::optional<ModelClass> modelClassOf(NetworkKind kind);

/// \return the input size to prepare a network for whose file leaves it open: what its metadata say, else
///         640 x 640. Nothing where the file fixes the size.
std::optional<cv::Size> openInputSize(const NetworkFacts& network);

}  // namespace brellix::app
