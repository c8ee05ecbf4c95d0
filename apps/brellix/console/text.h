#pragma once

/// \file
/// Text for people: names and paths may hold anything, a terminal should not obey it.

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace brellix::app {

/// \return `text` with each control character replaced by a question mark.
std::string printable(std::string_view text);

/// \return how many columns UTF-8 text takes, counting one for each code point.
std::size_t displayWidth(std::string_view text);

/// \return `text` padded with blanks to `width` columns; longer text stays as it is.
std::string padRight(std::string_view text, std::size_t width);
std::string padLeft(std::string_view text, std::size_t width);

/// \return the parts with `between` each two.
std::string joined(const std::vector<std::string>& parts, std::string_view between = ", ");

/// \return "1 picture", "2 pictures". \param plural of the noun, where an "s" more does not make it.
std::string counted(std::size_t count, std::string_view noun, std::string_view plural = {});

/// \return "640 x 480".
std::string sizeText(std::int64_t width, std::int64_t height);

/// \return the number with `decimals` digits behind the point.
std::string fixed(double value, int decimals);

/// More digits behind the point tell nothing that a double of the size of a probability knows.
constexpr int kMostDecimals = 17;

/// \return how many digits behind the point say `value` and no other number: at least `fewest`, at most
///         `kMostDecimals`.
int decimalsOf(float value, int fewest);
int decimalsOf(double value, int fewest);

/// \return the number with three digits behind the point, or as many more as it has.
std::string thresholdText(float value);

}  // namespace brellix::app
