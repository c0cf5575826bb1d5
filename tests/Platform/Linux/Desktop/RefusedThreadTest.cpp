#include "Platform/Shared/ThreadPool.h"

#include <gtest/gtest.h>

#include <dlfcn.h>
#include <pthread.h>

#include <atomic>
#include <cerrno>
#include <system_error>

namespace {

constexpr int anyNumber = -1;
/// How many more threads the system makes.
std::atomic<int> threadsLeft = anyNumber;

} // namespace

/// In place of the C library's for the whole of this program, the C++ library's threads, too.
extern "C" int pthread_create(pthread_t* thread, const pthread_attr_t* attributes,
                              void* (*start)(void*), void* argument) noexcept
{
    static const auto create =
        reinterpret_cast<decltype(&pthread_create)>(::dlsym(RTLD_NEXT, "pthread_create"));
    if (threadsLeft == 0) {
        return EAGAIN;
    }
    if (threadsLeft != anyNumber) {
        --threadsLeft;
    }
    return create(thread, attributes, start, argument);
}

namespace vorlin {
namespace {

TEST(RefusedThread, failsThePoolAndDoesNotEndTheProgram)
{
    for (const int made : {0, 1, 2}) {
        threadsLeft = made;
        EXPECT_THROW(ThreadPool([] {}), std::system_error) << made;
        EXPECT_EQ(threadsLeft, 0);
    }
    threadsLeft = anyNumber;
}

} // namespace
} // namespace vorlin
