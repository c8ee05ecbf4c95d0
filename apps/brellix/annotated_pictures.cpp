#include "annotated_pictures.h"

#include "annotated_names.h"
#include "failure.h"
#include "sink.h"
#include "text.h"

#include <brellix/drawing.h>

#include <opencv2/imgcodecs.hpp>

#include <cstddef>
#include <filesystem>
#include <set>
#include <string_view>

namespace brellix::app {
namespace {

namespace fs = std::filesystem;

using ai_orvo::model::CLASS_COLORS;
using ai_orvo::model::Object;

const std::vector<unsigned int>& colorOf(int label) {
    const auto count = static_cast<long long>(CLASS_COLORS.size());
    const long long wrapped = ((label % count) + count) % count;
    return CLASS_COLORS[static_cast<std::size_t>(wrapped)];
}

void createFolder(const std::string& folder) {
    std::error_code error;
    fs::create_directories(folder, error);
    if (error) {
        throw failedAtWork("cannot create the folder " + folder + ": " + error.message());
    }
}

void refuseToOverwriteSources(const std::map<std::string, std::string>& targets) {
    std::set<std::string> sources;
    std::error_code ignored;
    for (const auto& entry : targets) {
        sources.insert(fs::weakly_canonical(entry.first, ignored).string());
    }
    for (const auto& entry : targets) {
        if (sources.count(fs::weakly_canonical(entry.second, ignored).string()) > 0) {
            throw wrongUse("--out: " + entry.second +
                           " is one of the inputs and would be overwritten; choose another folder");
        }
    }
}

std::vector<unsigned char> encode(const cv::Mat& picture, const std::string& path) {
    std::vector<unsigned char> bytes;
    try {
        if (!cv::imencode(fs::path(path).extension().string(), picture, bytes)) {
            throw failedAtWork("cannot encode " + path);
        }
    } catch (const cv::Exception& error) {
        throw failedAtWork("cannot encode " + path + ": " + error.err);
    }
    return bytes;
}

void writeFile(const std::string& path, const std::vector<unsigned char>& bytes) {
    Sink file = Sink::createFile(path);
    try {
        file.write({reinterpret_cast<const char*>(bytes.data()), bytes.size()});
        file.close();
    } catch (const Failure&) {
        std::error_code ignored;
        fs::remove(path, ignored);
        throw;
    }
}

}  // namespace

cv::Mat drawAnnotated(const PictureResult& result, const ClassList& classes) {
    // The drawing looks names and colours up by label and refuses labels outside its tables, so each object
    // gets a row of its own in tables made for this picture.
    std::vector<Object> objects = result.objects;
    std::vector<std::string> names;
    std::vector<std::vector<unsigned int>> colors;
    for (std::size_t i = 0; i < objects.size(); ++i) {
        names.push_back(classes.nameOf(objects[i].label));
        colors.push_back(colorOf(objects[i].label));
        objects[i].label = static_cast<int>(i);
    }
    cv::Mat drawn;
    ai_orvo::model::draw_objects(result.picture, drawn, objects, names, colors);
    return drawn;
}

AnnotatedPictureWriter::AnnotatedPictureWriter(const std::string& folder,
                                               const std::vector<std::string>& sources,
                                               const ClassList& classes, Console& console)
    : folder_(folder), classes_(classes), console_(console) {
    const std::vector<std::string> names = annotatedNames(sources);
    for (std::size_t i = 0; i < sources.size(); ++i) {
        targets_[sources[i]] = (fs::path(folder) / names[i]).string();
    }
    refuseToOverwriteSources(targets_);
    createFolder(folder);
}

void AnnotatedPictureWriter::write(const PictureResult& result) {
    const std::string& target = targets_.at(result.source);
    writeFile(target, encode(drawAnnotated(result, classes_), target));
    if (fs::path(target).filename() != fs::path(result.source).filename()) {
        console_.note(result.source + ": annotated copy is " + target);
    }
}

void AnnotatedPictureWriter::finish(const RunTotals& totals) {
    console_.note(counted(totals.pictures, "annotated picture") + " written to " + folder_);
}

}  // namespace brellix::app
