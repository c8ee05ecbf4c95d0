#pragma once

/// \file
/// Networks whose answer is chosen by hand.

#include <string>
#include <vector>

namespace brellix::testing {

/// One candidate row of a fused detection output, in network pixels.
struct Candidate {
    float cx;
    float cy;
    float width;
    float height;
    float objectness;
    std::vector<float> scores;  ///< one a class
};

/// A network that looks at its input and answers the same candidates for every picture.
struct TinyNetwork {
    std::string inputName = "image";
    std::string outputName = "output0";
    int width = 64;   ///< of the input, in pixels; a multiple of 32
    int height = 64;  ///< likewise
    int classNum = 3;
    std::vector<Candidate> candidates;  ///< the first rows; the others are all zeros
};

/// \return rows of the output: three for each cell of the grids of strides 8, 16 and 32.
int candidateRows(const TinyNetwork& network);

/// Writes the network as an ONNX file: input [1, 3, height, width] float, output [1, rows, classNum + 5]
/// float, opset 12, static shapes. Throws `std::runtime_error` when the file cannot be written.
void writeTinyNetwork(const std::string& path, const TinyNetwork& network);

}  // namespace brellix::testing
