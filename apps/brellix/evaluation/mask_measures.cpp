#include "evaluation/mask_measures.h"

#include <algorithm>
#include <cstddef>
#include <utility>

namespace brellix::app {
namespace {

/// One piece inside the object, counted down the columns.
struct Piece {
    std::int64_t begin;
    std::int64_t end;
};

/// Walks over the pieces of a mask that hold pixels.
class Pieces {
  public:
    explicit Pieces(const std::vector<std::uint32_t>& runs) : runs_(runs) { advance(); }

    bool atEnd() const { return piece_.begin == piece_.end; }
    const Piece& piece() const { return piece_; }

    void advance() {
        piece_.begin = piece_.end;
        while (piece_.begin == piece_.end && next_ + 1 < runs_.size()) {
            piece_.begin = piece_.end + runs_[next_];
            piece_.end = piece_.begin + runs_[next_ + 1];
            next_ += 2;
        }
    }

  private:
    const std::vector<std::uint32_t>& runs_;
    std::size_t next_ = 0;
    Piece piece_{0, 0};
};

std::vector<Piece> piecesOf(const RunLengths& mask) {
    std::vector<Piece> pieces;
    for (Pieces walk(mask.runs); !walk.atEnd(); walk.advance()) {
        pieces.push_back(walk.piece());
    }
    return pieces;
}

cv::Rect boundsOf(const std::vector<Piece>& pieces, std::int64_t height) {
    if (pieces.empty()) {
        return {};
    }
    const std::int64_t left = pieces.front().begin / height;
    const std::int64_t right = (pieces.back().end - 1) / height;
    std::int64_t top = height;
    std::int64_t bottom = -1;
    for (const Piece& piece : pieces) {
        const bool isInOneColumn = piece.begin / height == (piece.end - 1) / height;
        top = std::min(top, isInOneColumn ? piece.begin % height : 0);
        bottom = std::max(bottom, isInOneColumn ? (piece.end - 1) % height : height - 1);
    }
    return {static_cast<int>(left), static_cast<int>(top), static_cast<int>(right - left + 1),
            static_cast<int>(bottom - top + 1)};
}

}  // namespace

MeasuredMask measured(RunLengths mask) {
    MeasuredMask result;
    const std::vector<Piece> pieces = piecesOf(mask);
    for (const Piece& piece : pieces) {
        result.area += piece.end - piece.begin;
    }
    result.bounds = boundsOf(pieces, mask.size.height);
    result.mask = std::move(mask);
    return result;
}

std::int64_t intersectionArea(const MeasuredMask& a, const MeasuredMask& b) {
    if (a.mask.size != b.mask.size || (a.bounds & b.bounds).empty()) {
        return 0;
    }
    std::int64_t area = 0;
    Pieces inA(a.mask.runs);
    Pieces inB(b.mask.runs);
    while (!inA.atEnd() && !inB.atEnd()) {
        const std::int64_t begin = std::max(inA.piece().begin, inB.piece().begin);
        const std::int64_t end = std::min(inA.piece().end, inB.piece().end);
        area += std::max<std::int64_t>(end - begin, 0);
        (inA.piece().end < inB.piece().end ? inA : inB).advance();
    }
    return area;
}

RunLengths unionOf(const std::vector<RunLengths>& masks, cv::Size size) {
    std::vector<Piece> pieces;
    for (const RunLengths& mask : masks) {
        const std::vector<Piece> more = piecesOf(mask);
        pieces.insert(pieces.end(), more.begin(), more.end());
    }
    std::sort(pieces.begin(), pieces.end(), [](const Piece& a, const Piece& b) { return a.begin < b.begin; });
    RunLengthsBuilder builder(size);
    std::int64_t reached = 0;
    for (const Piece& piece : pieces) {
        builder.add(std::max(piece.begin, reached), piece.end);
        reached = std::max(reached, piece.end);
    }
    return builder.finish();
}

}  // namespace brellix::app
