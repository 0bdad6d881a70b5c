// SPDX-License-Identifier: Apache-2.0
// What this process holds of the system, and processes of their own for cases that need one.
#ifndef TESTS_SUPPORT_PROCESS_H
#define TESTS_SUPPORT_PROCESS_H

#include <gtest/gtest.h>
#include <signal.h>
#include <unistd.h>

#include <cstddef>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <iterator>

namespace android::test {

inline size_t openDescriptors() {
    return static_cast<size_t>(
            std::distance(std::filesystem::directory_iterator("/proc/self/fd"), {}));
}

// The host closes its end of a fence a moment after signalling.
inline size_t settledDescriptors(size_t expected) {
    for (int ms = 0; ms < 20000 && openDescriptors() > expected; ++ms)
        usleep(1000);
    return openDescriptors();
}

inline size_t residentKiB() {
    std::ifstream statm("/proc/self/statm");
    size_t size = 0;
    size_t pages = 0;
    statm >> size >> pages;
    return pages * static_cast<size_t>(getpagesize()) / 1024;
}

// Ends a process made for a test. Its own printer is silent; the parent shows what is on stderr.
[[noreturn]] inline void exitWithFailures(int unlessFailed = 0) {
    const auto* const result = ::testing::UnitTest::GetInstance()->current_test_info()->result();
    for (int i = 0; i < result->total_part_count(); ++i)
        std::cerr << result->GetTestPartResult(i);
    exit(result->Failed() ? 1 : unlessFailed);
}

// Ends this process if it hangs, and says so: a test that shows no more than SIGALRM's number hides
// why.
inline void endIfItHangs(unsigned seconds) {
    signal(SIGALRM, [](int) {
        constexpr char kText[] = "the process hung, and was ended\n";
        _exit(write(STDERR_FILENO, kText, sizeof(kText) - 1) > 0 ? 2 : 3);
    });
    alarm(seconds);
}

// Runs `work` in a new process, which ends by way of its exit handlers.
template <typename Work>
void inAProcess(const Work& work) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    const auto workAndExit = [&] {
        endIfItHangs(120);
        work();
        exitWithFailures();
    };
    EXPECT_EXIT(workAndExit(), ::testing::ExitedWithCode(0), "");
}

}  // namespace android::test

#endif  // TESTS_SUPPORT_PROCESS_H
