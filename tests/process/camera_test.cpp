#include "sources/camera.h"

#include <gtest/gtest.h>

namespace brellix::testing {
namespace {

TEST(CameraNumber, IsThatOfTheDevice) {
    EXPECT_EQ(app::cameraNumber("/dev/video0"), 0);
    EXPECT_EQ(app::cameraNumber("/dev/video42"), 42);
}

TEST(CameraNumber, IsNoneOfAnyOtherPath) {
    for (const char* path :
         {"", "/dev/video", "/dev/video007", "/dev/video-1", "/dev/video+1", "/dev/video1x",
          "/dev/video99999999999", "dev/video0", "/dev/vide0", "video0", "0"}) {
        EXPECT_EQ(app::cameraNumber(path), std::nullopt) << path;
    }
}

}  // namespace
}  // namespace brellix::testing
