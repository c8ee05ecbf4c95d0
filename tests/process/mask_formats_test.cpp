#include "model_fixture.h"

#include "support/coco_mask.h"

#include <string>
#include <vector>

namespace brellix::testing {
namespace {

class MaskFormats : public ModelTest {
  protected:
    nlohmann::json objectWith(const std::string& format) const {
        const ProgramResult result =
            run({"detect", "seg.yaml", "a.png", "--json", "-", "--mask-format", format});
        EXPECT_EQ(result.status, 0) << result.err;
        return jsonLines(result.out).at(0)["objects"].at(0);
    }
};

TEST_F(MaskFormats, PolygonsAreTheMask) {
    const nlohmann::json mask = objectWith("polygon")["mask"];
    EXPECT_EQ(mask["size"], nlohmann::json({64, 64}));
    EXPECT_FALSE(mask.contains("counts"));
    const cv::Mat drawn = drawPolygons(mask["polygons"].get<std::vector<std::vector<int>>>(), {64, 64});
    EXPECT_EQ(cv::norm(drawn, segmentationMask(), cv::NORM_INF), 0.0);
}

TEST_F(MaskFormats, RunLengthsAreTheDefault) {
    EXPECT_EQ(objectWith("rle"), onlyObject("seg.yaml"));
    EXPECT_TRUE(onlyObject("seg.yaml")["mask"].contains("counts"));
}

TEST_F(MaskFormats, NoneLeavesTheMaskOut) {
    nlohmann::json expected = onlyObject("seg.yaml");
    expected.erase("mask");
    EXPECT_EQ(objectWith("none"), expected);
}

TEST_F(MaskFormats, UnknownOneIsWrongUse) {
    const ProgramResult result = run({"detect", "seg.yaml", "a.png", "--mask-format", "png"});
    EXPECT_EQ(result.status, 2);
    EXPECT_NE(result.err.find("--mask-format"), std::string::npos) << result.err;
}

}  // namespace
}  // namespace brellix::testing
