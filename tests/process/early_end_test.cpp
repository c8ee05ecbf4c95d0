#include "sources/early_end.h"

#include "model_fixture.h"

#include <opencv2/imgcodecs.hpp>

namespace brellix::testing {
namespace {

class EarlyEnd : public ModelTest {
  protected:
    bool isEarly(const std::string& bytes) const {
        writeText("file.jpg", bytes);
        return app::endsEarly(path("file.jpg"));
    }

    /// A JPEG whose compressed data take more than one reading.
    static std::string noisyJpeg(std::vector<int> parameters = {}) {
        cv::Mat noise(500, 500, CV_8UC3);
        cv::RNG(7).fill(noise, cv::RNG::UNIFORM, 0, 256);
        std::vector<unsigned char> bytes;
        parameters.insert(parameters.end(), {cv::IMWRITE_JPEG_QUALITY, 95});
        cv::imencode(".jpg", noise, bytes, parameters);
        return {bytes.begin(), bytes.end()};
    }

    static std::string halfOf(const std::string& bytes) { return bytes.substr(0, bytes.size() / 2); }
};

TEST_F(EarlyEnd, IsThatOfAPictureWithoutItsEndMarker) {
    const std::string baseline = noisyJpeg();
    const std::string progressive = noisyJpeg({cv::IMWRITE_JPEG_PROGRESSIVE, 1});
    ASSERT_GT(baseline.size(), 2U * 65536U);
    for (const std::string& whole : {baseline, progressive}) {
        EXPECT_FALSE(isEarly(whole));
        EXPECT_TRUE(isEarly(halfOf(whole)));
        EXPECT_TRUE(isEarly(whole.substr(0, whole.size() - 1)));
        EXPECT_TRUE(isEarly(whole.substr(0, whole.size() - 2)));
    }
}

TEST_F(EarlyEnd, IsNotThatOfWhatFollowsThePicture) {
    const std::string whole = jpegOfLevel(50);
    EXPECT_FALSE(isEarly(whole + "appended by the camera"));
    EXPECT_FALSE(isEarly(whole + halfOf(whole)));
}

TEST_F(EarlyEnd, IsSeenThroughAPreview) {
    const std::string preview = jpegOfLevel(200);
    const std::size_t length = preview.size() + 2;
    const std::string segment =
        std::string("\xFF\xE1") + static_cast<char>(length / 256) + static_cast<char>(length % 256) + preview;
    const std::string whole = jpegOfLevel(50).insert(2, segment);
    EXPECT_FALSE(isEarly(whole));
    EXPECT_TRUE(isEarly(whole.substr(0, whole.size() - 10)));
    EXPECT_TRUE(isEarly(whole.substr(0, 2 + segment.size())));
}

TEST_F(EarlyEnd, IsNoneOfOtherFiles) {
    EXPECT_FALSE(isEarly(""));
    EXPECT_FALSE(isEarly("\xFF\xD8"));
    EXPECT_FALSE(isEarly("text, then " + halfOf(jpegOfLevel(50))));
    EXPECT_FALSE(app::endsEarly(path("missing.jpg")));
}

TEST_F(EarlyEnd, PictureIsUsedWithAWarningByEveryCommand) {
    writeText("whole.jpg", noisyJpeg());
    writeText("cut.jpg", halfOf(noisyJpeg()));
    writeText("truth.json",
              R"({"images": [{"id": 1, "file_name": "whole.jpg", "width": 500, "height": 500},
                             {"id": 2, "file_name": "cut.jpg", "width": 500, "height": 500}],
                  "categories": [{"id": 1, "name": "disc"}],
                  "annotations": [{"id": 1, "image_id": 1, "category_id": 1, "bbox": [10, 10, 50, 50]}]})");
    const std::string warning = "brellix: warning: cut.jpg: the file ends early; ";
    const std::vector<std::vector<std::string>> runs = {
        {"detect", "model.yaml", "whole.jpg", "cut.jpg", "--json", "-"},
        {"compare", "model.yaml", "model.yaml", "whole.jpg", "cut.jpg"},
        {"calibrate", "cut.yaml", "whole.jpg", "cut.jpg"},
        {"eval", "model.yaml", "truth.json"},
        {"bench", "model.yaml", "whole.jpg", "cut.jpg", "--frames", "1"}};
    for (const auto& arguments : runs) {
        const ProgramResult result = run(arguments);
        EXPECT_EQ(result.status, 0) << result.err;
        EXPECT_NE(result.err.find(warning), std::string::npos) << arguments[0] << ": " << result.err;
        EXPECT_EQ(result.err.find("whole.jpg"), std::string::npos) << result.err;
    }
    const ProgramResult listed = runWithInput("cut.jpg\n", {"detect", "model.yaml", "-", "--json", "-"});
    EXPECT_EQ(listed.status, 0);
    EXPECT_EQ(sources(listed.out), std::vector<std::string>{"cut.jpg"});
    EXPECT_NE(listed.err.find(warning), std::string::npos) << listed.err;
}

TEST_F(EarlyEnd, FileThatEndsBeforeItsPictureBeginsIsReportedOnce) {
    writeText("cut.jpg", jpegOfLevel(50).substr(0, 100));
    const ProgramResult result = run({"detect", "model.yaml", "cut.jpg", "--json", "-"});
    EXPECT_EQ(result.status, 3);
    EXPECT_NE(result.err.find("brellix: cut.jpg: not a picture, or a damaged one"), std::string::npos);
    EXPECT_EQ(result.err.find("ends early"), std::string::npos) << result.err;
}

}  // namespace
}  // namespace brellix::testing
