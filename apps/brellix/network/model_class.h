#pragma once

/// \file
/// The model classes by name.

#include <optional>
#include <string>
#include <vector>

namespace brellix::app {

enum class ModelClass { kYoloV5, kYoloV5Cutoff, kYoloV8Seg };

/// \return the name that "model" and --model take.
std::string nameOf(ModelClass modelClass);

/// \return all of these names.
std::vector<std::string> modelClassNames();

std::optional<ModelClass> modelClassNamed(const std::string& name);

/// \return the class that decodes such outputs: one is YOLOv5's, the three convolutions before its detection
///         layer are YOLOv5Cutoff's, "output0" to "output8" with "proto" are YOLOv8Seg's.
std::optional<ModelClass> modelClassWithOutputs(const std::vector<std::string>& outputs);

}  // namespace brellix::app
