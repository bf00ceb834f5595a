// Runs an operation in a thread with a small stack, where recursion per level of a deep tree would show.
#pragma once

#include <gtest/gtest.h>
#include <pthread.h>

#include <functional>

inline void RunOnSmallStack(const std::function<void()>& operation) {
#ifdef __SANITIZE_ADDRESS__
    constexpr std::size_t kStackBytes = 512 * 1024;
#else
    constexpr std::size_t kStackBytes = 64 * 1024;
#endif
    pthread_attr_t attributes;
    pthread_attr_init(&attributes);
    ASSERT_EQ(pthread_attr_setstacksize(&attributes, kStackBytes), 0);
    pthread_t thread;
    const auto run = [](void* argument) -> void* {
        (*static_cast<const std::function<void()>*>(argument))();
        return nullptr;
    };
    ASSERT_EQ(pthread_create(&thread, &attributes, run, const_cast<std::function<void()>*>(&operation)), 0);
    pthread_join(thread, nullptr);
    pthread_attr_destroy(&attributes);
}
