#include "check_fixture.h"

#include <algorithm>
#include <cstdlib>
#include <fstream>

namespace brellix::testing {

using nlohmann::json;

CheckTest::CheckTest() {
    ::setenv("BRELLIX_ENGINE_BACKEND", "opencv_dnn", 1);
}

json CheckTest::report(const std::string& config, const std::vector<std::string>& options) const {
    std::vector<std::string> arguments = {"check", config, "--json"};
    arguments.insert(arguments.end(), options.begin(), options.end());
    const ProgramResult result = run(arguments);
    EXPECT_EQ(result.err, "");
    const std::vector<json> lines = jsonLines(result.out);
    if (lines.size() != 1 || !lines[0].is_object()) {
        ADD_FAILURE() << "not one JSON object: " << result.out << result.err;
        return {};
    }
    EXPECT_EQ(result.status, lines[0].at("fits") ? 0 : 1);
    return lines[0];
}

json CheckTest::finding(const json& report, const std::string& what) {
    json found;
    for (const json& candidate : report.at("findings")) {
        if (candidate.at("what") == what) {
            EXPECT_TRUE(found.is_null()) << "twice: " << what;
            found = candidate;
        }
    }
    return found;
}

void CheckTest::expectFinding(const json& report, const std::string& what, const std::string& severity,
                              const std::vector<std::string>& words) {
    const json found = finding(report, what);
    if (found.is_null()) {
        ADD_FAILURE() << "nothing about " << what << " in: " << report.dump(1);
        return;
    }
    EXPECT_EQ(found.at("severity"), severity) << found;
    const std::string text = found.dump();
    for (const std::string& word : words) {
        const std::string escaped = json(word).dump();
        EXPECT_NE(text.find(escaped.substr(1, escaped.size() - 2)), std::string::npos)
            << word << " is not in: " << text;
    }
}

std::vector<std::string> CheckTest::errors(const json& report) {
    std::vector<std::string> names;
    for (const json& candidate : report.at("findings")) {
        if (candidate.at("severity") == "error") {
            names.push_back(candidate.at("what"));
        }
    }
    return names;
}

void CheckTest::change(const std::string& from, const std::string& to,
                       const std::function<void(onnx::ModelProto&)>& change) const {
    onnx::ModelProto model;
    ASSERT_TRUE(model.ParseFromString(readText(from)));
    change(model);
    writeText(to, model.SerializeAsString());
}

std::string CheckTest::replaced(std::string text, const std::string& from, const std::string& to) {
    const std::size_t start = text.find(from);
    return start == std::string::npos ? text : text.replace(start, from.size(), to);
}

void setTypes(onnx::ModelProto& model, onnx::TensorProto::DataType type) {
    onnx::GraphProto& graph = *model.mutable_graph();
    graph.mutable_input(0)->mutable_type()->mutable_tensor_type()->set_elem_type(type);
    for (onnx::ValueInfoProto& output : *graph.mutable_output()) {
        output.mutable_type()->mutable_tensor_type()->set_elem_type(type);
    }
}

void openShapes(onnx::ModelProto& model) {
    onnx::GraphProto& graph = *model.mutable_graph();
    const auto open = [](onnx::ValueInfoProto& value, int firstOpen) {
        onnx::TensorShapeProto& shape = *value.mutable_type()->mutable_tensor_type()->mutable_shape();
        for (int axis = firstOpen; axis < shape.dim_size(); ++axis) {
            shape.mutable_dim(axis)->set_dim_param("open");
        }
    };
    open(*graph.mutable_input(0), 2);
    for (onnx::ValueInfoProto& output : *graph.mutable_output()) {
        open(output, 0);
    }
}

}  // namespace brellix::testing
