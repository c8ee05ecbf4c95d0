// Networks trained on photographs, held against the objects that an independent decoder found.

#include "brellix/model_zoo.h"
#include "support/object_matching.h"
#include "support/temporary_folder.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <cstdlib>
#include <fstream>
#include <opencv2/imgcodecs.hpp>

namespace {

using namespace ai_orvo::model;
using brellix::testing::matchObjects;
using brellix::testing::TemporaryFolder;
using nlohmann::json;

/// How far our objects may lie from the expected ones.
struct Tolerance {
    float prob;
    float pixels;       ///< for each of x, y, width, height
    double minOverlap;  ///< of matched boxes
};

constexpr Tolerance kFloatNetwork{0.02F, 2.0F, 0.5};

class RealNetworks : public ::testing::Test {
  protected:
    void SetUp() override {
        const char* folder = std::getenv("BRELLIX_NETWORKS");
        if (folder == nullptr || *folder == '\0') {
            GTEST_SKIP() << "BRELLIX_NETWORKS names no folder of networks";
        }
        folder_ = folder;
        std::ifstream(folder_ + "/expected.json") >> expected_;
    }

    std::string networkPath(const std::string& name) const { return folder_ + "/" + name + ".onnx"; }

    std::string configText(const std::string& network) const {
        return "model_path: " + networkPath(network) +
               "\nconf_thres: 0.25\nnms_thres: 0.65\nclass_num: 80\ninput_size: [640, 640]\n";
    }

    void expectObjectsOf(CvModel& model, const std::string& network, const Tolerance& tolerance) const;

    std::string folder_;
    json expected_;
};

std::vector<Object> objectsFrom(const json& entries) {
    std::vector<Object> objects;
    for (const json& entry : entries) {
        const auto box = entry.at("box").get<std::vector<float>>();
        objects.push_back(
            {{box.at(0), box.at(1), box.at(2), box.at(3)}, entry.at("label"), entry.at("prob"), {}});
    }
    return objects;
}

void expectClose(const Object& found, const Object& expected, const Tolerance& tolerance) {
    EXPECT_NEAR(found.prob, expected.prob, tolerance.prob);
    EXPECT_NEAR(found.rect.x, expected.rect.x, tolerance.pixels);
    EXPECT_NEAR(found.rect.y, expected.rect.y, tolerance.pixels);
    EXPECT_NEAR(found.rect.width, expected.rect.width, tolerance.pixels);
    EXPECT_NEAR(found.rect.height, expected.rect.height, tolerance.pixels);
}

void RealNetworks::expectObjectsOf(CvModel& model, const std::string& network,
                                   const Tolerance& tolerance) const {
    ASSERT_FALSE(expected_.empty());
    for (const auto& [photo, byNetwork] : expected_.items()) {
        SCOPED_TRACE(photo);
        const std::vector<Object> expected = objectsFrom(byNetwork.at(network));
        std::vector<Object> found;
        model.detect(cv::imread(folder_ + "/photos/" + photo), found);
        ASSERT_EQ(last_run_report().inference_status, 0);

        const auto pairs = matchObjects(found, expected, tolerance.minOverlap);
        EXPECT_EQ(found.size(), expected.size());
        EXPECT_EQ(pairs.size(), expected.size());
        for (const auto& [ours, theirs] : pairs) {
            expectClose(found[ours], expected[theirs], tolerance);
        }
    }
}

TEST_F(RealNetworks, FusedDetectorFindsTheExpectedObjects) {
    const TemporaryFolder folder;
    YOLOv5 model(folder.write("fused.yaml", configText("yolov5n_fused_640")));
    ASSERT_EQ(last_run_report().init_status, 0);
    expectObjectsOf(model, "yolov5n_fused_640", kFloatNetwork);
}

}  // namespace
