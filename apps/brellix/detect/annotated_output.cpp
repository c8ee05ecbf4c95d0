#include "detect/annotated_output.h"

#include "console/text.h"
#include "files/picture_writer.h"

#include <brellix/drawing.h>

#include <algorithm>
#include <cstddef>
#include <filesystem>

namespace brellix::app {
namespace {

namespace fs = std::filesystem;

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

AnnotatedWriter::AnnotatedWriter(const std::string& folder, const std::vector<FrameId>& sources,
                                 const Drawing& drawing, ProtectedFiles& files, Console& console)
    : folder_(folder), names_(annotatedName, sources), files_(files), drawing_(drawing), console_(console) {
    for (const FrameId& source : sources) {
        files_.claim("--out", pathOf(names_.of(source)));
    }
    createFolder(folder);
}

std::string AnnotatedWriter::pathOf(const std::string& name) const {
    return (fs::path(folder_) / name).string();
}

void AnnotatedWriter::writePicture(const PictureResult& result, const std::string& path) {
    writePictureFile(path, drawAnnotated(result, drawing_));
    ++pictures_;
    if (fs::path(path).filename() != fs::path(result.id.source).filename()) {
        console_.note(result.id.source + ": annotated copy is " + path);
    }
}

void AnnotatedWriter::beginVideo(const PictureResult& result) {
    const bool isFirst = videoSource_ != result.id.source;
    closeVideo();
    const std::string path = pathOf(isFirst ? names_.of(result.id) : names_.another(result.id));
    files_.refuse("--out", path);
    video_.emplace(path, result.id, result.picture.size());
    videoSource_ = result.id.source;
    ++videos_;
    console_.note(result.id.source + ": annotated video is " + path);
}

void AnnotatedWriter::writeVideoFrame(const PictureResult& result) {
    if (!video_ || videoSource_ != result.id.source || video_->size() != result.picture.size()) {
        beginVideo(result);
    }
    video_->add(drawAnnotated(result, drawing_), result.id);
}

void AnnotatedWriter::closeVideo() {
    if (video_) {
        video_->close();
        video_.reset();
    }
}

void AnnotatedWriter::write(const PictureResult& result) {
    if (result.id.origin != FrameOrigin::kPicture) {
        writeVideoFrame(result);
        return;
    }
    closeVideo();
    videoSource_.clear();
    // A source that was not known beforehand.
    files_.setCurrentInput(result.id.source);
    const std::string path = pathOf(names_.of(result.id));
    files_.refuse("--out", path);
    writePicture(result, path);
}

void AnnotatedWriter::finish(const RunTotals& /*totals*/) {
    closeVideo();
    std::string what = videos_ == 0 || pictures_ > 0 ? counted(pictures_, "annotated picture") : "";
    if (videos_ > 0) {
        what += (what.empty() ? "" : " and ") + counted(videos_, "annotated video");
    }
    console_.note(what + " written to " + folder_);
}

}  // namespace brellix::app
