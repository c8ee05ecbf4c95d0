#pragma once

/// \file
/// What happens to a back-end name that a model does not know.

#include <string>

namespace ai_orvo::model {

/// Reports the name on standard output and ends the process with status 0: a published behaviour of the
/// constructors that start scripts rely on.
[[noreturn]] void exitForUnknownFramework(const std::string& framework);

}  // namespace ai_orvo::model
