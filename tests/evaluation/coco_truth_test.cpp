#include "evaluation/coco_truth.h"

#include "refusal.h"
#include "support/temporary_folder.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

namespace brellix::testing {
namespace {

using namespace app;
using nlohmann::json;

class CocoTruth : public ::testing::Test {
  protected:
    CocoTruth() {
        document_ = {{"images", {{{"id", 7}, {"file_name", "a.png"}, {"width", 20}, {"height", 10}}}},
                     {"categories", {{{"id", 18}, {"name", "disc"}}, {{"id", 3}, {"name", "cube"}}}},
                     {"annotations",
                      {{{"id", 1},
                        {"image_id", 7},
                        {"category_id", 18},
                        {"bbox", {1, 2, 5, 4}},
                        {"area", 12.5},
                        {"iscrowd", 0}}}}};
    }

    json& annotation() { return document_["annotations"][0]; }

    Dataset read() const { return readCocoTruth(folder_.write("truth.json", document_.dump())); }
    Dataset readText(const std::string& text) const {
        return readCocoTruth(folder_.write("truth.json", text));
    }

    TruthObject object() const { return read().pictures.at(0).objects.at(0); }

    void expectRefused(const std::vector<std::string>& words) const {
        expectRefusal([this] { static_cast<void>(read()); }, words);
    }

