#include "detect/annotated_output.h"

#include "console/text.h"
#include "files/picture_writer.h"

#include <filesystem>

namespace brellix::app {
namespace {

namespace fs = std::filesystem;

}  // namespace

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
