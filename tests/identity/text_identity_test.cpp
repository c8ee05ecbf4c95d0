// Class names, and results as text: JSON lines and the table.

#include "identity/record.h"
#include "identity/seeded.h"
#include "support/temporary_folder.h"

#include "brellix/class_names.h"
#include "detect/json_lines.h"
#include "detect/table.h"

#include <gtest/gtest.h>
#include <yaml-cpp/yaml.h>

#include <string>
#include <vector>

namespace brellix::testing {
namespace {

using app::ClassList;
using app::MaskFormat;
using app::PictureResult;

/// Text of any bytes, line ends among them.
std::string randomText(Seeded& seeded, int length) {
    std::string text;
    for (const std::int8_t byte : seeded.bytes(static_cast<std::size_t>(length))) {
        text += seeded.oneIn(12) ? '\n' : static_cast<char>(byte);
    }
    return text;
}

TEST(TextIdentity, ClassNames) {
    Seeded seeded(71);
    Digest digest;
    const TemporaryFolder folder;
    for (int i = 0; i < 50; ++i) {
        const std::string path =
            folder.write("names" + std::to_string(i), randomText(seeded, seeded.integer(0, 300)));
        std::vector<std::string> names;
        ai_orvo::model::read_class_name(path, names);
        digest.add(names);
    }
    for (const char* document : {"class_mapping: {0: a, 3: b, -1: c, 7: 1.50}", "class_mapping: {2: x, y: z}",
                                 "class_mapping: [a, b]", "other: 1"}) {
        std::vector<std::string> names = {"was here"};
        ai_orvo::model::read_class_name(YAML::Load(document), names);
        digest.add(names);
    }
    EXPECT_TRUE(Record::instance().agrees("text.class_names", digest));
}

PictureResult randomResult(Seeded& seeded) {
    PictureResult result;
    result.id.source = "pictures/" + randomText(seeded, 6) + ".jpg";
    result.id.number = static_cast<std::size_t>(seeded.integer(0, 5000));
    const int width = seeded.integer(1, 120);
    result.picture = cv::Mat::zeros({width, seeded.integer(1, 120)}, CV_8UC3);
    result.objects.resize(static_cast<std::size_t>(seeded.integer(0, 5)));
    for (ai_orvo::model::Object& object : result.objects) {
        const std::vector<float> box = seeded.reals(4, -1.0e3F, 1.0e4F);
        object.rect = {box[0], box[1], box[2], box[3]};
        object.label = seeded.integer(-1, 5);
        object.prob = seeded.real(0.0F, 1.0F);
        object.mask = seeded.mask(result.picture.size());
    }
    result.report.pre_ms = static_cast<double>(seeded.real(0.0F, 9.0F));
    result.report.infer_ms = static_cast<double>(seeded.real(0.0F, 900.0F));
    result.report.post_ms = static_cast<double>(seeded.real(0.0F, 0.01F));
    return result;
}

TEST(TextIdentity, JsonLinesAndTable) {
    Seeded seeded(72);
    Digest json;
    Digest table;
    const ClassList classes("", YAML::Load("class_mapping: {0: person, 1: car, 2: 'traffic light', 4: dog}"));
    for (int i = 0; i < 60; ++i) {
        const PictureResult result = randomResult(seeded);
        for (const MaskFormat format : {MaskFormat::kRunLengths, MaskFormat::kPolygons, MaskFormat::kNone}) {
            json.add(app::jsonLine(result, classes, format));
        }
        const app::TableLayout layout = app::tableLayout({result.id}, classes);
        table.add(app::tableHead(layout) + app::tableRows(layout, result, classes));
        table.add(app::tableSummary({"picture", 3, 0, false, result.objects.size(), result.report.pre_ms,
                                     result.report.infer_ms, result.report.post_ms}));
    }
    EXPECT_TRUE(Record::instance().agrees("text.json_lines", json));
    EXPECT_TRUE(Record::instance().agrees("text.table", table));
}

}  // namespace
}  // namespace brellix::testing
