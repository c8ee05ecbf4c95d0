#pragma once

#include <yaml-cpp/mark.h>

#include <optional>
#include <string>

namespace ai_orvo::alg::common {

/// \return where a second document begins in a YAML text, or nothing where there is none. Looks no further than that
/// (yaml-cpp's own `LoadAll` makes documents without end of a text like ",").
/// \throws YAML::Exception where the first document cannot be read
std::optional<YAML::Mark> secondDocument(const std::string& text);

}  // namespace ai_orvo::alg::common
