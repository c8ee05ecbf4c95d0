#include "evaluation/yolo_truth.h"

#include "refusal.h"
#include "support/temporary_folder.h"

#include <gtest/gtest.h>

#include <filesystem>

namespace brellix::testing {
namespace {

using namespace app;

/// A folder of files; pictures are never read, so that empty ones do.
class YoloTruth : public ::testing::Test {
  protected:
    std::string path(const std::string& name = "") const { return folder_.path() + '/' + name; }

    void write(const std::string& name, const std::string& text = "") const {
        std::filesystem::create_directories(std::filesystem::path(path(name)).parent_path());
        static_cast<void>(folder_.write(name, text));
    }

    GroundTruth read(const std::string& name = "") const { return readGroundTruth(path(name)); }

    void expectRefused(const std::vector<std::string>& words, const std::string& name = "") const {
        expectRefusal([&] { static_cast<void>(read(name)); }, words);
    }

    /// The objects of the first picture, placed on 200 x 100 pixels.
    static std::vector<TruthObject> place(const GroundTruth& truth) {
        TruthPicture picture = truth.dataset.pictures.at(0);
        placeLabels(truth.labels.at(0), truth.dataset, {200, 100}, picture);
        return picture.objects;
    }

    TemporaryFolder folder_;
};

TEST_F(YoloTruth, LabelsLieBesideTheirPictures) {
    write("a.jpg");
    write("a.txt", "2 0.5 0.5 0.25 0.5\n\n0 0.25 0.25 0.5 0.5\r\n");
    const GroundTruth truth = read();
    ASSERT_EQ(truth.dataset.categories.size(), 2U);
    EXPECT_EQ(truth.dataset.categories[1].id, 2);
    EXPECT_TRUE(truth.dataset.idsAreLabels);
    const std::vector<TruthObject> objects = place(truth);
    ASSERT_EQ(objects.size(), 2U);
    EXPECT_EQ(objects[0].category, 1U);
    EXPECT_EQ(objects[0].box, cv::Rect2d(75, 25, 50, 50));
    EXPECT_EQ(objects[0].area, 2500.0);
    EXPECT_EQ(objects[1].box, cv::Rect2d(0, 0, 100, 50));
}

TEST_F(YoloTruth, PictureOrLabelsBehindALinkThatLeadsNowhereAreRefused) {
    write("a.jpg");
    write("a.txt", "0 0.5 0.5 0.25 0.5\n");
    write("b.jpg");
    std::filesystem::create_symlink("c.jpg", path("c.jpg"));
    expectRefused({"c.jpg", "Too many levels of symbolic links"});
    std::filesystem::remove(path("c.jpg"));
    std::filesystem::create_symlink("gone.txt", path("b.txt"));
    expectRefused({"b.txt", "No such file or directory"});
}

TEST_F(YoloTruth, LabelsLieInAParallelTree) {
    write("images/val/a.jpg");
    write("images/val/b.jpg");
    write("labels/val/b.txt", "1 0.5 0.5 1 1\n");
    for (const char* place : {"", "images", "images/val"}) {
        const GroundTruth truth = read(place);
        ASSERT_EQ(truth.labels.size(), 2U) << place;
        EXPECT_TRUE(truth.labels[0].empty());
        EXPECT_EQ(truth.labels[1].size(), 1U);
    }
}

TEST_F(YoloTruth, LabelFilesMayBeOfWindowsAndBeginWithAByteOrderMark) {
    write("a.jpg");
    write("a.txt",
          "\xEF\xBB\xBF"
          "1 0.5 0.5 0.1 0.1\r\n2 0.5 0.5 0.1 0.1\r\n");
    const GroundTruth truth = read();
    ASSERT_EQ(truth.labels.at(0).size(), 2U);
    EXPECT_EQ(truth.labels[0][0].label, 1);
    EXPECT_EQ(truth.labels[0][1].label, 2);
}

TEST_F(YoloTruth, PolygonsGiveABoxAndAMask) {
    write("a.jpg");
    write("a.txt", "0 0.1 0.1 0.6 0.1 0.6 0.9 0.1 0.9\n");
    const std::vector<TruthObject> objects = place(read());
    ASSERT_EQ(objects.size(), 1U);
    EXPECT_NEAR(objects[0].box.x, 20.0, 1e-9);
    EXPECT_NEAR(objects[0].box.height, 80.0, 1e-9);
    ASSERT_TRUE(objects[0].mask.has_value());
    EXPECT_EQ(objects[0].mask->area, 100 * 80);
    EXPECT_EQ(objects[0].area, 8000.0);
}

TEST_F(YoloTruth, ADescriptionNamesFoldersAndClasses) {
    write("pictures/val/a.jpg");
    write("pictures/val/a.txt", "1 0.5 0.5 0.1 0.1\n");
    write("data.yaml", "path: .\nval: pictures/val\nnames: [disc, cube]\n");
    for (const char* name : {"", "data.yaml"}) {
        const GroundTruth truth = read(name);
        ASSERT_EQ(truth.dataset.categories.size(), 2U) << name;
        EXPECT_EQ(truth.dataset.categories[1].name, "cube");
        EXPECT_FALSE(truth.dataset.categories[0].isUsed);
        EXPECT_TRUE(truth.dataset.categories[1].isUsed);
        EXPECT_NE(truth.dataset.categories[1].seenAt.find("a.txt:1"), std::string::npos);
    }
    write("data.yaml", "path: /of/another/machine\nval: [pictures/val]\nnames: {0: disc, 1: cube}\n");
    EXPECT_EQ(read().dataset.categories[1].name, "cube");
}

TEST_F(YoloTruth, DescriptionsThatDoNotFitAreRefused) {
    write("pictures/a.jpg");
    write("pictures/a.txt", "2 0.5 0.5 0.1 0.1\n");
    write("data.yaml", "val: pictures\nnames: [disc, cube]\n");
    expectRefused({"a.txt:1: the class is 2", "\"names\""});
    write("data.yaml", "val: elsewhere\n");
    expectRefused({"data.yaml:1: \"val\" is \"elsewhere\"", "is no folder"});
    write("data.yaml", "names: [disc]\n");
    expectRefused({"the key \"val\" is missing"});
    write("data.yaml", "val: pictures\nnames: disc\n");
    expectRefused({"\"names\" is \"disc\""});
}

TEST_F(YoloTruth, LinesThatAreNoLabelsAreRefused) {
    write("a.jpg");
    const auto refuse = [&](const std::string& line, const std::string& words) {
        write("a.txt", "0 0.5 0.5 0.1 0.1\n" + line + '\n');
        expectRefused({"a.txt:2: ", words});
    };
    refuse("disc 0.5 0.5 0.1 0.1", "the class is \"disc\"");
    refuse("-1 0.5 0.5 0.1 0.1", "the class is \"-1\"");
    refuse("99999999999999999999 0.5 0.5 0.1 0.1", "the class is");
    refuse("0 0.5 0.5 0.1", "found 3 numbers behind the class");
    refuse("0 0.5 0.5 0.1 0.1 0.9", "found 5 numbers");
    refuse("0 0.5 0.5 0.1 0.1 0.9 0.9 0.9", "found 7 numbers");
    refuse("0 0.5 nan 0.1 0.1", "found \"nan\"");
    refuse("0 0.5 0.5 0.1 0.1x", "found \"0.1x\"");
    refuse("0 320 240 50 50", "found \"320\", expected a share");
    refuse("0 0.5 0.5 1e400 0.1", "found \"1e400\"");
    refuse("0 0.5 0.5 -0.005 0.1", "negative size");
    std::string tangled = "0";
    for (int i = 0; i < 202; ++i) {
        tangled += i % 2 == 0 ? " 0 0.5" : " 1 0.6";
    }
    refuse(tangled, "runs across the picture more than 200 times");
}

TEST_F(YoloTruth, AFolderWithoutLabelsIsRefused) {
    write("a.jpg");
    expectRefused({"no picture has a label file"});
    write("b.txt", "0 0.5 0.5 0.1 0.1\n");
    expectRefused({"no picture has a label file"});
}

TEST_F(YoloTruth, KeepingTheFirstPicturesKeepsTheirLabels) {
    for (const char* name : {"a", "b", "c"}) {
        write(std::string(name) + ".jpg");
        write(std::string(name) + ".txt", "0 0.5 0.5 0.1 0.1\n");
    }
    GroundTruth truth = read();
    keepFirst(2, truth);
    EXPECT_EQ(truth.dataset.pictures.size(), 2U);
    EXPECT_EQ(truth.labels.size(), 2U);
    keepFirst(9, truth);
    EXPECT_EQ(truth.dataset.pictures.size(), 2U);
}

}  // namespace
}  // namespace brellix::testing
