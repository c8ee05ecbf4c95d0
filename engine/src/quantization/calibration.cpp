#include "quantization/calibration.h"

#include <sys/stat.h>
#include <yaml-cpp/yaml.h>

#include <algorithm>
#include <cerrno>
#include <charconv>
#include <cmath>
#include <fstream>
#include <iterator>
#include <system_error>
#include <vector>

#include "quantization/second_document.h"
#include "refusal.h"

namespace ai_orvo::alg::common {
namespace {

constexpr int kSchema = 1;
constexpr off_t kLargestFile = 1 << 20;

[[noreturn]] void refuseFile(const std::string& path, const std::string& reason) {
    throw Refusal(Status::kFileUnreadable, "calibration file '" + path + "' " + reason);
}

/// Reads values and says where in which file they are wrong.
class CalibrationReader {
  public:
    explicit CalibrationReader(const std::string& path) : path_(path) {}

    Calibration read(const std::string& text) const {
        YAML::Node root;
        try {
            root = YAML::Load(text);
            if (const auto second = secondDocument(text)) {
                refuse(*second, "a second document begins");
            }
        } catch (const YAML::Exception& error) {
            refuse(error.mark, error.msg);
        }
        expectMap(root, "schema and tensors");
        expectKeys(root, {"schema", "tensors"});
        if (integer(member(root, "schema")) != kSchema) {
            refuse(member(root, "schema").Mark(), "schema must be " + std::to_string(kSchema));
        }
        return tensors(member(root, "tensors"));
    }

  private:
    [[noreturn]] void refuse(const YAML::Mark& mark, const std::string& fault) const {
        throw Refusal(Status::kBadCalibration, "calibration file '" + path_ + "', line " +
                                                   std::to_string(std::max(mark.line, 0) + 1) + ": " + fault +
                                                   "; calibrate again or remove the file");
    }

    void expectMap(const YAML::Node& node, const std::string& content) const {
        if (!node.IsMap()) {
            refuse(node.Mark(), "expected a map of " + content);
        }
    }

    void expectKeys(const YAML::Node& map, const std::vector<std::string>& known) const {
        std::map<std::string, int> seen;
        for (const auto& entry : map) {
            const std::string key = scalar(entry.first);
            if (std::find(known.begin(), known.end(), key) == known.end()) {
                refuse(entry.first.Mark(), "unknown key '" + key + "'");
            }
            if (++seen[key] > 1) {
                refuse(entry.first.Mark(), "key '" + key + "' stands twice");
            }
        }
    }

    YAML::Node member(const YAML::Node& map, const std::string& key) const {
        YAML::Node value = map[key];
        if (!value.IsDefined()) {
            refuse(map.Mark(), "key '" + key + "' is missing");
        }
        return value;
    }

    std::string scalar(const YAML::Node& node) const {
        if (!node.IsScalar()) {
            refuse(node.Mark(), "expected a single value");
        }
        return node.Scalar();
    }

    /// Reads a number the same way in every locale.
    template <class Number>
    Number number(const YAML::Node& node, const std::string& kind) const {
        const std::string text = scalar(node);
        Number value{};
        const char* const end = text.data() + text.size();
        const std::from_chars_result result = std::from_chars(text.data(), end, value);
        if (result.ec == std::errc::result_out_of_range) {
            refuse(node.Mark(), "expected " + kind +
                                    " that is not too large or too small to be kept, found '" + text + "'");
        }
        if (result.ec != std::errc() || result.ptr != end) {
            refuse(node.Mark(), "expected " + kind + ", found '" + text + "'");
        }
        return value;
    }

    int integer(const YAML::Node& node) const { return number<int>(node, "a whole number"); }

    float finite(const YAML::Node& node) const {
        const auto value = number<float>(node, "a number");
        if (!std::isfinite(value)) {
            refuse(node.Mark(), "expected a finite number, found '" + node.Scalar() + "'");
        }
        return value;
    }

    bool boolean(const YAML::Node& node) const {
        const std::string text = scalar(node);
        if (text != "true" && text != "false") {
            refuse(node.Mark(), "expected true or false, found '" + text + "'");
        }
        return text == "true";
    }

