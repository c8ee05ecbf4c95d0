#include "tensors/configuration_check.h"

#include <set>

#include "graph/element_types.h"
#include "refusal.h"
#include "tensors/tensor_matching.h"

namespace ai_orvo::alg::common {
namespace {

/// One line stays readable with a few differences; the rest are counted.
constexpr std::size_t kMostDifferencesTold = 4;

class Differences {
  public:
    void add(const std::string& difference) {
        if (count_ < kMostDifferencesTold) {
            text_ += text_.empty() ? "" : "; ";
            text_ += difference;
        }
        ++count_;
    }
    bool none() const { return count_ == 0; }
    std::string text() const {
        const bool all = count_ <= kMostDifferencesTold;
        return all ? text_ : text_ + "; and " + std::to_string(count_ - kMostDifferencesTold) + " more";
    }

  private:
    std::string text_;
    std::size_t count_ = 0;
};

/// The tables of one side, inputs or outputs, beside the network's tensors of that side.
struct Side {
    const char* kind;
    const std::map<std::string, int>& sizes;
    const std::map<std::string, std::vector<std::int64_t>>& shapes;
    const std::map<std::string, int>& types;
    const std::vector<TensorDescription>& tensors;

    std::string label(const std::string& name) const { return std::string(kind) + " '" + name + "': "; }
};

std::set<std::string> configuredNames(const Side& side) {
    std::set<std::string> names;
    for (const auto& entry : side.sizes) {
        names.insert(entry.first);
    }
    for (const auto& entry : side.shapes) {
        names.insert(entry.first);
    }
    for (const auto& entry : side.types) {
        names.insert(entry.first);
    }
    return names;
}

/// Whether some choice of the unknown extents gives that many elements.
bool canHoldElements(const TensorDescription& tensor, std::int64_t count) {
    if (!tensor.hasShape) {
        return count > 0;
    }
    std::int64_t known = 1;
    for (const std::int64_t extent : tensor.shape) {
        known *= extent == kUnknownExtent ? 1 : extent;
    }
    return tensor.isStatic() ? count == known : count > 0 && count % known == 0;
}

bool canHaveShape(const TensorDescription& tensor, const std::vector<std::int64_t>& shape) {
    if (!tensor.hasShape) {
        return true;
    }
    if (shape.size() != tensor.shape.size()) {
        return false;
    }
    for (std::size_t axis = 0; axis < shape.size(); ++axis) {
        if (tensor.shape[axis] != kUnknownExtent && tensor.shape[axis] != shape[axis]) {
            return false;
        }
    }
    return true;
}

std::string networkSays(const TensorDescription& tensor) {
    const std::string shape = "the network has " + tensor.describeShape();
    return tensor.isStatic() ? shape + " (" + std::to_string(tensor.elementCount()) + " elements)" : shape;
}

void compareTensor(const Side& side, const std::string& name, const TensorDescription& tensor,
                   Differences& differences) {
    const auto type = side.types.find(name);
    if (type != side.types.end() && type->second != kElementFloat32 && type->second != kElementInt8) {
        differences.add(side.label(name) + "the configuration's element type is " +
                        std::to_string(type->second) + ", expected 0 (int8) or 2 (float32)");
    }
    const auto shape = side.shapes.find(name);
    if (shape != side.shapes.end() && !canHaveShape(tensor, shape->second)) {
        differences.add(side.label(name) + "the configuration expects " + shapeText(shape->second) + ", " +
                        networkSays(tensor));
        return;
    }
    const auto size = side.sizes.find(name);
    if (size != side.sizes.end() && !canHoldElements(tensor, size->second)) {
        differences.add(side.label(name) + "the configuration expects " + std::to_string(size->second) +
                        " elements, " + networkSays(tensor));
    }
}

void compareSide(const Side& side, Differences& differences) {
    const std::set<std::string> names = configuredNames(side);
    for (const std::string& name : names) {
        const TensorDescription* tensor = matchTensor(side.tensors, name, names.size());
        if (tensor == nullptr) {
            differences.add(side.label(name) + "the network has no such " + side.kind + ", it has " +
                            listTensors(side.tensors));
        } else {
            compareTensor(side, name, *tensor, differences);
        }
    }
}

/// The network computes nothing before it has every input, so none may be missing from the configuration.
void compareInputCount(const Side& inputs, Differences& differences) {
    const std::size_t configured = configuredNames(inputs).size();
    if (configured != 0 && configured < inputs.tensors.size()) {
        differences.add("the configuration names " + std::to_string(configured) +
                        " input(s), the network needs " + listTensors(inputs.tensors));
    }
}

}  // namespace

void checkConfiguration(const AIEngineConfig& config, const EngineNetwork& network) {
    const Side inputs{"input", config.input_sizes, config.input_shapes, config.input_types, network.inputs()};
    const Side outputs{"output", config.output_sizes, config.output_shapes, config.output_types,
                       network.outputs()};
    Differences differences;
    compareSide(inputs, differences);
    compareInputCount(inputs, differences);
    compareSide(outputs, differences);
    if (!differences.none()) {
        throw Refusal(Status::kConfigurationMismatch,
                      "network '" + network.path() +
                          "' does not fit the configuration: " + differences.text() +
                          "; correct the input size and the class count, or export the network for them");
    }
}

}  // namespace ai_orvo::alg::common
