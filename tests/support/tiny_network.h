#pragma once

/// \file
/// Networks whose answer is chosen by hand.

#include <array>
#include <map>
#include <string>
#include <vector>

namespace brellix::testing {

/// One output and what it always answers.
struct TinyOutput {
    std::string name;
    std::vector<int> shape;
    std::vector<float> values;
    float brightnessGain = 0.0F;  ///< times the picture's mean brightness (0 to 1), added to each value
};

/// A network that looks at its input and answers the same for every picture, but for the brightness.
struct TinyNetwork {
    std::string inputName = "image";
    int width = 64;  ///< of the input, in pixels; a multiple of 32
    int height = 64;
    std::vector<TinyOutput> outputs;
    std::map<std::string, std::string> metadata;
};

/// Writes the network as an ONNX file: input [1, 3, height, width] float, float outputs, opset 12, static
/// shapes. Throws `std::runtime_error` when the file cannot be written or values do not fill their shape.
void writeTinyNetwork(const std::string& path, const TinyNetwork& network);

/// One candidate row of a fused detection output, in network pixels.
struct Candidate {
    float cx;
    float cy;
    float width;
    float height;
    float objectness;
    std::vector<float> scores;  ///< one a class
};

/// \return a network with the output "output0" [1, rows, classNum + 5], three rows for each cell of the grids
///         of strides 8, 16 and 32. The candidates are the first rows, the others are all zeros.
TinyNetwork fusedNetwork(int classNum, const std::vector<Candidate>& candidates);

/// What one anchor of one cell says in the detector that is cut before its detection layer.
struct CutCandidate {
    int head;
    int anchor;
    int row;
    int column;
    std::vector<float> channels;  ///< logits: x, y, width, height, objectness, one a class
};

/// \return a network with the three outputs of the cut detector, `background` wherever no candidate is.
TinyNetwork cutNetwork(int classNum, float background, const std::vector<CutCandidate>& candidates);

/// What one cell says in the segmentation network.
struct SegmentationCandidate {
    int head;
    int row;
    int column;
    std::array<int, 4> distances;  ///< left, top, right, bottom, in cells, 0 to 15
    std::vector<float> scores;     ///< logits, one a class
    float coefficient;             ///< of prototype 0; the others are 0
};

/// \return a network with the ten outputs of the segmentation model; scores are `background` wherever no
///         candidate is. Prototype 0 is 1 in the picture's left half and -1 in the right, the others are 0.
TinyNetwork segmentationNetwork(int classNum, float background,
                                const std::vector<SegmentationCandidate>& candidates);

}  // namespace brellix::testing
