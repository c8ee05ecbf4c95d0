#pragma once

/// \file
/// The model classes: their names, and what is particular about each.

#include <optional>
#include <string>
#include <vector>

namespace brellix::app {

enum class ModelClass { kYoloV5, kYoloV5Cutoff, kYoloV8Seg };

/// What is particular about a class.
struct ModelTraits {
    ModelClass modelClass;
    const char* name;          ///< what "model" and --model take
    const char* channelOrder;  ///< "rgb" or "bgr": in which order it feeds the colours

    /// Its probability is the product of two scores, each of which is held against the confidence threshold
    /// for itself.
    bool probabilityIsProduct = false;

    /// Its objects have masks, for which the network's input has to be square.
    bool makesMasks = false;

    /// Its configuration has "framework" and "is_quantized".
    bool readsBackEndKeys = false;

    /// It may ask the engine for 8-bit outputs, for which a calibration is.
    bool takesCalibration = false;
};

const ModelTraits& traitsOf(ModelClass modelClass);

/// \return `name` of the traits.
std::string nameOf(ModelClass modelClass);

/// \return all classes.
std::vector<ModelClass> modelClasses();

/// \return all names.
std::vector<std::string> modelClassNames();

std::optional<ModelClass> modelClassNamed(const std::string& name);

/// \return the class that decodes such outputs: one is YOLOv5's, the three convolutions before its detection
///         layer are YOLOv5Cutoff's, "output0" to "output8" with "proto" are YOLOv8Seg's.
std::optional<ModelClass> modelClassWithOutputs(const std::vector<std::string>& outputs);

}  // namespace brellix::app
