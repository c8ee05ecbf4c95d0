// Forms of operators that OpenCV 4.6 would compute wrongly without a word are refused on opencv_dnn or
// rewritten; the forms beside them run, with the values that ONNX defines.

#include <algorithm>
#include <cmath>
#include <functional>
#include <numeric>
#include <opencv2/core/version.hpp>

#include "engine_fixture.h"

namespace brellix::testing {
namespace {

class OnOpencv : public EngineTest {
  protected:
    std::vector<float> run(const TensorMap& given, std::size_t count) {
        TensorMap inputs = given;
        TensorMap outputs{{"out", byteBuffer(count * sizeof(float))}};
        expectSilentSuccess(infer(inputs, outputs));
        return floatsOf(outputs["out"]);
    }

  private:
    const EnvironmentVariable backend_{"BRELLIX_ENGINE_BACKEND", "opencv_dnn"};
};

std::size_t countOf(const Shape& shape) {
    return static_cast<std::size_t>(
        std::accumulate(shape.begin(), shape.end(), std::int64_t{1}, std::multiplies<>()));
}

void expectNear(const std::vector<float>& found, const std::vector<float>& expected) {
    ASSERT_EQ(found.size(), expected.size());
    for (std::size_t i = 0; i < found.size(); ++i) {
        ASSERT_NEAR(found[i], expected[i], 1e-4F) << "element " << i;
    }
}

/// Positive values, no two alike.
std::vector<float> distinct(std::size_t count, float first) {
    std::vector<float> values(count);
    for (std::size_t i = 0; i < count; ++i) {
        values[i] = first + 0.37F * static_cast<float>(i * 7 % count);
    }
    return values;
}

enum class Operand { kComputed, kInitializer, kConstantNode };

struct Operation {
    std::string opType;
    Shape left;
    Shape right;
    Operand leftKind = Operand::kComputed;
    Operand rightKind = Operand::kComputed;
};

std::string nameOf(const Shape& shape) {
    std::string name;
    for (const std::int64_t extent : shape) {
        name += (name.empty() ? "" : "x") + std::to_string(extent);
    }
    return name.empty() ? "scalar" : name;
}

void PrintTo(const Operation& operation, std::ostream* stream) {
    static const char* const kKinds[] = {"", " stored", " constant"};
    *stream << operation.opType << " of " << nameOf(operation.left)
            << kKinds[static_cast<int>(operation.leftKind)] << " and " << nameOf(operation.right)
            << kKinds[static_cast<int>(operation.rightKind)];
}

Shape resultOf(const Operation& operation) {
    Shape result(std::max(operation.left.size(), operation.right.size()), 1);
    for (const Shape* shape : {&operation.left, &operation.right}) {
        const std::size_t missing = result.size() - shape->size();
        for (std::size_t axis = 0; axis < shape->size(); ++axis) {
            result[axis + missing] = std::max(result[axis + missing], (*shape)[axis]);
        }
    }
    return result;
}

/// The operand's element that meets element `index` of the result.
std::size_t elementAt(const Shape& operand, const Shape& result, std::size_t index) {
    std::size_t element = 0;
    std::size_t stride = 1;
    for (std::size_t back = 1; back <= operand.size(); ++back) {
        const auto extent = static_cast<std::size_t>(result[result.size() - back]);
        const auto own = static_cast<std::size_t>(operand[operand.size() - back]);
        element += own == 1 ? 0 : index % extent * stride;
        stride *= own;
        index /= extent;
    }
    return element;
}

float computed(const std::string& opType, float left, float right) {
    if (opType == "Mul") {
        return left * right;
    }
    if (opType == "Div") {
        return left / right;
    }
    return opType == "Sub" ? left - right : left + right;
}

class OperationOnOpencv : public OnOpencv, public ::testing::WithParamInterface<Operation> {
  protected:
    NetworkBuilder network() {
        NetworkBuilder network;
        add(network, "left", GetParam().left, GetParam().leftKind, left_);
        add(network, "right", GetParam().right, GetParam().rightKind, right_);
        network.output("out", resultOf(GetParam())).node(GetParam().opType, {"left", "right"}, {"out"});
        return network;
    }