    CalibratedTensor tensor(const YAML::Node& node) const {
        expectMap(node, "min, max and symmetric");
        expectKeys(node, {"min", "max", "symmetric"});
        CalibratedTensor tensor;
        tensor.range = {finite(member(node, "min")), finite(member(node, "max"))};
        tensor.symmetric = node["symmetric"].IsDefined() && boolean(node["symmetric"]);
        if (tensor.range.minimum > tensor.range.maximum) {
            refuse(node.Mark(), "min is greater than max");
        }
        return tensor;
    }

    Calibration tensors(const YAML::Node& node) const {
        expectMap(node, "tensor names");
        Calibration calibration;
        for (const auto& entry : node) {
            const std::string name = scalar(entry.first);
            if (!calibration.emplace(name, tensor(entry.second)).second) {
                refuse(entry.first.Mark(), "tensor '" + name + "' stands twice");
            }
        }
        return calibration;
    }

    const std::string& path_;
};

std::string numberText(float value) {
    char text[32];
    const std::to_chars_result result = std::to_chars(std::begin(text), std::end(text), value);
    return {std::begin(text), result.ptr};
}

std::string quoted(const std::string& name) {
    YAML::Emitter text;
    text << YAML::DoubleQuoted << name;
    return text.c_str();
}

/// YAML ends the search for a key's colon after 1024 characters, unless a question mark announces the key.
std::string keyText(const std::string& name) {
    constexpr std::size_t kLongestPlainKey = 1000;
    const std::string key = quoted(name);
    return key.size() > kLongestPlainKey ? "? " + key + "\n  " : key;
}

std::string calibrationText(const Calibration& calibration) {
    std::string text =
        "schema: " + std::to_string(kSchema) + (calibration.empty() ? "\ntensors: {}" : "\ntensors:");
    for (const auto& [name, tensor] : calibration) {
        text += "\n  " + keyText(name) + ": {min: " + numberText(tensor.range.minimum) +
                ", max: " + numberText(tensor.range.maximum) +
                ", symmetric: " + (tensor.symmetric ? "true" : "false") + "}";
    }
    return text;
}

/// YAML holds text: other bytes would come back as another name.
void requireTextNames(const std::string& path, const Calibration& calibration) {
    for (const auto& entry : calibration) {
        if (YAML::Load(quoted(entry.first)).Scalar() != entry.first) {
            refuseFile(path, "cannot hold the tensor name '" + entry.first +
                                 "', which is not UTF-8 text: rename that output of the network");
        }
    }
}

/// All bytes of the file.
std::string contentOf(const std::string& path) {
    std::ifstream stream(path, std::ios::binary);
    std::string text;
    try {
        text.assign(std::istreambuf_iterator<char>(stream), std::istreambuf_iterator<char>());
    } catch (const std::ios_base::failure&) {
        // Iterators ask the file's buffer, which throws whatever the stream is told.
        stream.setstate(std::ios::badbit);
    }
    if (!stream) {
        refuseFile(path, "cannot be read: check its permissions or remove it");
    }
    return text;
}

}  // namespace

std::string calibrationPath(const std::string& networkPath) {
    return networkPath + ".calibration.yaml";
}

Calibration readCalibration(const std::string& path) {
    struct stat status {};
    if (::stat(path.c_str(), &status) != 0) {
        // A name too long for the file system cannot exist either.
        if (errno == ENOENT || errno == ENAMETOOLONG) {
            return {};
        }
        refuseFile(path, "cannot be read: " + std::generic_category().message(errno));
    }
    if (!S_ISREG(status.st_mode) || status.st_size > kLargestFile) {
        refuseFile(path, "cannot be read: it is not a regular file of at most 1 MiB; remove it");
    }
    return CalibrationReader(path).read(contentOf(path));
}

void writeCalibration(const std::string& path, const Calibration& calibration) {
    requireTextNames(path, calibration);
    std::ofstream stream(path, std::ios::binary | std::ios::trunc);
    stream << calibrationText(calibration) << '\n';
    stream.close();
    if (!stream) {
        refuseFile(path, "cannot be written: check that its folder exists and may be written to");
    }
}

AffineGrid calibratedGrid(const CalibratedTensor& tensor) {
    return tensor.symmetric ? symmetricGrid(tensor.range) : affineGrid(tensor.range);
}

}  // namespace ai_orvo::alg::common
