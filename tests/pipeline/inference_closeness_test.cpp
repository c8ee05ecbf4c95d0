// Whole runs, inference included. Float networks are sums whose order the back-end chooses for each
// processor, so the objects are held against recorded ones within bounds, not by their bytes.

#include "brellix/model_zoo.h"
#include "shapes_files.h"
#include "support/temporary_folder.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <fstream>
#include <opencv2/imgcodecs.hpp>
#include <sstream>

namespace {

using namespace ai_orvo::model;
using namespace brellix::testing;

const std::string kRecord = BRELLIX_SOURCE_DIR "/tests/pipeline/recorded_objects.txt";
constexpr const char* kPictures[] = {"shapes_1_960x540.jpg", "shapes_3_640x800.jpg"};
constexpr float kConfidence = 0.45F;

/// How far an object may lie from the recorded one.
struct Bounds {
    float probability;
    float pixels;     ///< of each of the box's numbers
    float maskShare;  ///< of the recorded mask's pixels
};

/// Sums in another order moved probabilities by 5e-7 at most between x86-64 and arm64. Boxes are truncated to
/// whole pixels, so the least difference may show as one, and a mask's outline follows its logits.
constexpr Bounds kFloatBounds{1e-4F, 1.0F, 0.01F};

/// The least difference may move a byte to the next step of its grid. The coarsest step of a score is 0.19
/// before the logistic function, whose slope is 1/4 at most. A step of 0.14 in one of two equal bins moves a
/// side by 0.035 cells, and a cell is up to 96 pixels of these pictures.
constexpr Bounds kInt8Bounds{0.048F, 4.0F, 0.05F};

/// An object without its mask's pixels.
struct RecordedObject {
    int label;
    float probability;
    cv::Rect_<float> box;
    int maskPixels;
};

RecordedObject withoutPixels(const Object& object) {
    return {object.label, object.prob, object.rect, object.mask.empty() ? 0 : cv::countNonZero(object.mask)};
}

std::string lineOf(const std::string& key, const RecordedObject& object) {
    std::ostringstream line;
    line.precision(9);
    line << key << ' ' << object.label << ' ' << object.probability << ' ' << object.box.x << ' '
         << object.box.y << ' ' << object.box.width << ' ' << object.box.height << ' ' << object.maskPixels
         << '\n';
    return line.str();
}

/// The recorded objects of `key`.
std::vector<RecordedObject> recordedObjects(const std::string& key) {
    std::ifstream file(kRecord);
    std::vector<RecordedObject> objects;
    for (std::string line; std::getline(file, line);) {
        std::istringstream words(line);
        std::string lineKey;
        RecordedObject object{};
        words >> lineKey >> object.label >> object.probability >> object.box.x >> object.box.y >>
            object.box.width >> object.box.height >> object.maskPixels;
        if (lineKey == key) {
            objects.push_back(object);
        }
    }
    return objects;
}

void expectClose(const RecordedObject& actual, const RecordedObject& expected, const Bounds& bounds) {
    EXPECT_EQ(actual.label, expected.label);
    EXPECT_NEAR(actual.probability, expected.probability, bounds.probability);
    EXPECT_NEAR(actual.box.x, expected.box.x, bounds.pixels);
    EXPECT_NEAR(actual.box.y, expected.box.y, bounds.pixels);
    EXPECT_NEAR(actual.box.width, expected.box.width, bounds.pixels);
    EXPECT_NEAR(actual.box.height, expected.box.height, bounds.pixels);
    EXPECT_NEAR(actual.maskPixels, expected.maskPixels,
                bounds.maskShare * static_cast<float>(expected.maskPixels));
}

/// Compares the objects of one picture, or, with BRELLIX_WRITE_OBJECTS set, appends them to that file
/// instead.
void compareOrWrite(const std::vector<Object>& objects, const std::string& key, const Bounds& bounds) {
    if (const char* newRecord = std::getenv("BRELLIX_WRITE_OBJECTS")) {
        std::ofstream file(newRecord, std::ios::app);
        for (const Object& object : objects) {
            file << lineOf(key, withoutPixels(object));
        }
        ASSERT_TRUE(file.flush()) << newRecord << " cannot be written";
        return;
    }
    const std::vector<RecordedObject> expected = recordedObjects(key);
    ASSERT_FALSE(expected.empty()) << kRecord << " has no line for " << key;
    ASSERT_EQ(objects.size(), expected.size()) << key;
    for (std::size_t i = 0; i < objects.size(); ++i) {
        SCOPED_TRACE(key + " object " + std::to_string(i));
        expectClose(withoutPixels(objects[i]), expected[i], bounds);
    }
}

void run(CvModel& model, const std::string& name, const Bounds& bounds) {
    for (const std::string picture : kPictures) {
        std::vector<Object> objects;
        model.detect(cv::imread(shapesFile("demo/" + picture)), objects);
        ASSERT_EQ(last_run_report().inference_status, 0) << picture;
        compareOrWrite(objects, name + "/" + picture, bounds);
    }
}

template <typename Detector>
void runDetector(const std::string& name, const Bounds& bounds) {
    const TemporaryFolder folder;
    Detector model(folder.write("model.yaml", shapesConfig(name + ".yaml")));
    model.conf_thres = kConfidence;
    run(model, name, bounds);
}

void runSegmentation(const std::string& name, const Bounds& bounds) {
    YOLOv8Seg model(YAML::Load(shapesConfig(name + ".yaml")));
    model.confThreshold = kConfidence;
    run(model, name, bounds);
}

TEST(InferenceCloseness, FusedDetector) {
    runDetector<YOLOv5>("shapes_fused", kFloatBounds);
}

TEST(InferenceCloseness, CutDetectorInInt8) {
    runDetector<YOLOv5Cutoff>("shapes_cut", kInt8Bounds);
}

TEST(InferenceCloseness, Segmentation) {
    runSegmentation("shapes_seg", kFloatBounds);
}

TEST(InferenceCloseness, SegmentationInInt8) {
    runSegmentation("shapes_seg_int8", kInt8Bounds);
}

}  // namespace
