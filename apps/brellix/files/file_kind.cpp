#include "files/file_kind.h"

#include <algorithm>
#include <array>
#include <cctype>
#include <cstddef>
#include <filesystem>
#include <fstream>
#include <string_view>

namespace brellix::app {
namespace {

using namespace std::string_view_literals;

constexpr std::array kPictureExtensions = {".bmp"sv, ".dib"sv, ".jp2"sv, ".jpe"sv,  ".jpeg"sv,
                                           ".jpg"sv, ".pbm"sv, ".pgm"sv, ".png"sv,  ".pnm"sv,
                                           ".ppm"sv, ".pxm"sv, ".tif"sv, ".tiff"sv, ".webp"sv};
constexpr std::array kVideoExtensions = {".3gp"sv,  ".asf"sv,  ".avi"sv,  ".flv"sv,   ".gif"sv,  ".h264"sv,
                                         ".h265"sv, ".m2ts"sv, ".m4v"sv,  ".mjpeg"sv, ".mjpg"sv, ".mkv"sv,
                                         ".mov"sv,  ".mp4"sv,  ".mpeg"sv, ".mpg"sv,   ".mts"sv,  ".ogv"sv,
                                         ".ts"sv,   ".webm"sv, ".wmv"sv,  ".y4m"sv};

/// Bytes at a fixed place by which a container is known.
struct Mark {
    std::size_t place;
    std::string_view bytes;
};

// The decoder's own guess is no help: it takes a text file for the picture of a terminal.
constexpr std::array<Mark, 8> kContainerMarks = {{{8, "AVI "sv},              // RIFF
                                                  {4, "ftyp"sv},              // MP4, QuickTime
                                                  {0, "\x1A\x45\xDF\xA3"sv},  // Matroska, WebM
                                                  {0, "\x00\x00\x01\xBA"sv},  // MPEG programme stream
                                                  {0, "\x30\x26\xB2\x75"sv},  // ASF
                                                  {0, "FLV\x01"sv},
                                                  {0, "GIF8"sv},
                                                  {0, "YUV4MPEG2"sv}}};

// The brands of AVIF and HEIF pictures, whose container is that of MP4.
constexpr std::array kPictureBrands = {"avif"sv, "heic"sv, "heim"sv, "heis"sv, "heix"sv, "mif1"sv};

template <std::size_t Count>
bool contains(const std::array<std::string_view, Count>& list, const std::string& word) {
    return std::find(list.begin(), list.end(), word) != list.end();
}

std::string firstBytes(const std::string& path) {
    std::array<char, 16> bytes{};
    std::ifstream file(path, std::ios::binary);
    file.read(bytes.data(), bytes.size());
    return {bytes.data(), static_cast<std::size_t>(file.gcount())};
}

bool hasPictureBrand(const std::string& bytes) {
    constexpr std::size_t kPlace = 8;
    constexpr std::size_t kLength = 4;
    return bytes.size() >= kPlace + kLength && contains(kPictureBrands, bytes.substr(kPlace, kLength));
}

bool beginsLikeAVideo(const std::string& path) {
    std::error_code ignored;
    if (!std::filesystem::is_regular_file(path, ignored)) {
        return false;
    }
    const std::string bytes = firstBytes(path);
    return !hasPictureBrand(bytes) &&
           std::any_of(kContainerMarks.begin(), kContainerMarks.end(), [&](const Mark& mark) {
               return bytes.compare(std::min(mark.place, bytes.size()), mark.bytes.size(), mark.bytes) == 0;
           });
}

}  // namespace

std::string lowerCaseExtension(const std::string& path) {
    std::string extension = std::filesystem::path(path).extension().string();
    std::transform(extension.begin(), extension.end(), extension.begin(),
                   [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
    return extension;
}

bool hasPictureExtension(const std::string& path) {
    return contains(kPictureExtensions, lowerCaseExtension(path));
}

bool hasVideoExtension(const std::string& path) {
    return contains(kVideoExtensions, lowerCaseExtension(path));
}

bool isVideoFile(const std::string& path) {
    return hasVideoExtension(path) || (!hasPictureExtension(path) && beginsLikeAVideo(path));
}

}  // namespace brellix::app
