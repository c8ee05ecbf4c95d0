#include "backends/onnxruntime/value_dependence.h"

#include "network_builder.h"

#include <gtest/gtest.h>

namespace brellix::testing {
namespace {

using ai_orvo::alg::common::mayFailOnValues;

// Looked at in the graph: ONNX Runtime 1.21 does not survive a whole number that is divided by 0.
TEST(NetworkThatMayFail, IsOneThatDividesByWhatItComputes) {
    NetworkBuilder network;
    network.input("in", {1, 2}).output("out", {1, 2}).floats("two", {1}, {2.0F});
    network.node("Div", {"in", "two"}, {"out"});
    EXPECT_FALSE(mayFailOnValues(network.graph(), {"in"}));
    network.graph().mutable_node(0)->set_input(1, "in");
    EXPECT_TRUE(mayFailOnValues(network.graph(), {"in"}));
}

}  // namespace
}  // namespace brellix::testing
