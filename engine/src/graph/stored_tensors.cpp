#include "graph/stored_tensors.h"

#include <climits>
#include <cstdint>
#include <optional>
#include <vector>

#include "graph/element_types.h"
#include "refusal.h"

namespace ai_orvo::alg::common {
namespace {

std::vector<std::int64_t> shapeOf(const onnx::TensorProto& tensor) {
    return {tensor.dims().begin(), tensor.dims().end()};
}

/// Nothing where an extent is negative or the product exceeds what an ONNX file can hold.
std::optional<std::size_t> elementCountOf(const onnx::TensorProto& tensor) {
    std::size_t count = 1;
    for (const std::int64_t extent : tensor.dims()) {
        if (extent < 0 || extent > INT_MAX) {
            return std::nullopt;
        }
        count *= static_cast<std::size_t>(extent);
        if (count > INT_MAX) {
            return std::nullopt;
        }
    }
    return count;
}

/// How many elements the list that belongs to the tensor's type holds.
std::size_t listedElements(const onnx::TensorProto& tensor) {
    int entries = 0;
    switch (tensor.data_type()) {
        case onnx::TensorProto::FLOAT:
            entries = tensor.float_data_size();
            break;
        case onnx::TensorProto::COMPLEX64:
            entries = tensor.float_data_size() / 2;
            break;
        case onnx::TensorProto::DOUBLE:
            entries = tensor.double_data_size();
            break;
        case onnx::TensorProto::COMPLEX128:
            entries = tensor.double_data_size() / 2;
            break;
        case onnx::TensorProto::INT64:
            entries = tensor.int64_data_size();
            break;
        case onnx::TensorProto::UINT32:
        case onnx::TensorProto::UINT64:
            entries = tensor.uint64_data_size();
            break;
        case onnx::TensorProto::STRING:
            entries = tensor.string_data_size();
            break;
        default:
            entries = tensor.int32_data_size();
            break;
    }
    return static_cast<std::size_t>(entries);
}

int usedStorages(const onnx::TensorProto& tensor) {
    return (tensor.raw_data().empty() ? 0 : 1) + (tensor.float_data_size() > 0 ? 1 : 0) +
           (tensor.int32_data_size() > 0 ? 1 : 0) + (tensor.int64_data_size() > 0 ? 1 : 0) +
           (tensor.double_data_size() > 0 ? 1 : 0) + (tensor.uint64_data_size() > 0 ? 1 : 0) +
           (tensor.string_data_size() > 0 ? 1 : 0);
}

bool holdsWhatItClaims(const onnx::TensorProto& tensor) {
    const std::optional<std::size_t> count = elementCountOf(tensor);
    if (!count.has_value()) {
        return false;
    }
    if (usedStorages(tensor) > 1) {
        return false;
    }
    if (!tensor.raw_data().empty()) {
        const std::size_t size = elementTypeSize(tensor.data_type());
        return size > 0 && tensor.raw_data().size() == *count * size;
    }
    return listedElements(tensor) == *count;
}

class StoredTensorCheck {
  public:
    explicit StoredTensorCheck(const std::string& path) : path_(path) {}

    void graph(const onnx::GraphProto& graph) const {
        for (const onnx::TensorProto& initializer : graph.initializer()) {
            tensor(initializer);
        }
        for (const onnx::SparseTensorProto& initializer : graph.sparse_initializer()) {
            sparseTensor(initializer);
        }
        for (const onnx::NodeProto& item : graph.node()) {
            node(item);
        }
    }

    void node(const onnx::NodeProto& node) const {
        for (const onnx::AttributeProto& item : node.attribute()) {
            attribute(item);
        }
    }

  private:
    void tensor(const onnx::TensorProto& tensor) const {
        if (tensor.data_location() == onnx::TensorProto::EXTERNAL) {
            throw Refusal(Status::kBackendRefusal,
                          "network '" + path_ + "': the data of tensor '" + tensor.name() +
                              "' lie in another file: export the network as one file");
        }
        if (isLaterElementType(tensor.data_type())) {
            throw Refusal(Status::kBackendRefusal,
                          "network '" + path_ + "': tensor '" + tensor.name() + "' is stored as " +
                              elementTypeName(tensor.data_type()) +
                              ", an ONNX type that the engine does not know: export the network with weights "
                              "of float32, float16 or int8");
        }
        if (!holdsWhatItClaims(tensor)) {
            throw Refusal(Status::kNotAnOnnxNetwork,
                          "'" + path_ + "' is damaged: stored tensor '" + tensor.name() +
                              "' does not hold the data of its shape " + shapeText(shapeOf(tensor)) + " (" +
                              elementTypeName(tensor.data_type()) + "); fetch or export the file again");
        }
    }

    void sparseTensor(const onnx::SparseTensorProto& sparse) const {
        tensor(sparse.values());
        tensor(sparse.indices());
    }

    void attribute(const onnx::AttributeProto& attribute) const {
        if (attribute.has_t()) {
            tensor(attribute.t());
        }
        for (const onnx::TensorProto& item : attribute.tensors()) {
            tensor(item);
        }
        if (attribute.has_sparse_tensor()) {
            sparseTensor(attribute.sparse_tensor());
        }
        for (const onnx::SparseTensorProto& item : attribute.sparse_tensors()) {
            sparseTensor(item);
        }
        // The depth of nesting is bounded: protobuf refuses messages nested more than 100 deep.
        if (attribute.has_g()) {
            graph(attribute.g());
        }
        for (const onnx::GraphProto& item : attribute.graphs()) {
            graph(item);
        }
    }

    const std::string& path_;
};

}  // namespace

void checkStoredTensors(const onnx::ModelProto& model, const std::string& path) {
    const StoredTensorCheck check(path);
    check.graph(model.graph());
    for (const onnx::FunctionProto& function : model.functions()) {
        for (const onnx::NodeProto& node : function.node()) {
            check.node(node);
        }
    }
}

}  // namespace ai_orvo::alg::common
