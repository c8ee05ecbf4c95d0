#include "detect/crops.h"

#include "console/text.h"
#include "detect/crop_box.h"
#include "files/picture_writer.h"

#include <filesystem>

namespace brellix::app {

CropWriter::CropWriter(const std::string& folder, const std::vector<FrameId>& sources,
                       const ClassList& classes, ProtectedFiles& files, Console& console)
    : folder_(folder), stems_(stemName, sources), classes_(classes), files_(files), console_(console) {
    createFolder(folder);
}

void CropWriter::write(const PictureResult& result) {
    const std::string& stem = stems_.of(result.id);
    // A source that was not known beforehand.
    files_.setCurrentInput(result.id.source);
    for (std::size_t i = 0; i < result.objects.size(); ++i) {
        const ai_orvo::model::Object& object = result.objects[i];
        const cv::Rect box = cropBox(object.rect, result.picture.size());
        if (box.empty()) {
            ++empty_;
            continue;
        }
        const std::string name = cropName(stem, result.id, i, classes_.nameOf(object.label));
        const std::string path = (std::filesystem::path(folder_) / name).string();
        files_.refuse("--crops", path);
        writePictureFile(path, result.picture(box));
        ++written_;
    }
}

void CropWriter::finish(const RunTotals& /*totals*/) {
    console_.note(counted(written_, "crop") + " written to " + folder_ +
                  (empty_ > 0 ? "; " + counted(empty_, "object") + " without a pixel left out" : ""));
}

}  // namespace brellix::app
