#pragma once

/// \file
/// A folder with a tiny network, its configuration and pictures, and the program run in it.

#include "run_program.h"

#include "support/temporary_folder.h"
#include "support/tiny_network.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>
#include <opencv2/core.hpp>

#include <string>
#include <vector>

namespace brellix::testing {

/// Every test has a folder of its own, which is also the program's working directory. It holds
/// "network.onnx" (input 64 x 64; a "disc" and a "cube" on every picture, class 1 of three unseen),
/// "model.yaml" for it, and nothing else.
class DetectTest : public ::testing::Test {
  protected:
    DetectTest();

    ProgramResult run(const std::vector<std::string>& arguments) const;
    ProgramResult runWithInput(const std::string& standardInput,
                               const std::vector<std::string>& arguments) const;
    ProgramResult runWith(StandardOutput standardOutput, const std::vector<std::string>& arguments) const;

    std::string path(const std::string& name) const { return folder_.path() + '/' + name; }
    void writeText(const std::string& name, const std::string& text) const;
    std::string readText(const std::string& name) const;
    void makeFolder(const std::string& name) const;
    bool exists(const std::string& name) const;

    /// Writes a picture of one colour.
    void writePicture(const std::string& name, cv::Size size = {64, 64},
                      const cv::Scalar& color = {90, 120, 150}) const;
    bool writeMat(const std::string& name, const cv::Mat& picture) const;
    cv::Mat readPicture(const std::string& name) const;

    /// Writes a video of 10 frames a second, Motion JPEG in an AVI file: frame k has one colour, all of whose
    /// components are `frameLevel(k)`.
    void writeVideo(const std::string& name, int frames, cv::Size size = {64, 64}) const;
    static int frameLevel(int frame) { return 10 + 20 * frame; }

    /// The JPEG of a picture of one colour.
    static std::string jpegOfLevel(int level, cv::Size size = {64, 64});

    /// The text of a good configuration.
    static std::string goodConfig();

    /// Each line of `text` parsed; fails the test for a line that is no JSON.
    static std::vector<nlohmann::json> jsonLines(const std::string& text);

    /// The names in "source", in order.
    static std::vector<std::string> sources(const std::string& jsonText);

  private:
    TemporaryFolder folder_;
};

}  // namespace brellix::testing
