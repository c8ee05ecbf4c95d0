#pragma once

/// \file
/// Symbol visibility of `libbrellix_model_zoo`. Everything is hidden unless it carries BRELLIX_API.

/// Makes a symbol of `libbrellix_model_zoo` visible outside of it.
#define BRELLIX_API __attribute__((visibility("default")))
