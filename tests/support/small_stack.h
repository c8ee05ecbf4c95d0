#pragma once

/// \file
/// Running code where it has little stack.

#include <gtest/gtest.h>
#include <pthread.h>

#include <cstddef>
#include <functional>

namespace brellix::testing {

/// As much as boards give to workers.
constexpr std::size_t kSmallStack = std::size_t{512} * 1024;

/// Runs `work` on a thread whose stack is `kSmallStack` bytes, and waits for it.
inline void runOnSmallStack(std::function<void()> work) {
    pthread_attr_t attributes;
    ASSERT_EQ(pthread_attr_init(&attributes), 0);
    ASSERT_EQ(pthread_attr_setstacksize(&attributes, kSmallStack), 0);
    pthread_t thread{};
    const auto body = [](void* argument) -> void* {
        (*static_cast<std::function<void()>*>(argument))();
        return nullptr;
    };
    ASSERT_EQ(pthread_create(&thread, &attributes, body, &work), 0);
    ASSERT_EQ(pthread_join(thread, nullptr), 0);
    pthread_attr_destroy(&attributes);
}

}  // namespace brellix::testing
