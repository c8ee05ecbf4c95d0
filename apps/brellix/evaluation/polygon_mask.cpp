#include "evaluation/polygon_mask.h"

#include "evaluation/mask_measures.h"

#include <algorithm>
#include <cmath>
#include <cstddef>

namespace brellix::app {
namespace {

/// \return the first pixel whose centre lies at or behind `coordinate`, held inside 0 to `count`.
int firstCentreFrom(double coordinate, int count) {
    const double first = std::ceil(coordinate - 0.5);
    if (!(first > 0.0)) {
        return 0;
    }
    return first < static_cast<double>(count) ? static_cast<int>(first) : count;
}

/// Where the edges cross the line through the centres of one column, as rows, unsorted.
using Crossings = std::vector<std::vector<int>>;

void addEdge(const cv::Point2d& from, const cv::Point2d& to, cv::Size size, Crossings& columns) {
    const cv::Point2d& left = from.x < to.x ? from : to;
    const cv::Point2d& right = from.x < to.x ? to : from;
    // Half-open: a corner that lies on the line of a column belongs to one of its two edges.
    const int begin = firstCentreFrom(left.x, size.width);
    const int end = firstCentreFrom(right.x, size.width);
    for (int column = begin; column < end; ++column) {
        const double share = (column + 0.5 - left.x) / (right.x - left.x);
        const double y = left.y + share * (right.y - left.y);
        columns[static_cast<std::size_t>(column)].push_back(firstCentreFrom(y, size.height));
    }
}

RunLengths maskOf(const Polygon& polygon, cv::Size size) {
    Crossings columns(static_cast<std::size_t>(size.width));
    for (std::size_t i = 0; i < polygon.size(); ++i) {
        addEdge(polygon[i], polygon[(i + 1) % polygon.size()], size, columns);
    }
    RunLengthsBuilder builder(size);
    std::int64_t base = 0;
    for (std::vector<int>& rows : columns) {
        std::sort(rows.begin(), rows.end());
        for (std::size_t i = 0; i + 1 < rows.size(); i += 2) {
            builder.add(base + rows[i], base + rows[i + 1]);
        }
        base += size.height;
    }
    return builder.finish();
}

}  // namespace

bool isTangled(const Polygon& polygon, double width) {
    double length = 0.0;
    for (std::size_t i = 0; i < polygon.size(); ++i) {
        const double from = std::clamp(polygon[i].x, 0.0, width);
        const double to = std::clamp(polygon[(i + 1) % polygon.size()].x, 0.0, width);
        length += std::abs(to - from);
    }
    return length > kMostCrossings * width;
}

RunLengths maskOfPolygons(const std::vector<Polygon>& polygons, cv::Size size) {
    std::vector<RunLengths> masks;
    masks.reserve(polygons.size());
    for (const Polygon& polygon : polygons) {
        masks.push_back(maskOf(polygon, size));
    }
    return masks.size() == 1 ? masks.front() : unionOf(masks, size);
}

}  // namespace brellix::app
