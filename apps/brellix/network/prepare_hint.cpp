#include "network/prepare_hint.h"

#include "console/shell_quote.h"

#include <filesystem>

namespace brellix::app {
namespace {

namespace fs = std::filesystem;

std::string preparedPath(const std::string& network, PreparedForm form) {
    const fs::path path(network);
    const char* const suffix = form == PreparedForm::kCut ? "_cut.onnx" : "_prepared.onnx";
    return (path.parent_path() / (path.stem().string() + suffix)).string();
}

}  // namespace

std::string prepareCommand(const std::string& network, PreparedForm form, std::optional<cv::Size> size) {
    std::string command = "tools/prepare_network.py " + shellQuotedPath(network) + " -o " +
                          shellQuotedPath(preparedPath(network, form));
    if (form == PreparedForm::kCut) {
        command += " --cut";
    }
    if (size) {
        command += " --size " + std::to_string(size->width) + ' ' + std::to_string(size->height);
    }
    return command;
}

}  // namespace brellix::app
