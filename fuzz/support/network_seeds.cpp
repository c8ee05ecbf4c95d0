// Writes the networks that fuzzing begins with: usage: fuzz_network_seeds FOLDER

#include "network_builder.h"

#include <fstream>
#include <iostream>
#include <string>
#include <utility>
#include <vector>

namespace {

using brellix::testing::detectorLike;
using brellix::testing::NetworkBuilder;
using Floats = std::vector<float>;

NetworkBuilder headLike() {
    NetworkBuilder network;
    network.input("images", {1, 4, 2, 2}).output("output0", {1, 2, 2, 2}).output("output1", {1, 2, 2, 2});
    network.output("joined", {1, 6, 2, 2}).output("mean", {1, 4, 1, 1});
    network.node("Split", {"images"}, {"a", "b"}).integer("axis", 1).integers("split", {2, 2});
    network.node("Softmax", {"a"}, {"output0"}).integer("axis", 1);
    network.node("Exp", {"b"}, {"output1"});
    network.node("Concat", {"a", "b", "output0"}, {"joined"}).integer("axis", 1);
    network.node("ReduceMean", {"images"}, {"mean"}).integers("axes", {2, 3}).integer("keepdims", 1);
    return network;
}

NetworkBuilder quantized() {
    NetworkBuilder network(13);
    network.input("in", {1, 3, 2, 2})
        .output("out", {1, 3, 2, 2})
        .output("bytes", {1, 3, 2, 2}, onnx::TensorProto::INT8);
    network.floats("scale", {}, {0.5F}).byte("zero", onnx::TensorProto::INT8, 3);
    network.node("QuantizeLinear", {"in", "scale", "zero"}, {"bytes"});
    network.node("DequantizeLinear", {"bytes", "scale", "zero"}, {"out"});
    return network;
}

NetworkBuilder sliced() {
    NetworkBuilder network;
    network.input("in", {1, 3, 4, 4})
        .output("out", {1, 3, 2, 2})
        .output("padded", {1, 3, 6, 6})
        .output("flat", {1, 48});
    network.int64s("starts", {0, 1}).int64s("ends", {2, 3}).int64s("axes", {2, 3});
    network.int64s("pads", {0, 0, 1, 1, 0, 0, 1, 1});
    network.node("Slice", {"in", "starts", "ends", "axes"}, {"out"});
    network.node("Pad", {"in", "pads"}, {"padded"}).text("mode", "constant");
    network.node("Flatten", {"in"}, {"flat"}).integer("axis", 1);
    return network;
}

NetworkBuilder openShape() {
    NetworkBuilder network;
    network.input("in", {-1, 3, -1, -1}).outputWithoutShape("out");
    network.floats("slope", {3, 1, 1}, {0.1F, 0.2F, 0.3F});
    network.node("PRelu", {"in", "slope"}, {"out"});
    return network;
}

NetworkBuilder dense() {
    NetworkBuilder network;
    network.input("in", {1, 6}).output("out", {1, 4}).output("best", {1, 1}, onnx::TensorProto::INT64);
    network.floats("weights", {6, 4}, Floats(24, 0.5F)).floats("bias", {4}, {1, 2, 3, 4});
    network.node("Gemm", {"in", "weights", "bias"}, {"out"});
    network.node("ArgMax", {"out"}, {"best"}).integer("axis", 1);
    return network;
}

/// Somebody else's operator of a name that ONNX has, too.
NetworkBuilder twoDomains() {
    NetworkBuilder network;
    network.input("in", {1, 3, 2, 2}).output("out", {1, 3, 2, 2});
    network.node("Relu", {"in"}, {"positive"}).node("Softmax", {"positive"}, {"out"});
    network.graph().mutable_node(1)->set_domain("somebody.else");
    onnx::OperatorSetIdProto& opset = *network.model().add_opset_import();
    opset.set_domain("somebody.else");
    opset.set_version(1);
    return network;
}

}  // namespace

int main(int count, char** arguments) {
    if (count != 2) {
        std::cerr << "usage: " << arguments[0] << " FOLDER\n";
        return 2;
    }
    const std::vector<std::pair<std::string, NetworkBuilder>> seeds = {
        {"addition", brellix::testing::addition(1.0F)},
        {"arithmetic", brellix::testing::arithmetic()},
        {"dense", dense()},
        {"detector", detectorLike()},
        {"head", headLike()},
        {"open_shape", openShape()},
        {"quantized", quantized()},
        {"sliced", sliced()},
        {"two_domains", twoDomains()},
    };
    for (const auto& [name, network] : seeds) {
        std::ofstream file(std::string(arguments[1]) + "/" + name + ".onnx", std::ios::binary);
        file << network.bytes();
        if (!file.flush()) {
            std::cerr << "cannot write to " << arguments[1] << '\n';
            return 3;
        }
    }
    return 0;
}
