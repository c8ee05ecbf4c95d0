#include "run/annotated_picture.h"

#include <brellix/drawing.h>

#include <algorithm>
#include <cstddef>
#include <string>
#include <vector>

namespace brellix::app {
namespace {

constexpr int kNoClass = -1;

using ai_orvo::model::CLASS_COLORS;
using ai_orvo::model::Object;

const std::vector<unsigned int>& colorOf(int label) {
    const auto count = static_cast<long long>(CLASS_COLORS.size());
    const long long wrapped = ((label % count) + count) % count;
    return CLASS_COLORS[static_cast<std::size_t>(wrapped)];
}

/// Names and colours by label, as the drawing looks them up.
struct LabelTables {
    std::vector<std::string> names;
    std::vector<std::vector<unsigned int>> colors;

    void addRow(int label, const ClassList& classes) {
        names.push_back(classes.nameOf(label));
        colors.push_back(colorOf(label));
    }
};

/// Makes tables in which each object finds its label, since the drawing refuses labels outside of them. The
/// row behind the last is for objects without a class, whose label becomes that row.
LabelTables makeLabelTables(std::vector<Object>& objects, const ClassList& classes) {
    int rows = 0;
    for (const Object& object : objects) {
        rows = std::max(rows, object.label + 1);
    }
    LabelTables tables;
    for (int label = 0; label < rows; ++label) {
        tables.addRow(label, classes);
    }
    tables.addRow(kNoClass, classes);
    for (Object& object : objects) {
        object.label = object.label < 0 ? rows : object.label;
    }
    return tables;
}

}  // namespace

cv::Mat drawAnnotated(const PictureResult& result, const Drawing& drawing) {
    std::vector<Object> objects = result.objects;
    const LabelTables tables = makeLabelTables(objects, drawing.classes);
    cv::Mat drawn;
    if (drawing.withMasks) {
        ai_orvo::model::draw_objects_masks(result.picture, drawn, objects, tables.names, tables.colors,
                                           ai_orvo::model::MASK_COLORS);
    } else {
        ai_orvo::model::draw_objects(result.picture, drawn, objects, tables.names, tables.colors);
    }
    return drawn;
}

}  // namespace brellix::app
