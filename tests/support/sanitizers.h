#pragma once

/// \file
/// Which sanitizer this was compiled for. GCC tells by macros, clang 14 by features alone.

#if defined(__has_feature)
#define BRELLIX_HAS_FEATURE(name) __has_feature(name)
#else
#define BRELLIX_HAS_FEATURE(name) 0
#endif

#if defined(__SANITIZE_ADDRESS__) || BRELLIX_HAS_FEATURE(address_sanitizer)
#define BRELLIX_ADDRESS_SANITIZER 1
#else
#define BRELLIX_ADDRESS_SANITIZER 0
#endif

#if defined(__SANITIZE_THREAD__) || BRELLIX_HAS_FEATURE(thread_sanitizer)
#define BRELLIX_THREAD_SANITIZER 1
#else
#define BRELLIX_THREAD_SANITIZER 0
#endif
