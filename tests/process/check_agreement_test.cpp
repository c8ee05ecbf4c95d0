#include "check_fixture.h"

#include <ostream>

namespace brellix::testing {
namespace {

using Change = std::function<void(onnx::ModelProto&)>;

onnx::TensorShapeProto& shapeOf(onnx::ValueInfoProto& value) {
    return *value.mutable_type()->mutable_tensor_type()->mutable_shape();
}

void addOutputOf(onnx::ModelProto& model, const std::string& operation) {
    onnx::GraphProto& graph = *model.mutable_graph();
    onnx::NodeProto& node = *graph.add_node();
    node.set_op_type(operation);
    node.add_input(graph.input(0).name());
    node.add_output("further");
    graph.add_output()->CopyFrom(graph.input(0));
    graph.mutable_output(graph.output_size() - 1)->set_name("further");
}

/// What is done to a network; the first is nothing.
std::vector<Change> changes() {
    return {
        [](onnx::ModelProto&) {},
        [](onnx::ModelProto& model) { setTypes(model, onnx::TensorProto::FLOAT16); },
        [](onnx::ModelProto& model) { setTypes(model, onnx::TensorProto::DOUBLE); },
        [](onnx::ModelProto& model) { setTypes(model, onnx::TensorProto::UINT8); },
        [](onnx::ModelProto& model) { openShapes(model); },
        [](onnx::ModelProto& model) { shapeOf(*model.mutable_graph()->mutable_input(0)).clear_dim(); },
        [](onnx::ModelProto& model) { model.mutable_graph()->mutable_output()->RemoveLast(); },
        [](onnx::ModelProto& model) { model.mutable_graph()->mutable_output(0)->set_name("nobody's"); },
        [](onnx::ModelProto& model) { model.mutable_graph()->mutable_node(0)->set_op_type("Nothing"); },
        [](onnx::ModelProto& model) { model.mutable_opset_import(0)->set_version(99); },
        [](onnx::ModelProto& model) { model.mutable_opset_import(0)->set_version(17); },
        [](onnx::ModelProto& model) {
            model.mutable_graph()->mutable_initializer(0)->set_data_location(onnx::TensorProto::EXTERNAL);
        },
        [](onnx::ModelProto& model) { addOutputOf(model, "Relu"); },
        [](onnx::ModelProto& model) { addOutputOf(model, "Erf"); },
        [](onnx::ModelProto& model) { addOutputOf(model, "QuantizeLinear"); },
        [](onnx::ModelProto& model) { model.mutable_graph()->mutable_input(0)->set_name("other"); },
        [](onnx::ModelProto& model) {
            shapeOf(*model.mutable_graph()->mutable_input(0)).mutable_dim(0)->set_dim_value(2);
        },
        [](onnx::ModelProto& model) {
            shapeOf(*model.mutable_graph()->mutable_output(0)).mutable_dim(1)->set_dim_value(9);
        },
        [](onnx::ModelProto& model) {
            shapeOf(*model.mutable_graph()->mutable_output(0)).add_dim()->set_dim_value(1);
        },
        [](onnx::ModelProto& model) { model.clear_graph(); },
    };
}

struct Subject {
    const char* model;
    const char* config;
    const char* network;
};

std::ostream& operator<<(std::ostream& stream, const Subject& subject) {
    return stream << subject.config;
}

class CheckAgreement : public CheckTest, public ::testing::WithParamInterface<Subject> {};

/// A check that passes is a promise: the engine takes the network, and a run gives a result. A check that
/// does not pass is one, too: nothing runs.
TEST_P(CheckAgreement, RunsStartExactlyWhereTheCheckPasses) {
    const Subject subject = GetParam();
    const std::string original = readText(subject.network);
    writeText(subject.config, std::string("model: ") + subject.model + '\n' + readText(subject.config));
    std::size_t passed = 0;
    std::size_t number = 0;
    for (const Change& alteration : changes()) {
        writeText(subject.network, original);
        change(subject.network, subject.network, alteration);
        const ProgramResult checked = run({"check", subject.config, "--json"});
        const ProgramResult detected = run({"detect", subject.config, "a.png", "--json", "-"});
        const std::string about = "alteration " + std::to_string(number) + ": " + checked.out + detected.err;
        ASSERT_TRUE(checked.status == 0 || checked.status == 1) << about;
        EXPECT_EQ(detected.status, checked.status == 0 ? 0 : 2) << about;
        EXPECT_EQ(checked.err, "") << about;
        passed += checked.status == 0 ? 1 : 0;
        ++number;
    }
    EXPECT_GE(passed, 2U);
    EXPECT_LE(passed, number / 2);
}

INSTANTIATE_TEST_SUITE_P(EachModel, CheckAgreement,
                         ::testing::Values(Subject{"yolov5", "model.yaml", "network.onnx"},
                                           Subject{"yolov5_cutoff", "cut.yaml", "cut.onnx"},
                                           Subject{"yolov8_seg", "seg.yaml", "seg.onnx"},
                                           Subject{"yolov8_seg", "seg8.yaml", "seg.onnx"}));

}  // namespace
}  // namespace brellix::testing