    TemporaryFolder folder_;
    json document_;
};

TEST_F(CocoTruth, IsReadWithCategoriesByRisingId) {
    const Dataset dataset = read();
    ASSERT_EQ(dataset.categories.size(), 2U);
    EXPECT_EQ(dataset.categories[0].id, 3);
    EXPECT_FALSE(dataset.categories[0].isUsed);
    EXPECT_EQ(dataset.categories[1].name, "disc");
    EXPECT_TRUE(dataset.categories[1].isUsed);
    EXPECT_EQ(dataset.pictures[0].size, cv::Size(20, 10));
    const TruthObject truth = object();
    EXPECT_EQ(truth.category, 1U);
    EXPECT_EQ(truth.box, cv::Rect2d(1, 2, 5, 4));
    EXPECT_EQ(truth.area, 12.5);
    EXPECT_FALSE(truth.isCrowd);
    EXPECT_FALSE(truth.mask.has_value());
    EXPECT_FALSE(hasMasks(dataset));
}

TEST_F(CocoTruth, PicturesComeByRisingId) {
    document_["images"].push_back({{"id", 2}, {"file_name", "b.png"}});
    const Dataset dataset = read();
    EXPECT_EQ(dataset.pictures[0].file, "b.png");
    EXPECT_TRUE(dataset.pictures[0].size.empty());
    EXPECT_EQ(dataset.pictures[1].objects.size(), 1U);
}

TEST_F(CocoTruth, MasksAreReadInEveryForm) {
    // Columns 1 and 2, rows 2 to 4.
    const std::vector<json> forms = {
        {{"size", {10, 20}}, {"counts", {12, 3, 7, 3, 175}}},
        {{"size", {10, 20}}, {"counts", "<370X5"}},
        json::array({{1, 2, 3, 2, 3, 5, 1, 5}}),
    };
    for (const json& form : forms) {
        annotation()["segmentation"] = form;
        const TruthObject truth = object();
        ASSERT_TRUE(truth.mask.has_value()) << form;
        EXPECT_EQ(truth.mask->mask.runs, (std::vector<std::uint32_t>{12, 3, 7, 3, 175})) << form;
        EXPECT_TRUE(hasMasks(read()));
    }
}

TEST_F(CocoTruth, AnEmptyListOfPolygonsIsNoMask) {
    annotation()["segmentation"] = json::array();
    EXPECT_FALSE(object().mask.has_value());
}

TEST_F(CocoTruth, WithoutAnAreaTheMasksOrTheBoxsIsTaken) {
    annotation().erase("area");
    EXPECT_EQ(object().area, 20.0);
    annotation()["segmentation"] = json::array({{1, 2, 3, 2, 3, 5, 1, 5}});
    EXPECT_EQ(object().area, 6.0);
}

TEST_F(CocoTruth, CrowdsMayBeSaidInBooleans) {
    annotation()["iscrowd"] = true;
    EXPECT_TRUE(object().isCrowd);
    annotation().erase("iscrowd");
    EXPECT_FALSE(object().isCrowd);
    annotation()["iscrowd"] = 2;
    expectRefused({"annotations[0]", "\"iscrowd\" is 2, expected 0 or 1"});
}

TEST_F(CocoTruth, BoxesThatAreNoneAreRefused) {
    for (const json& box :
         {json({1, 2, 3}), json({1, 2, -3, 4}), json({1, 2, "3", 4}), json(5), json({1, 2, nullptr, 4})}) {
        annotation()["bbox"] = box;
        expectRefused({"truth.json: annotations[0]: \"bbox\" is", "expected"});
    }
    annotation().erase("bbox");
    expectRefused({"annotations[0]: the key \"bbox\" is missing"});
}

TEST_F(CocoTruth, AreasThatAreNoneAreRefused) {
    annotation()["area"] = -1;
    expectRefused({"\"area\" is -1"});
    annotation()["area"] = "large";
    expectRefused({"\"area\" is \"large\", expected a number"});
}

TEST_F(CocoTruth, UnknownIdsAreRefused) {
    annotation()["category_id"] = 4;
    expectRefused({"annotations[0]", "\"category_id\" is 4, expected the id of one of \"categories\""});
    annotation()["category_id"] = 18;
    annotation()["image_id"] = 8;
    expectRefused({"\"image_id\" is 8, expected the id of one of \"images\""});
    annotation()["image_id"] = 7.5;
    expectRefused({"\"image_id\" is 7.5, expected a whole number"});
    annotation()["image_id"] = 18446744073709551615ULL;
    expectRefused({"expected a whole number"});
}

TEST_F(CocoTruth, WhatIsThereTwiceIsRefused) {
    const json original = document_;
    document_["images"].push_back(document_["images"][0]);
    expectRefused({"images[1]: \"id\" is 7, expected one that no other"});
    document_["images"][1]["id"] = 8;
    for (const char* file : {"a.png", "./a.png", "set/../a.png", ".//a.png"}) {
        document_["images"][1]["file_name"] = file;
        expectRefused({std::string("images[1]: \"file_name\" is \"") + file + '"',
                       "a picture that no other entry has"});
    }
    document_ = original;
    document_["categories"].push_back(document_["categories"][0]);
    expectRefused({"categories[2]: \"id\" is 18"});
    document_["categories"][2]["id"] = 19;
    expectRefused({"categories[2]: \"name\" is \"disc\""});
}

TEST_F(CocoTruth, SizesBeyondReasonAreRefusedBeforeAnythingIsAllocated) {
    document_["images"][0]["width"] = 4000000000LL;
    expectRefused({"images[0]: \"width\" is 4000000000, expected 1 to 65535 pixels"});
    document_["images"][0]["width"] = 65535;
    document_["images"][0]["height"] = 65535;
    expectRefused({"images[0]", "too large"});
    document_["images"][0]["height"] = 0;
    expectRefused({"\"height\" is 0"});
}

TEST_F(CocoTruth, RunLengthsThatDoNotFitAreRefused) {
    const auto refuse = [&](const json& segmentation, const std::vector<std::string>& words) {
        annotation()["segmentation"] = segmentation;
        expectRefused(words);
    };
    refuse({{"size", {20, 10}}, {"counts", {200}}}, {"segmentation: \"size\" is [20,10], expected [10,20]"});
    refuse({{"size", {10, 20}}, {"counts", {199}}}, {"annotations[0].segmentation", "cover 199 of 200"});
    refuse({{"size", {10, 20}}, {"counts", {100, 101}}}, {"run 2 is 101 pixels long where 100 are left"});
    refuse({{"size", {10, 20}}, {"counts", {-5, 205}}}, {"\"counts\" holds -5"});
    refuse({{"size", {10, 20}}, {"counts", {1.5}}}, {"\"counts\" holds 1.5"});
    refuse({{"size", {10, 20}}, {"counts", "oooooooo"}}, {"too long"});
    refuse({{"size", {10, 20}}, {"counts", 5}}, {"\"counts\" is 5"});
    refuse({{"size", {10}}, {"counts", {200}}}, {"\"size\" is [10]"});
    refuse({{"size", {1e300, 1e300}}, {"counts", {200}}}, {"\"size\" is"});
    refuse({{"counts", {200}}}, {"the key \"size\" is missing"});
    refuse("mask", {"\"segmentation\" is \"mask\", expected a list of polygons"});
}

TEST_F(CocoTruth, PolygonsThatAreNoneAreRefused) {
    annotation()["segmentation"] = json::array({{1, 2, 3, 4}});
    expectRefused({"a polygon of \"segmentation\" is [1,2,3,4]", "three corners"});
    annotation()["segmentation"] = json::array({{1, 2, 3, 4, 5, "x"}});
    expectRefused({"holds \"x\""});
    annotation()["segmentation"] = json::array({{1, 2, 3, 4, 5, 6}});
    document_["images"][0].erase("width");
    document_["images"][0].erase("height");
    expectRefused({"polygons, and the image has no \"width\" and \"height\""});
}

TEST_F(CocoTruth, PolygonsThatWouldTakeAllMemoryAreRefused) {
    json polygon = json::array();
    for (int i = 0; i <= 200; ++i) {
        polygon.insert(polygon.end(), {(i % 2) * 20, i});
    }
    annotation()["segmentation"] = json::array({polygon});
    EXPECT_TRUE(object().mask.has_value());
    polygon.insert(polygon.end(), {20, 300, 0, 301});
    annotation()["segmentation"] = json::array({polygon});
    expectRefused({"annotations[0]", "runs across the picture more than 200 times"});
}

TEST_F(CocoTruth, FilesThatAreNoDatasetAreRefused) {
    const auto refuse = [&](const std::string& text, const std::string& words) {
        expectRefusal([&] { static_cast<void>(readText(text)); }, {"truth.json", words});
    };
    refuse("", "no JSON");
    refuse("{\"images\": [", "no JSON");
    refuse("{\"images\": [{\"id\": NaN}]}", "no JSON");
    refuse("[1, 2]", "there is no array \"categories\"");
    refuse("{}", "there is no array \"categories\"");
    refuse("{\"categories\": [5]}", "categories[0]: this is 5, expected an object");
    refuse("{\"categories\": [[[[[]]]]]}", "categories[0]: this is an array of 1 element");
    refuse("{\"categories\": [], \"images\": [], \"annotations\": []}", "nothing to evaluate");
    expectRefusal([] { static_cast<void>(readCocoTruth("/nowhere/truth.json")); },
                  {"/nowhere/truth.json", "No such file"});
}

}  // namespace
}  // namespace brellix::testing
