#include "config/config_template.h"

#include "console/utf8.h"

#include <array>
#include <cstddef>
#include <cstdio>
#include <map>
#include <string_view>

namespace brellix::app {
namespace {

// In braces: what the network and the person say.
constexpr std::string_view kTemplate =
    R"(# Configuration of a model, written by brellix init. brellix check FILE compares it with the network.

# The model class: {classes}.
model: {model}

# The network. A relative path is looked for from the working directory, then from this file's folder
# (the library itself looks from the working directory alone).
model_path: {path}

# What is less probable is not reported, 0 to 1. Lower finds more, and more that is not there; 0.25 suits
# looking at pictures, 0.01 measuring.
conf_thres: 0.25

# Of two boxes of a class that overlap by more (intersection over union, 0 to 1) the less probable one goes.
# Higher keeps more of things that stand close together.
nms_thres: 0.65

# How many classes the network tells apart; fixed by its outputs.
class_num: {class_num}

# Width and height of the network's input in pixels; fixed by its input. Pictures of any size are scaled
# and padded to it.
input_size: [{width}, {height}]
{back_end}
# Names of the classes, {origin}.
class_mapping:{names}
)";

constexpr std::string_view kBackEndTemplate = R"(
# The back-end: TensorRT, RKNN or ONNX, exactly. On a PC an ONNX network runs under each of them;
# with RKNN the picture is handed over as bytes, else as floats.
framework: {framework}

# true: the outputs are read as 8-bit values, as a quantised network on a board gives them (see
# brellix calibrate). false: as floats.
is_quantized: {is_quantized}
)";

std::string escaped(unsigned char byte) {
    std::array<char, 8> text{};
    std::snprintf(text.data(), text.size(), "\\x%02X", static_cast<unsigned>(byte));
    return text.data();
}

std::string quotedByte(char c) {
    const auto byte = static_cast<unsigned char>(c);
    if (c == '"' || c == '\\') {
        return std::string("\\") + c;
    }
    return byte < 0x20 || byte == 0x7F ? escaped(byte) : std::string(1, c);
}

/// \return "a, b or c".
std::string alternatives(const std::vector<std::string>& words) {
    std::string text;
    for (std::size_t i = 0; i < words.size(); ++i) {
        text += (i == 0 ? "" : i + 1 == words.size() ? " or " : ", ") + words[i];
    }
    return text;
}

/// \return the text with each word in braces replaced by its value, which is not looked into.
std::string filled(std::string_view text, const std::map<std::string_view, std::string>& values) {
    std::string result;
    for (std::size_t open = text.find('{'); open != std::string_view::npos; open = text.find('{')) {
        const std::size_t close = text.find('}', open);
        result += text.substr(0, open);
        result += values.at(text.substr(open + 1, close - open - 1));
        text.remove_prefix(close + 1);
    }
    return result += text;
}

std::string backEndKeys(const ModelSettings& settings) {
    if (!traitsOf(settings.modelClass).readsBackEndKeys) {
        return {};
    }
    return filled(kBackEndTemplate, {{"framework", settings.framework},
                                     {"is_quantized", settings.isQuantized ? "true" : "false"}});
}

/// \return what stands behind the key: a line each, or the empty map.
std::string namesText(const IndexedNames& names) {
    std::string text;
    for (const auto& [index, name] : names) {
        text += "\n  " + std::to_string(index) + ": " + yamlQuoted(name);
    }
    return names.empty() ? " {}" : text;
}

}  // namespace

std::string yamlQuoted(const std::string& text) {
    std::string quoted = "\"";
    for (std::size_t i = 0; i < text.size();) {
        const std::size_t length = codePointLength(text, i);
        quoted += length == 0 ? "\xEF\xBF\xBD" : length == 1 ? quotedByte(text[i]) : text.substr(i, length);
        i += length == 0 ? 1 : length;
    }
    return quoted + '"';
}

std::string configText(const ConfigTemplate& content) {
    const ModelSettings& settings = content.settings;
    return filled(kTemplate, {{"classes", alternatives(modelClassNames())},
                              {"model", nameOf(settings.modelClass)},
                              {"path", yamlQuoted(content.modelPath)},
                              {"class_num", std::to_string(settings.classNum)},
                              {"width", std::to_string(settings.inputSize.width)},
                              {"height", std::to_string(settings.inputSize.height)},
                              {"back_end", backEndKeys(settings)},
                              {"origin", content.namesOrigin},
                              {"names", namesText(content.names)}});
}

}  // namespace brellix::app
