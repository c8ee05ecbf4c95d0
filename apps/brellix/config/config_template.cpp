#include "config/config_template.h"

#include "console/utf8.h"

#include <array>
#include <cstddef>
#include <cstdio>
#include <string_view>

namespace brellix::app {
namespace {

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

std::string backEndKeys(const ModelSettings& settings) {
    std::string text =
        "\n# The back-end: TensorRT, RKNN or ONNX, exactly. On a PC an ONNX network runs under each of "
        "them;\n"
        "# with RKNN the picture is handed over as bytes, else as floats.\n"
        "framework: " +
        settings.framework +
        "\n\n# true: the outputs are read as 8-bit values, as a quantised network on a board gives them "
        "(see\n"
        "# brellix calibrate). false: as floats.\n"
        "is_quantized: ";
    return text + (settings.isQuantized ? "true\n" : "false\n");
}

std::string namesText(const ConfigTemplate& content) {
    std::string text = "\n# Names of the classes, " + content.namesOrigin + ".\nclass_mapping:";
    text += content.names.empty() ? " {}\n" : "\n";
    for (const auto& [index, name] : content.names) {
        text += "  " + std::to_string(index) + ": " + yamlQuoted(name) + '\n';
    }
    return text;
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
    std::string text =
        "# Configuration of a model, written by brellix init. brellix check FILE compares it with the "
        "network.\n"
        "\n# The model class: " +
        alternatives(modelClassNames()) + ".\nmodel: " + nameOf(settings.modelClass) +
        "\n\n# The network. A relative path is looked for from the working directory, then from this "
        "file's folder\n# (the library itself looks from the working directory alone).\nmodel_path: " +
        yamlQuoted(content.modelPath) +
        "\n\n# What is less probable is not reported, 0 to 1. Lower finds more, and more that is not "
        "there; 0.25 suits\n# looking at pictures, 0.01 measuring.\nconf_thres: 0.25\n"
        "\n# Of two boxes of a class that overlap by more (intersection over union, 0 to 1) the less "
        "probable one goes.\n# Higher keeps more of things that stand close together.\n"
        "nms_thres: 0.65\n"
        "\n# How many classes the network tells apart; fixed by its outputs.\nclass_num: " +
        std::to_string(settings.classNum) +
        "\n\n# Width and height of the network's input in pixels; fixed by its input. Pictures of any "
        "size are scaled\n# and padded to it.\ninput_size: [" +
        std::to_string(settings.inputSize.width) + ", " + std::to_string(settings.inputSize.height) + "]\n";
    if (traitsOf(settings.modelClass).readsBackEndKeys) {
        text += backEndKeys(settings);
    }
    return text + namesText(content);
}

}  // namespace brellix::app
