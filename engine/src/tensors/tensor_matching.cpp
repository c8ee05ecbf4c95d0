#include "tensors/tensor_matching.h"

#include <algorithm>

namespace ai_orvo::alg::common {

const TensorDescription* matchTensor(const std::vector<TensorDescription>& tensors, const std::string& name,
                                     std::size_t namedTensors) {
    const auto found = std::find_if(tensors.begin(), tensors.end(),
                                    [&name](const TensorDescription& tensor) { return tensor.name == name; });
    if (found != tensors.end()) {
        return &*found;
    }
    return namedTensors == 1 && tensors.size() == 1 ? &tensors.front() : nullptr;
}

std::string listTensors(const std::vector<TensorDescription>& tensors) {
    std::string text;
    for (const TensorDescription& tensor : tensors) {
        text += text.empty() ? "" : ", ";
        text += "'" + tensor.name + "' (" + tensor.describeShape() + ")";
    }
    return text.empty() ? "none" : text;
}

}  // namespace ai_orvo::alg::common
