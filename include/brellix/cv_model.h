#pragma once

/// \file
/// The detection record and the interface that every model implements.

#include "brellix/ai_engine.h"
#include "brellix/export.h"

#include <opencv2/core.hpp>

#include <vector>

namespace ai_orvo::model {

using alg::common::AIBuff;
using alg::common::AIEngine;
using alg::common::AIEngineConfig;
using alg::common::TensorMap;

/// One detection. A value type; copies share the pixels of `mask` as copies of `cv::Mat` do.
struct Object {
    cv::Rect_<float> rect;  ///< top-left corner and size, in pixels of the source image
    int label = 0;          ///< class index; -1 from a model without classes
    float prob = 0.0F;      ///< confidence, 0 to 1
    cv::Mat mask;           ///< empty for the detectors; else 8-bit, as large as the source image, 0 or 255
};

/// A model: image in, objects out.
///
/// A derived class fills `config` in its constructor and calls `engine.Init(config)` last. One thread at a
/// time may use a model object, since `detect` leaves the image's letterbox record in it for `postprocess`;
/// that may be another thread each time. Separate objects are independent and may be used at the same time.
///
/// Neither operation reports engine failures: an output that the engine left alone is decoded as it stands,
/// so ask `last_run_report`. Exceptions of the engine, of OpenCV and of the standard library reach the caller
/// (`std::bad_alloc` or `cv::Exception` with `StsNoMem` where memory runs out; in a thread's very first frame
/// the C library may end the process where it cannot note what the thread keeps); `objects` then holds
/// nothing to rely on, and the model can be used for the next image.
///
/// Models may be used to the end of a thread and of the process, in destructors of thread-local and static
/// objects, too, as long as the engine serves them (docs/engine.md); nothing is logged after the logger's
/// end.
///
/// The order of the virtual functions and of the data members is part of the binary interface.
class BRELLIX_API CvModel {
  public:
    /// An engine without a network; the derived class makes it ready.
    CvModel() = default;
    CvModel(const CvModel&) = delete;
    CvModel& operator=(const CvModel&) = delete;
    /// Models may be deleted through this class.
    virtual ~CvModel();

    /// Finds the objects in an image.
    /// \param image   8-bit BGR image; may be a part of a larger one. One that is empty, or so thin that scaling
    ///                it to the network's size leaves a side without pixels, raises `cv::Exception`. Depth
    ///                and channels are not checked: what OpenCV accepts goes to the engine, which may refuse
    ///                it.
    /// \param objects receives the detections. Pass an empty vector: the detectors clear it first, the
    ///                segmentation model appends.
    virtual void detect(const cv::Mat& image, std::vector<Object>& objects) = 0;

    /// Decodes the engine's outputs for the image that `detect` letterboxed last, then suppresses overlaps.
    /// Called by `detect` through the virtual table, so that a derived class can replace decoding alone.
    /// \param outputs the engine's outputs by name; a missing name is inserted and decoded as empty.
    /// \param objects as for `detect`.
    virtual void postprocess(TensorMap& outputs, std::vector<Object>& objects) = 0;

    AIEngine engine;        ///< runs the network; `Init` was called once, by the constructor
    AIEngineConfig config;  ///< what `Init` was given; `detect` takes the outputs' sizes from it
};

}  // namespace ai_orvo::model
