// draw_objects and draw_objects_masks against the references: any boxes, labels, probabilities, names,
// colours, masks, pictures, empty ones too. Capped: pictures of 120 x 120, 6 objects, names of 300 bytes.
// Coordinates beyond 2^30 are drawn, but not compared: the plain version adds them up as OpenCV does.

#include "reference/drawing.h"
#include "support/comparison.h"
#include "support/require.h"
#include "support/target.h"
#include "support/tensors.h"

#include "brellix/drawing.h"

#include <algorithm>
#include <cmath>
#include <optional>
#include <stdexcept>
#include <string>
#include <vector>

namespace brellix::fuzz {
namespace {

using ai_orvo::model::Object;

constexpr float kComparable = 1073741824.0F;

/// What an application hands over.
struct Scene {
    cv::Mat image;
    std::vector<Object> objects;
    std::vector<std::string> names;
    reference::ColorTable colors;
    reference::ColorTable maskColors;
};

reference::ColorTable colorsFrom(FuzzedData& data, int most) {
    reference::ColorTable colors(static_cast<std::size_t>(data.byte() < 224 ? most : data.integer(0, most)));
    const std::uint8_t oddEntry = data.byte();
    for (std::size_t i = 0; i < colors.size(); ++i) {
        colors[i].resize(i == oddEntry ? 2 : 3);
        for (unsigned int& value : colors[i]) {
            value = data.byte();
        }
    }
    return colors;
}

cv::Mat maskFrom(FuzzedData& data, const cv::Size& size) {
    const std::uint8_t kind = data.byte();
    if (kind < 64 || size.empty()) {
        return {};
    }
    cv::Mat mask = cv::Mat::zeros(kind < 240 ? size : cv::Size(data.integer(1, 120), 30), CV_8U);
    const cv::Rect patch{data.integer(0, 119), data.integer(0, 119), data.integer(1, 120),
                         data.integer(1, 120)};
    mask(patch & cv::Rect({0, 0}, mask.size())).setTo(data.oneOf({255, 1, 128}));
    return mask;
}

Object objectFrom(FuzzedData& data, const cv::Size& size) {
    Object object;
    object.rect = {data.oddNumber(-20.0F, 130.0F), data.oddNumber(-20.0F, 130.0F),
                   data.oddNumber(-5.0F, 130.0F), data.oddNumber(-5.0F, 130.0F)};
    object.label = data.byte() < 240 ? data.integer(0, 3) : data.oddInteger(-1, 24);
    object.prob = data.oddNumber(0.0F, 1.0F);
    object.mask = maskFrom(data, size);
    return object;
}

Scene sceneFrom(FuzzedData& data) {
    Scene scene;
    const int type = data.byte() < 200 ? CV_8UC3 : data.oneOf({CV_8UC1, CV_8UC4, CV_16UC3, CV_32FC3});
    scene.image = data.byte() < 248 ? picture(data, 120, type) : cv::Mat();
    for (int i = data.integer(0, 6); i > 0; --i) {
        scene.objects.push_back(objectFrom(data, scene.image.size()));
    }
    scene.colors = colorsFrom(data, 4);
    scene.maskColors = colorsFrom(data, 20);
    scene.names = {"person", "", data.text(300), std::string("100 %s %n")};
    return scene;
}

bool isComparable(const Scene& scene) {
    return std::all_of(scene.objects.begin(), scene.objects.end(), [](const Object& object) {
        const auto isSmall = [](float value) { return std::abs(value) < kComparable; };
        return isSmall(object.rect.x) && isSmall(object.rect.y) && isSmall(object.rect.width) &&
               isSmall(object.rect.height);
    });
}

/// Nothing for a label outside of the tables, or a mask of another size.
template <typename Draw>
std::optional<cv::Mat> drawingOf(Draw draw) {
    try {
        return draw();
    } catch (const std::out_of_range&) {
    } catch (const cv::Exception&) {
    }
    return std::nullopt;
}

void compare(const std::optional<cv::Mat>& actual, const std::optional<cv::Mat>& expected) {
    require(actual.has_value() == expected.has_value(), "one of the two refuses to draw");
    if (actual) {
        require(testing::sameImage(*actual, *expected), "drawing");
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
    FuzzedData data(bytes, size);
    const Scene scene = sceneFrom(data);
    const auto boxes = drawingOf([&] {
        cv::Mat result;
        ai_orvo::model::draw_objects(scene.image, result, scene.objects, scene.names, scene.colors);
        return result;
    });
    const auto masks = drawingOf([&] {
        cv::Mat result;
        ai_orvo::model::draw_objects_masks(scene.image, result, scene.objects, scene.names, scene.colors,
                                           scene.maskColors);
        return result;
    });
    if (!isComparable(scene)) {
        return 0;
    }
    compare(boxes, drawingOf([&] {
                return reference::drawObjects(scene.image, scene.objects, scene.names, scene.colors);
            }));
    compare(masks, drawingOf([&] {
                return reference::drawObjectsMasks(scene.image, scene.objects, scene.names, scene.colors,
                                                   scene.maskColors);
            }));
    return 0;
}

}  // namespace brellix::fuzz
