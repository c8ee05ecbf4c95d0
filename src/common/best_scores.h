#pragma once

/// \file
/// The highest scores of the cells of a head.

#include <array>
#include <cstddef>
#include <cstdint>

namespace ai_orvo::model {

/// Raises each of `best` to the highest of its cell's scores.
///
/// The planes are read one after the other, cells side by side: a plane a class lies far from the next, so
/// that going through the classes of one cell after another would touch a cache line for every score.
/// A NaN raises nothing.
/// \param scores plane k of `count` cells begins at scores[k * pitch].
void raiseToBestScores(const float* scores, std::size_t pitch, int planes, std::size_t count, float* best);
void raiseToBestScores(const std::int8_t* scores, std::size_t pitch, int planes, std::size_t count,
                       std::int8_t* best);

/// \return the lowest index of the highest of `count` scores; `count` is at least 1.
std::size_t indexOfHighest(const std::int8_t* scores, std::size_t count);

/// An index a cell, of cells that lie side by side.
constexpr std::size_t kIndexedCells = 16;
constexpr int kMostIndexedPlanes = 256;
using CellIndices = std::array<std::uint8_t, kIndexedCells>;

/// \param scores plane k begins at scores[k * pitch]. \param planes 1 to kMostIndexedPlanes.
/// \return for each cell the lowest index of the plane where its score is highest.
CellIndices indicesOfHighest(const std::int8_t* scores, std::size_t pitch, int planes);

}  // namespace ai_orvo::model