    std::vector<float> expected() const {
        const Shape result = resultOf(GetParam());
        std::vector<float> values(countOf(result));
        for (std::size_t i = 0; i < values.size(); ++i) {
            values[i] = computed(GetParam().opType, left_[elementAt(GetParam().left, result, i)],
                                 right_[elementAt(GetParam().right, result, i)]);
        }
        return values;
    }

    TensorMap inputs_;

  private:
    void add(NetworkBuilder& network, const std::string& name, const Shape& shape, Operand kind,
             const std::vector<float>& values) {
        if (kind == Operand::kComputed) {
            network.input(name + "_in", shape).node("Relu", {name + "_in"}, {name});
            inputs_[name + "_in"] = floatTensor(values);
            return;
        }
        network.floats(name, shape, values);
        if (kind == Operand::kConstantNode) {
            const onnx::TensorProto tensor = *network.graph().mutable_initializer()->rbegin();
            network.graph().mutable_initializer()->RemoveLast();
            network.node("Constant", {}, {name});
            onnx::AttributeProto& attribute = *network.graph().mutable_node()->rbegin()->add_attribute();
            attribute.set_name("value");
            attribute.set_type(onnx::AttributeProto::TENSOR);
            *attribute.mutable_t() = tensor;
        }
    }

    const std::vector<float> left_ = distinct(countOf(GetParam().left), 1.0F);
    const std::vector<float> right_ = distinct(countOf(GetParam().right), 2.0F);
};

class RefusedOperationOnOpencv : public OperationOnOpencv {};

TEST_P(RefusedOperationOnOpencv, IsRefused) {
    if (CV_VERSION_MAJOR > 4 || CV_VERSION_MINOR >= 7) {
        GTEST_SKIP() << "OpenCV " << CV_VERSION << " matches operands by ONNX's rules";
    }
    expectRefusal(init(configFor(network())), 4,
                  {"operator " + GetParam().opType + " 'node_out'", nameOf(GetParam().left),
                   nameOf(GetParam().right), "run it on the back-end onnxruntime"});
}

constexpr Operand kStored = Operand::kInitializer;
constexpr Operand kConstant = Operand::kConstantNode;
constexpr Operand kComputed = Operand::kComputed;

INSTANTIATE_TEST_SUITE_P(Forms, RefusedOperationOnOpencv,
                         ::testing::Values(Operation{"Add", {1, 4, 6, 6}, {1, 4, 1, 6}, kComputed, kStored},
                                           Operation{"Sub", {1, 4, 6, 6}, {1, 4, 1, 6}, kComputed, kStored},
                                           Operation{"Mul", {1, 4, 6, 6}, {1, 4, 1, 6}, kComputed, kStored},
                                           Operation{"Div", {1, 4, 6, 6}, {1, 4, 1, 6}, kComputed, kStored},
                                           Operation{"Add", {1, 4, 6, 6}, {1, 4, 1, 6}},
                                           Operation{"Sub", {1, 4, 6, 6}, {1, 4, 1, 6}},
                                           Operation{"Sum", {1, 4, 6, 6}, {1, 4, 1, 6}},
                                           Operation{"Add", {1, 4, 1, 6}, {1, 4, 6, 6}},
                                           Operation{"Mul", {1, 6, 6, 6}, {6}, kComputed, kStored},
                                           Operation{"Mul", {1, 6, 6, 6}, {6, 1}, kComputed, kStored},
                                           Operation{"Add", {1, 6, 6, 6}, {6}, kComputed, kConstant},
                                           Operation{"Add", {1, 6, 6, 6}, {1, 6}, kComputed, kStored},
                                           Operation{"Add", {1, 6, 6, 6}, {1, 1, 6, 6}, kComputed, kStored},
                                           Operation{"Mul", {6, 6}, {6, 1}, kComputed, kStored},
                                           Operation{"Add", {6, 6}, {6, 1}},
                                           Operation{"Div", {1, 4, 1, 1}, {1, 4, 6, 6}, kStored, kComputed},
                                           Operation{"Div", {1, 4, 6, 6}, {1, 4, 6, 6}, kStored, kComputed},
                                           Operation{"Div", {1, 4, 1, 1}, {1, 4, 6, 6}}));

class RightOperationOnOpencv : public OperationOnOpencv {};

TEST_P(RightOperationOnOpencv, GivesWhatOnnxDefines) {
    const NetworkBuilder builder = network();
    expectSilentSuccess(init(configFor(builder)));
    expectNear(run(inputs_, countOf(resultOf(GetParam()))), expected());
}

INSTANTIATE_TEST_SUITE_P(Forms, RightOperationOnOpencv,
                         ::testing::Values(Operation{"Add", {1, 6, 6, 6}, {}, kComputed, kStored},
                                           Operation{"Div", {}, {1, 6, 6, 6}, kStored, kComputed},
                                           Operation{"Add", {1, 6, 6, 6}, {6, 1, 1}, kComputed, kStored},
                                           Operation{"Sub", {1, 6, 1, 1}, {1, 6, 6, 6}, kStored, kComputed},
                                           Operation{"Mul", {1, 6, 6, 6}, {1, 6, 1, 1}, kComputed, kConstant},
                                           Operation{"Div", {1, 6, 6, 6}, {1, 6, 1, 1}, kComputed, kStored},
                                           Operation{"Add", {1, 6, 6, 6}, {6, 6}, kComputed, kStored},
                                           Operation{"Add", {1, 6, 6, 6}, {1, 6, 6, 6}, kComputed, kStored},
                                           Operation{"Sub", {1, 6, 6, 6}, {1, 6, 6, 6}},
                                           Operation{"Add", {1, 6, 6, 6}, {1, 6, 1, 1}},
                                           Operation{"Mul", {1, 6, 6, 6}, {1, 6, 1, 6}},
                                           Operation{"Mul", {1, 6, 1, 1}, {1, 6, 6, 6}},
                                           Operation{"Div", {1, 6, 6, 6}, {1, 1, 6, 6}},
                                           Operation{"Sub", {1, 2, 6}, {2, 6}, kComputed, kStored},
                                           Operation{"Add", {1, 2, 6}, {1, 2, 6}, kStored, kComputed},
                                           Operation{"Mul", {6, 6}, {6}, kComputed, kStored}));

struct Form {
    std::string name;
    std::function<NetworkBuilder()> network;
    std::vector<std::string> words;
};

void PrintTo(const Form& form, std::ostream* stream) {
    *stream << form.name;
}

/// One node of a 1x4x6x6 input.
NetworkBuilder oneNode(const std::string& opType, const Shape& result, std::int64_t opset = 12) {
    NetworkBuilder network(opset);
    network.input("in", {1, 4, 6, 6}).output("out", result).node(opType, {"in"}, {"out"});
    return network;
}

NetworkBuilder averagePool(const std::string& producer, std::int64_t countsPads) {
    NetworkBuilder network = oneNode("AveragePool", {1, 4, 3, 3});
    network.integers("kernel_shape", {3, 3}).integers("strides", {2, 2}).integers("pads", {1, 1, 1, 1});
    network.integer("count_include_pad", countsPads);
    network.model().set_producer_name(producer);
    return network;
}

NetworkBuilder resizing(float factor, const std::string& mode, const std::string& coordinates,
                        const std::string& rounding) {
    const auto extent = static_cast<std::int64_t>(6.0F * factor);
    NetworkBuilder network;
    network.input("in", {1, 4, 6, 6}).output("out", {1, 4, extent, extent});
    network.floats("roi", {0}, {}).floats("scales", {4}, {1.0F, 1.0F, factor, factor});
    network.node("Resize", {"in", "roi", "scales"}, {"out"}).text("mode", mode);
    network.text("coordinate_transformation_mode", coordinates).text("nearest_mode", rounding);
    return network;
}

NetworkBuilder castThereAndBack(std::int64_t type) {
    NetworkBuilder network;
    network.input("in", {1, 4, 6, 6}).output("out", {1, 4, 6, 6});
    network.node("Cast", {"in"}, {"there"}).integer("to", type);
    network.node("Cast", {"there"}, {"out"}).integer("to", onnx::TensorProto::FLOAT);
    return network;
}

NetworkBuilder slopes(const Shape& shape) {
    NetworkBuilder network;
    network.input("in", {1, 4, 6, 6}).output("out", {1, 4, 6, 6});
    network.floats("slope", shape, distinct(countOf(shape), 0.1F)).node("PRelu", {"in", "slope"}, {"out"});
    return network;
}

class FormOnOpencv : public OnOpencv, public ::testing::WithParamInterface<Form> {};

TEST_P(FormOnOpencv, IsRefused) {
    std::vector<std::string> words = GetParam().words;
    words.emplace_back("run it on the back-end onnxruntime");
    expectRefusal(init(configFor(GetParam().network())), 4, words);
}

INSTANTIATE_TEST_SUITE_P(
    Forms, FormOnOpencv,
    ::testing::Values(Form{"older softmax of an axis in the middle",
                           [] {
                               return oneNode("Softmax", {1, 4, 6, 6}).integer("axis", 1);
                           },
                           {"operator Softmax 'node_out'", "axis 1 alone"}},
                      Form{"older softmax without an axis",
                           [] {
                               return oneNode("LogSoftmax", {1, 4, 6, 6});
                           },
                           {"LogSoftmax"}},
                      Form{"padding to be counted",
                           [] { return averagePool("", 1); },
                           {"AveragePool", "count_include_pad is 1"}},
                      Form{"padding not to be counted",
                           [] { return averagePool("pytorch", 0); },
                           {"AveragePool", "count_include_pad is 0"}},
                      Form{"nearest at half pixels, rounded down",
                           [] { return resizing(2.0F, "nearest", "half_pixel", "floor"); },
                           {"Resize", "half_pixel, floor from 6 to 12"}},
                      Form{"nearest with aligned corners",
                           [] { return resizing(2.0F, "nearest", "align_corners", "floor"); },
                           {"Resize", "align_corners"}},
                      Form{"nearest upwards",
                           [] { return resizing(2.0F, "nearest", "asymmetric", "ceil"); },
                           {"Resize", "ceil"}},
                      Form{"nearest by a fraction",
                           [] { return resizing(1.5F, "nearest", "asymmetric", "round_prefer_floor"); },
                           {"Resize", "from 6 to 9"}},
                      Form{"linear to one sample",
                           [] { return resizing(0.17F, "linear", "pytorch_half_pixel", "floor"); },
                           {"Resize", "linear from 6 to 1"}},
                      Form{"cast to whole numbers",
                           [] { return castThereAndBack(onnx::TensorProto::INT32); },
                           {"Cast", "whole ones"}},
                      Form{"cast to truth values",
                           [] { return castThereAndBack(onnx::TensorProto::BOOL); },
                           {"Cast", "truth values"}},
                      Form{"slopes along the width", [] { return slopes({6}); }, {"PRelu", "channels"}},
                      Form{"slopes of no channels",
                           [] {
                               return slopes({4, 6, 1});
                           },
                           {"PRelu", "channels"}}));

/// Values 0, 1, 2, ... of a 1x4x6x6 input.
TensorMap ascending() {
    std::vector<float> values(144);
    std::iota(values.begin(), values.end(), 0.0F);
    return {{"in", floatTensor(values)}};
}

class RightFormOnOpencv : public OnOpencv {};

TEST_F(RightFormOnOpencv, SoftmaxTakesTheLastAxisWhereNoneIsGiven) {
    expectSilentSuccess(init(configFor(oneNode("Softmax", {1, 4, 6, 6}, 13))));
    std::vector<float> row(6);
    for (std::size_t i = 0; i < 6; ++i) {
        row[i] = std::exp(static_cast<float>(i) - 5.0F);
    }
    const float sum = std::accumulate(row.begin(), row.end(), 0.0F);
    std::vector<float> expected;
    for (std::size_t i = 0; i < 144; ++i) {
        expected.push_back(row[i % 6] / sum);
    }
    expectNear(run(ascending(), 144), expected);
}

TEST_F(RightFormOnOpencv, OlderSoftmaxTakesItsLastAxis) {
    NetworkBuilder network = oneNode("Softmax", {1, 4, 6, 6});
    expectSilentSuccess(init(configFor(network.integer("axis", -1))));
    EXPECT_NEAR(run(ascending(), 144)[5], 0.6336913F, 1e-5F);
}

TEST_F(RightFormOnOpencv, SoftmaxMayBeSpelledOut) {
    NetworkBuilder network(13);
    network.input("in", {1, 4, 6, 6}).output("out", {1, 4, 6, 6}).int64s("axes", {2});
    network.node("ReduceMax", {"in"}, {"largest"}).integers("axes", {2}).integer("keepdims", 1);
    network.node("Sub", {"in", "largest"}, {"shifted"}).node("Exp", {"shifted"}, {"exponential"});
    network.node("ReduceSum", {"exponential", "axes"}, {"sum"}).integer("keepdims", 1);
    network.node("Div", {"exponential", "sum"}, {"out"});
    expectSilentSuccess(init(configFor(network)));
    EXPECT_NEAR(run(ascending(), 144)[30], 1.0F / (1.0F + std::exp(-6.0F)), 1e-4F);
}

TEST_F(RightFormOnOpencv, LowerPaddingStandsAtTheBeginning) {
    NetworkBuilder network = oneNode("MaxPool", {1, 4, 6, 6});
    expectSilentSuccess(
        init(configFor(network.integers("kernel_shape", {2, 2}).text("auto_pad", "SAME_LOWER"))));
    std::vector<float> identity(144);
    std::iota(identity.begin(), identity.end(),
              0.0F);  // each window ends at its own element, which is the largest
    expectNear(run(ascending(), 144), identity);
}

TEST_F(RightFormOnOpencv, PaddingThatIsNotToBeCountedIsNot) {
    expectSilentSuccess(init(configFor(averagePool("", 0))));
    EXPECT_NEAR(run(ascending(), 36)[0], (0.0F + 1.0F + 6.0F + 7.0F) / 4.0F, 1e-5F);
}

TEST_F(RightFormOnOpencv, PaddingThatIsToBeCountedIs) {
    expectSilentSuccess(init(configFor(averagePool("pytorch", 1))));
    EXPECT_NEAR(run(ascending(), 36)[0], (0.0F + 1.0F + 6.0F + 7.0F) / 9.0F, 1e-5F);
}

TEST_F(RightFormOnOpencv, NearestByAWholeFactorRepeatsEachSample) {
    expectSilentSuccess(init(configFor(resizing(2.0F, "nearest", "asymmetric", "floor"))));
    std::vector<float> expected;
    for (std::size_t i = 0; i < 576; ++i) {
        expected.push_back(static_cast<float>(i / 144 * 36 + i % 144 / 24 * 6 + i % 12 / 2));
    }
    expectNear(run(ascending(), 576), expected);
}

TEST_F(RightFormOnOpencv, ConcatOfOneInputGivesIt) {
    NetworkBuilder network = oneNode("Concat", {1, 4, 6, 6});
    expectSilentSuccess(init(configFor(network.integer("axis", 1))));
    EXPECT_EQ(run(ascending(), 144), floatsOf(ascending()["in"]));
}

TEST_F(RightFormOnOpencv, SlopesOfChannelsAreTheirs) {
    expectSilentSuccess(init(configFor(slopes({4, 1, 1}))));
    const std::vector<float> slope = distinct(4, 0.1F);
    std::vector<float> expected;
    for (std::size_t i = 0; i < 144; ++i) {
        expected.push_back(-slope[i / 36]);
    }
    expectNear(run({{"in", floatTensor(std::vector<float>(144, -1.0F))}}, 144), expected);
}

}  // namespace
}  // namespace brellix::testing
