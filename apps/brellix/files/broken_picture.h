#pragma once

/// \file
/// What is thrown for a picture that a run passes over.

#include <stdexcept>

namespace brellix::app {

/// One picture that cannot be used; the run goes on without it.
class BrokenPicture : public std::runtime_error {
    using std::runtime_error::runtime_error;
};

}  // namespace brellix::app
