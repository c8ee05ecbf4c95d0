#include "files/picture_writer.h"

#include "console/failure.h"
#include "files/sink.h"

#include <opencv2/imgcodecs.hpp>

#include <filesystem>
#include <vector>

namespace brellix::app {
namespace {

namespace fs = std::filesystem;

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

}  // namespace

void createFolder(const std::string& folder) {
    std::error_code error;
    fs::create_directories(folder, error);
    if (error) {
        throw failedAtWork("cannot create the folder " + folder + ": " + error.message());
    }
}

void writePictureFile(const std::string& path, const cv::Mat& picture) {
    const std::vector<unsigned char> bytes = encode(picture, path);
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

}  // namespace brellix::app
