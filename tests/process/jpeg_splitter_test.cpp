#include "sources/jpeg_splitter.h"

#include "detect_fixture.h"

namespace brellix::testing {
namespace {

using app::JpegPiece;
using app::JpegSplitter;

class JpegSplitting : public DetectTest {
  protected:
    const std::string first_ = jpegOfLevel(50);
    const std::string second_ = jpegOfLevel(200, {120, 80});

    /// What the splitter finds in the stream when it comes in parts of `partSize` bytes.
    static std::vector<JpegPiece> split(const std::string& stream, std::size_t partSize) {
        JpegSplitter splitter;
        std::vector<JpegPiece> pieces;
        for (std::size_t place = 0; place < stream.size(); place += partSize) {
            splitter.append(stream.substr(place, partSize));
            while (auto piece = splitter.take()) {
                pieces.push_back(*piece);
            }
        }
        return pieces;
    }

    /// The bytes of the whole pieces and the faults of the others, in order.
    static std::vector<std::string> texts(const std::vector<JpegPiece>& pieces) {
        std::vector<std::string> list;
        for (const JpegPiece& piece : pieces) {
            list.push_back(piece.fault.empty() ? piece.bytes : piece.fault);
        }
        return list;
    }

    static void expectPieces(const std::string& stream, const std::vector<std::string>& expected) {
        for (const std::size_t partSize : {std::size_t{1}, std::size_t{7}, stream.size()}) {
            EXPECT_TRUE(texts(split(stream, partSize)) == expected) << "in parts of " << partSize;
        }
    }
};

TEST_F(JpegSplitting, PicturesComeOutAsTheyWere) {
    expectPieces(first_ + second_ + first_, {first_, second_, first_});
}

TEST_F(JpegSplitting, WhatStandsBetweenIsPassedOver) {
    expectPieces("--boundary\r\nContent-Type: image/jpeg\r\n\r\n" + first_ + "\r\n\xFF\xD8 \xFF\xFF" +
                     second_ + "\xFF",
                 {first_, second_});
}

TEST_F(JpegSplitting, PreviewInsideBelongsToItsPicture) {
    // An EXIF segment may hold a whole JPEG.
    const std::size_t length = second_.size() + 2;
    const std::string segment =
        std::string("\xFF\xE1") + static_cast<char>(length / 256) + static_cast<char>(length % 256) + second_;
    const std::string whole = first_.substr(0, 2) + segment + first_.substr(2);
    expectPieces(whole + first_, {whole, first_});
}

TEST_F(JpegSplitting, FillBytesBeforeMarkersAreAllowed) {
    const std::string filled = first_.substr(0, 2) + "\xFF\xFF" + first_.substr(2);
    expectPieces(filled, {filled});
}

TEST_F(JpegSplitting, CutOffPictureIsToldOfAndTheNextOneFound) {
    const std::string cut = second_.substr(0, second_.size() - 10);
    expectPieces(cut + first_, {"is cut off: the next one begins inside of it", first_});
}

TEST_F(JpegSplitting, PictureCutOffInItsHeaderIsToldOf) {
    const std::vector<JpegPiece> pieces = split(second_.substr(0, 100) + first_ + first_, 5);
    ASSERT_GE(pieces.size(), 2U);
    EXPECT_FALSE(pieces.front().fault.empty());
    EXPECT_EQ(pieces.back().bytes, first_);
}

TEST_F(JpegSplitting, SenselessMarkersAreToldOf) {
    expectPieces(std::string("\xFF\xD8\xFF\xE0\0\0", 6) + first_,
                 {"is damaged: its markers make no sense", first_});
    expectPieces(std::string("\xFF\xD8\xFF\xE0\0\2", 6) + "xy" + first_,
                 {"is damaged: its markers make no sense", first_});
}

TEST_F(JpegSplitting, EndInsideAPictureIsKnown) {
    JpegSplitter splitter;
    splitter.append(first_ + second_.substr(0, 300));
    EXPECT_TRUE(splitter.take());
    EXPECT_FALSE(splitter.take());
    EXPECT_TRUE(splitter.isInsidePicture());
}

TEST_F(JpegSplitting, PictureWithoutAnEndIsGivenUp) {
    JpegSplitter splitter;
    splitter.append(first_.substr(0, first_.size() - 2));
    const std::string part(std::size_t{1} << 20U, 'x');
    std::optional<JpegPiece> piece;
    int parts = 0;
    for (; !piece && parts < 100; ++parts) {
        splitter.append(part);
        piece = splitter.take();
    }
    ASSERT_TRUE(piece);
    EXPECT_EQ(piece->fault, "is larger than 64 MiB");
    EXPECT_EQ(parts, 64);
    splitter.append(second_);
    piece = splitter.take();
    ASSERT_TRUE(piece);
    EXPECT_EQ(piece->bytes, second_);
}

}  // namespace
}  // namespace brellix::testing
