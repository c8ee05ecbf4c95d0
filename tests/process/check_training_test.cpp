#include "check_fixture.h"

namespace brellix::testing {
namespace {

using nlohmann::json;

constexpr const char* kOtherAnchors =
    "[[[5,6],[8,14],[15,11]],[[30,61],[62,45],[59,119]],[[116,90],[156,198],[373,326]]]";

class CheckTraining : public CheckTest {
  protected:
    /// The report on the cut network with these anchors in its metadata; none for an empty text.
    json withAnchors(const std::string& anchors) const {
        TinyNetwork network = tinyCutNetwork();
        network.metadata.erase("anchors");
        if (!anchors.empty()) {
            network.metadata["anchors"] = anchors;
        }
        writeTinyNetwork(path("cut.onnx"), network);
        return report("cut.yaml");
    }

    /// The report on the cut network that still holds the anchors of its heads as constants times `factor`.
    json withConstants(const std::vector<std::vector<float>>& heads, float factor) const {
        static_cast<void>(withAnchors(""));
        change("cut.onnx", "cut.onnx", [&](onnx::ModelProto& model) {
            for (std::size_t head = 0; head < heads.size(); ++head) {
                onnx::TensorProto& tensor = *model.mutable_graph()->add_initializer();
                tensor.set_name("anchors " + std::to_string(head));
                tensor.set_data_type(onnx::TensorProto::FLOAT);
                for (const int extent : {1, 3, 2, 2, 2}) {
                    tensor.add_dims(extent);
                }
                for (std::size_t anchor = 0; anchor < 3; ++anchor) {
                    for (int cell = 0; cell < 4; ++cell) {
                        tensor.add_float_data(heads[head][2 * anchor] * factor);
                        tensor.add_float_data(heads[head][2 * anchor + 1] * factor);
                    }
                }
            }
        });
        return report("cut.yaml");
    }
};

TEST_F(CheckTraining, OwnAnchorsOfACutNetworkAreRefusedWithTheReason) {
    const json answer = withAnchors(kOtherAnchors);
    EXPECT_EQ(errors(answer), std::vector<std::string>{"anchors"});
    expectFinding(answer, "anchors", "error",
                  {"5,6 8,14 15,11 / 30,61", "trained with its own", "10,13 16,30 33,23 / 30,61",
                   "\"model: yolov5\"", "without --cut"});
}

TEST_F(CheckTraining, TheModelsAnchorsPass) {
    expectFinding(withAnchors(kFixedAnchors), "anchors", "ok");
    expectFinding(withAnchors("[[[10.0, 13.0], [16, 30], [33, 23]], [[30, 61], [62, 45], [59, 119]],\n"
                              " [[116, 90], [156, 198], [373, 326]]]"),
                  "anchors", "ok");
}

TEST_F(CheckTraining, AnchorsThatTheFileDoesNotTellAreAWarning) {
    const json answer = withAnchors("");
    EXPECT_EQ(answer["fits"], true);
    expectFinding(answer, "anchors", "warning", {"the file does not tell them", "10,13 16,30 33,23"});
    const ProgramResult result = run({"detect", "cut.yaml", "a.png", "--json", "-"});
    EXPECT_EQ(result.status, 0);
    EXPECT_NE(result.err.find("brellix: warning: cut.onnx: anchors: the file does not tell them"),
              std::string::npos)
        << result.err;
}

TEST_F(CheckTraining, AnchorsThatCannotBeReadAreAWarning) {
    for (const char* text :
         {"many", "[[1,2],[3,4]]", "[[[10,13],[16,30]]]", "{}", "[[[1,2,3],[1,2],[1,2]],[],[]]",
          "[[[\"10\",13],[16,30],[33,23]],[[30,61],[62,45],[59,119]],[[116,90],[156,198],[373,326]]]"}) {
        expectFinding(withAnchors(text), "anchors", "warning", {"three lists of three pairs"});
    }
}

TEST_F(CheckTraining, AnchorsAreFoundAmongTheConstantsOfTheGraph) {
    const std::vector<std::vector<float>> fixed = {
        {10, 13, 16, 30, 33, 23}, {30, 61, 62, 45, 59, 119}, {116, 90, 156, 198, 373, 326}};
    std::vector<std::vector<float>> other = fixed;
    other[1][2] = 70.0F;
    expectFinding(withConstants(fixed, 1.0F), "anchors", "ok");
    expectFinding(withConstants(fixed, 4.0F), "anchors", "ok");
    expectFinding(withConstants(other, 1.0F), "anchors", "error", {"30,61 70,45"});
}

TEST_F(CheckTraining, OtherModelsHaveNoQuestionOfAnchors) {
    EXPECT_EQ(finding(report("model.yaml"), "anchors"), json());
    EXPECT_EQ(finding(report("seg.yaml"), "anchors"), json());
}

TEST_F(CheckTraining, ChannelOrderIsComparedWhereTheFileTells) {
    struct Case {
        const char* config;
        const char* network;
        const char* right;
        const char* wrong;
    };
    for (const Case& test :
         {Case{"model.yaml", "network.onnx", "rgb", "bgr"}, Case{"cut.yaml", "cut.onnx", "bgr", "rgb"},
          Case{"seg.yaml", "seg.onnx", "bgr", "rgb"}}) {
        const auto tell = [&](const std::string& order) {
            change(test.network, test.network, [&](onnx::ModelProto& model) {
                model.clear_metadata_props();
                onnx::StringStringEntryProto& entry = *model.add_metadata_props();
                entry.set_key("brellix_channels");
                entry.set_value(order);
            });
            return report(test.config);
        };
        expectFinding(report(test.config), "channels", "note", {"does not tell"});
        expectFinding(tell(test.right), "channels", "ok");
        expectFinding(tell(test.wrong), "channels", "error", {test.wrong, "red and blue would be exchanged"});
        expectFinding(tell("grey"), "channels", "warning", {"grey"});
    }
}

}  // namespace
}  // namespace brellix::testing
