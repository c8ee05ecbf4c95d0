// Masks of polygons against the definition, pixel by pixel: a centre is inside where an odd number of edges
// lies above it. Any corners, the ends of double among them. Capped: 24 corners, 3 polygons, pictures of 40
// x 40.

#include "evaluation/polygon_mask.h"
#include "evaluation/mask_measures.h"
#include "support/fuzzed_data.h"
#include "support/require.h"
#include "support/target.h"

#include <opencv2/core.hpp>

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <limits>
#include <vector>

namespace brellix::fuzz {
namespace {

double coordinate(FuzzedData& data, int length) {
    if (data.byte() < 240) {
        return data.integer(-8, 2 * length + 8) / 2.0;
    }
    using Doubles = std::numeric_limits<double>;
    return data.oneOf({Doubles::max(), Doubles::lowest(), Doubles::denorm_min(), 1e300, -1e300, 0.1, 1e-9});
}

std::vector<app::Polygon> polygonsFrom(FuzzedData& data, const cv::Size& size) {
    std::vector<app::Polygon> polygons(static_cast<std::size_t>(data.integer(0, 3)));
    for (app::Polygon& polygon : polygons) {
        for (int corner = data.integer(3, 24); corner > 0; --corner) {
            const double x = coordinate(data, size.width);
            polygon.emplace_back(x, coordinate(data, size.height));
        }
    }
    return polygons;
}

/// Half pixels, whose crossings doubles hold without a doubt; larger values they do not.
bool isExact(const app::Polygon& polygon) {
    const auto isHalf = [](double value) {
        return std::abs(value) < 1000.0 && value * 2.0 == std::floor(value * 2.0);
    };
    return std::all_of(polygon.begin(), polygon.end(),
                       [&](const cv::Point2d& corner) { return isHalf(corner.x) && isHalf(corner.y); });
}

/// Whether a pixel's centre is inside, by the edges that a line from it upwards crosses.
bool isInside(const app::Polygon& polygon, int column, int row) {
    const cv::Point2d centre(column + 0.5, row + 0.5);
    bool inside = false;
    for (std::size_t i = 0; i < polygon.size(); ++i) {
        const cv::Point2d& a = polygon[i];
        const cv::Point2d& b = polygon[(i + 1) % polygon.size()];
        const cv::Point2d& left = a.x < b.x ? a : b;
        const cv::Point2d& right = a.x < b.x ? b : a;
        if (left.x <= centre.x && centre.x < right.x) {
            const double share = (centre.x - left.x) / (right.x - left.x);
            inside ^= left.y + share * (right.y - left.y) <= centre.y;
        }
    }
    return inside;
}

app::RunLengths plainMask(const std::vector<app::Polygon>& polygons, const cv::Size& size) {
    cv::Mat mask = cv::Mat::zeros(size, CV_8U);
    for (const app::Polygon& polygon : polygons) {
        for (int row = 0; row < size.height; ++row) {
            for (int column = 0; column < size.width; ++column) {
                if (isInside(polygon, column, row)) {
                    mask.at<std::uint8_t>(row, column) = 255;
                }
            }
        }
    }
    return app::runLengthsOf(mask);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
    FuzzedData data(bytes, size);
    const cv::Size picture{data.integer(1, 40), data.integer(1, 40)};
    const std::vector<app::Polygon> polygons = polygonsFrom(data, picture);
    bool areExact = true;
    for (const app::Polygon& polygon : polygons) {
        require(!app::isTangled(polygon, picture.width), "24 edges cannot cross a picture 200 times");
        areExact = areExact && isExact(polygon);
    }
    const app::RunLengths mask = app::maskOfPolygons(polygons, picture);
    require(app::measured(mask).area <= picture.area(), "area");
    if (areExact) {
        require(mask.runs == plainMask(polygons, picture).runs, "pixels");
    }
    return 0;
}

}  // namespace brellix::fuzz
