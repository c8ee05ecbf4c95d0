#pragma once

/// \file
/// Unicode's code points as bytes.

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

namespace brellix::app {

/// \return bytes of the UTF-8 code point at `position`, which lies in the text; 0 where there is none.
std::size_t codePointLength(std::string_view text, std::size_t position);

/// \return whether all of `text` is UTF-8.
bool isUtf8(std::string_view text);

/// \param codePoint at most 0x10FFFF, and no surrogate.
void appendUtf8(std::uint32_t codePoint, std::string& text);

}  // namespace brellix::app
