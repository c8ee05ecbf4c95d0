#include "console/utf8.h"

namespace brellix::app {

std::size_t codePointLength(std::string_view text, std::size_t position) {
    const auto byteAt = [&](std::size_t i) { return static_cast<unsigned char>(text[i]); };
    const unsigned char lead = byteAt(position);
    const std::size_t length = lead < 0x80 ? 1 : lead < 0xC2 ? 0 : lead < 0xE0 ? 2 : lead < 0xF0 ? 3 : 4;
    if (length == 0 || lead > 0xF4 || position + length > text.size()) {
        return 0;
    }
    for (std::size_t i = 1; i < length; ++i) {
        if ((byteAt(position + i) & 0xC0U) != 0x80U) {
            return 0;
        }
    }
    const unsigned char second = length > 2 ? byteAt(position + 1) : 0;
    const bool isOverlong = (lead == 0xE0 && second < 0xA0) || (lead == 0xF0 && second < 0x90);
    const bool isOutside = (lead == 0xED && second > 0x9F) || (lead == 0xF4 && second > 0x8F);
    return isOverlong || isOutside ? 0 : length;
}

bool isUtf8(std::string_view text) {
    for (std::size_t i = 0; i < text.size();) {
        const std::size_t length = codePointLength(text, i);
        if (length == 0) {
            return false;
        }
        i += length;
    }
    return true;
}

void appendUtf8(std::uint32_t codePoint, std::string& text) {
    const auto byte = [&text](std::uint32_t value) { text += static_cast<char>(value); };
    const auto tail = [&](int shift) { byte(0x80U | ((codePoint >> shift) & 0x3FU)); };
    if (codePoint < 0x80) {
        byte(codePoint);
    } else if (codePoint < 0x800) {
        byte(0xC0U | (codePoint >> 6));
        tail(0);
    } else if (codePoint < 0x10000) {
        byte(0xE0U | (codePoint >> 12));
        tail(6);
        tail(0);
    } else {
        byte(0xF0U | (codePoint >> 18));
        tail(12);
        tail(6);
        tail(0);
    }
}

}  // namespace brellix::app
