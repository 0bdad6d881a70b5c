// SPDX-License-Identifier: Apache-2.0
// The C library's poll, answered by hand. The host finds these functions before the library's own.
// For one source of a program.
#ifndef UPSCALER_TESTS_HOST_HANDPOLL_H
#define UPSCALER_TESTS_HOST_HANDPOLL_H

#include <dlfcn.h>
#include <poll.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <chrono>
#include <functional>

namespace android::test {

template <typename Function>
Function next(const char* name) {
    return reinterpret_cast<Function>(dlsym(RTLD_NEXT, name));
}

/// Answers the setting thread's polls: takes the time-out, gives the result or -errno.
inline thread_local std::function<int(int timeout)> answerPoll;

/// The other threads' polls.
struct OtherPolls {
    std::atomic<int> error{0};  // What they fail with, if not 0.
    std::atomic<int> count{0};
    std::atomic<int64_t> longestNs{0};  // Of the time-outs of ppoll.

    void awaitMore(int polls) const {
        for (const int before = count; count < before + polls;)
            usleep(1000);
    }
    void awaitFirst() const {
        while (count == 0)
            usleep(1000);
    }
};
inline OtherPolls otherPolls;

}  // namespace android::test

// By other names in C++, since the fortified header may define those.
extern "C" {
__attribute__((visibility("default"))) int handPoll(pollfd*, nfds_t, int) __asm__("poll");
__attribute__((visibility("default"))) int handPpoll(pollfd*, nfds_t, const timespec*,
                                                     const sigset_t*) __asm__("ppoll");
}

int handPoll(pollfd* polled, nfds_t count, int timeout) {
    using namespace android::test;
    static const auto real = next<decltype(&poll)>("poll");
    int result = 0;
    if (answerPoll) {
        result = answerPoll(timeout);
    } else if (gettid() != getpid()) {
        ++otherPolls.count;
        result = -otherPolls.error;
    }
    if (result == 0 && !answerPoll) return real(polled, count, timeout);
    if (result >= 0) {
        polled[0].revents = POLLIN;
        return result;
    }
    errno = -result;
    return -1;
}

int handPpoll(pollfd* polled, nfds_t count, const timespec* timeout, const sigset_t* signals) {
    using namespace android::test;
    static const auto real = next<decltype(&ppoll)>("ppoll");
    ++otherPolls.count;
    const std::chrono::nanoseconds time =
            std::chrono::seconds(timeout->tv_sec) + std::chrono::nanoseconds(timeout->tv_nsec);
    if (time.count() > otherPolls.longestNs) otherPolls.longestNs = time.count();
    if (otherPolls.error == 0) return real(polled, count, timeout, signals);
    errno = otherPolls.error;
    return -1;
}

#endif  // UPSCALER_TESTS_HOST_HANDPOLL_H
