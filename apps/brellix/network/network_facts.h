#pragma once

/// \file
/// What a network file says of itself, read once.

#include <graph/network_description.h>

#include <map>
#include <string>

namespace brellix::app {

enum class NetworkFormat {
    kOnnx,     ///< read and described
    kForeign,  ///< of another format: what a board's own engine loads
    kDamaged,  ///< meant to be ONNX, and not readable as such
};

struct NetworkFacts {
    std::string path;
    NetworkFormat format = NetworkFormat::kOnnx;
    std::string reason;  ///< why it could not be read; empty for `kOnnx`
    // The rest is of an ONNX network only.
    onnx::ModelProto model;
    ai_orvo::alg::common::NetworkDescription description;
    std::map<std::string, std::string> metadata;
};

/// Reads the network as the engine does. A file that is no ONNX network is damaged where its name ends in
/// ".onnx" or where it is empty, else of another format.
NetworkFacts readNetworkFacts(const std::string& path);

}  // namespace brellix::app
