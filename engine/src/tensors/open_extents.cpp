#include "tensors/open_extents.h"

#include <cmath>

#include "graph/element_types.h"
#include "refusal.h"
#include "tensors/tensor_matching.h"

namespace ai_orvo::alg::common {
namespace {

constexpr std::size_t kImageRank = 4;
constexpr std::size_t kBatchAxis = 0;
constexpr std::size_t kHeightAxis = 2;
constexpr std::size_t kWidthAxis = 3;

/// What a table says of the tensor; null where it says nothing.
template <class Value>
const Value* entryFor(const std::map<std::string, Value>& table, const EngineNetwork& network,
                      const TensorDescription& tensor) {
    for (const auto& [name, value] : table) {
        if (matchTensor(network.inputs(), name, table.size()) == &tensor) {
            return &value;
        }
    }
    return nullptr;
}

[[noreturn]] void refuse(const EngineNetwork& network, const TensorDescription& tensor,
                         const std::string& reason) {
    throw Refusal(Status::kBackendRefusal, "network '" + network.path() + "', input '" + tensor.name + "' (" +
                                               tensor.describeShape() + "): " + reason +
                                               ": export the network with a static shape (batch 1)");
}

/// A shape of the configuration that a tensor can really have.
void checkExtents(const EngineNetwork& network, const TensorDescription& tensor,
                  const std::vector<std::int64_t>& shape) {
    if (elementsOf(shape) == 0) {
        refuse(network, tensor, "the configuration's shape " + shapeText(shape) + " is none of a tensor");
    }
}

std::vector<std::size_t> openAxes(const std::vector<std::int64_t>& shape) {
    std::vector<std::size_t> axes;
    for (std::size_t axis = 0; axis < shape.size(); ++axis) {
        if (shape[axis] == kUnknownExtent) {
            axes.push_back(axis);
        }
    }
    return axes;
}

/// The root of a square number; 0 for any other.
std::int64_t squareRoot(std::int64_t value) {
    const auto root = static_cast<std::int64_t>(std::llround(std::sqrt(static_cast<double>(value))));
    return root * root == value ? root : 0;
}

class OpenInput {
  public:
    OpenInput(const EngineNetwork& network, const TensorDescription& tensor)
        : network_(network), tensor_(tensor), shape_(tensor.shape) {}

    void fillFrom(std::int64_t elements) {
        if (!tensor_.hasShape) {
            refuse(network_, tensor_, "the number of elements alone gives no shape");
        }
        std::vector<std::size_t> open = openAxes(shape_);
        if (open.size() > 1 && open.front() == kBatchAxis) {
            shape_[kBatchAxis] = 1;
            open.erase(open.begin());
        }
        if (open.size() == 1) {
            shape_[open.front()] = elements / knownElements();
        } else if (open == std::vector<std::size_t>{kHeightAxis, kWidthAxis} && shape_.size() == kImageRank) {
            fillSquare(elements / knownElements());
        } else {
            refuse(network_, tensor_, "it leaves more open than a number of elements can settle");
        }
    }

    const std::vector<std::int64_t>& shape() const { return shape_; }
    const std::string& assumption() const { return assumption_; }

  private:
    std::int64_t knownElements() const {
        std::int64_t known = 1;
        for (const std::int64_t extent : shape_) {
            known *= extent == kUnknownExtent ? 1 : extent;
        }
        return known;
    }

    void fillSquare(std::int64_t pixels) {
        const std::int64_t side = squareRoot(pixels);
        if (side == 0) {
            refuse(network_, tensor_,
                   "the configuration's " + std::to_string(pixels) +
                       " pixels are no square, so height and width do not follow");
        }
        shape_[kHeightAxis] = side;
        shape_[kWidthAxis] = side;
        assumption_ = "network '" + network_.path() + "' leaves the size of input '" + tensor_.name +
                      "' open; it is run on squares, " + shapeText(shape_) +
                      " (another shape needs an export with that static shape)";
    }

    const EngineNetwork& network_;
    const TensorDescription& tensor_;
    std::vector<std::int64_t> shape_;
    std::string assumption_;
};

}  // namespace

SettledInputs settleInputs(const AIEngineConfig& config, const EngineNetwork& network) {
    SettledInputs settled;
    for (const TensorDescription& tensor : network.inputs()) {
        const auto* const shape = entryFor(config.input_shapes, network, tensor);
        const int* const elements = entryFor(config.input_sizes, network, tensor);
        if (tensor.isStatic()) {
            settled.shapes.push_back(tensor.shape);
        } else if (shape != nullptr) {
            checkExtents(network, tensor, *shape);
            settled.shapes.push_back(*shape);
        } else if (elements != nullptr) {
            OpenInput input(network, tensor);
            input.fillFrom(*elements);
            settled.shapes.push_back(input.shape());
            settled.assumption += input.assumption();
        } else {
            refuse(network, tensor, "neither the file nor the configuration's tables give its size");
        }
    }
    return settled;
}

}  // namespace ai_orvo::alg::common
