#pragma once

// Runs a function on a thread whose stack is small, so that a walk that
// recursed once per level of a tree a few thousand deep would overflow it.

#include <gtest/gtest.h>

#include <pthread.h>

#include <functional>

namespace brell::test {

constexpr size_t kSmallStackBytes = 256 * 1024;

inline void RunOnSmallStack(const std::function<void()>& work)
{
    pthread_attr_t attributes;
    pthread_attr_init(&attributes);
    pthread_attr_setstacksize(&attributes, kSmallStackBytes);
    pthread_t thread;
    auto run = [](void* argument) -> void* {
        (*static_cast<const std::function<void()>*>(argument))();
        return nullptr;
    };
    ASSERT_EQ(pthread_create(&thread, &attributes, run, const_cast<std::function<void()>*>(&work)), 0);
    pthread_join(thread, nullptr);
    pthread_attr_destroy(&attributes);
}

}  // namespace brell::test
