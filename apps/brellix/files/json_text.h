#pragma once

/// \file
/// JSON documents as text.

#include <nlohmann/json.hpp>

#include <string>

namespace brellix::app {

/// \return the document with its line end, indented by `indent` blanks a level, or on one line where that is
///         negative. A path may hold any bytes, JSON may not: what is no UTF-8 is replaced.
/// \tparam Json decides how numbers are written.
template <typename Json>
std::string jsonText(const Json& document, int indent) {
    return document.dump(indent, ' ', false, Json::error_handler_t::replace) + '\n';
}

}  // namespace brellix::app
