// SPDX-License-Identifier: Apache-2.0
#include <fcntl.h>
#include <gtest/gtest.h>
#include <signal.h>
#include <sys/eventfd.h>
#include <sys/stat.h>
#include <ui/Fence.h>

#include <array>
#include <filesystem>
#include <fstream>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "host/HandPoll.h"
#include "support/process.h"

namespace android::test {
namespace {

// A fence on a pipe, signalled by hand: by closing the other end.
struct ManualFence {
    base::unique_fd end;
    base::unique_fd signal;
    const bool made = base::Pipe(&end, &signal);
    const sp<Fence> fence{new Fence(std::move(end))};
};

sp<Fence> fenceOf(int descriptor) {
    return sp<Fence>(new Fence(descriptor));
}

sp<Fence> merge(const ManualFence& first, const ManualFence& second) {
    return Fence::merge("test", first.fence, second.fence);
}

// One of the host's own.
sp<Fence> signalledFence() {
    ManualFence manual;
    manual.signal.reset();
    return merge(manual, manual);
}

void expectState(const sp<Fence>& fence, status_t waited, Fence::Status status,
                 nsecs_t time = Fence::SIGNAL_TIME_INVALID) {
    SCOPED_TRACE(fence->get());
    EXPECT_EQ(fence->wait(0), waited);
    EXPECT_EQ(fence->getStatus(), status);
    EXPECT_EQ(fence->getSignalTime(), time);
}

TEST(FenceTest, WithoutADescriptorNothingWaits) {
    for (const sp<Fence>& fence : {Fence::NO_FENCE, sp<Fence>(new Fence)}) {
        EXPECT_FALSE(fence->isValid());
        EXPECT_EQ(fence->waitForever("test"), NO_ERROR);
        expectState(fence, NO_ERROR, Fence::Status::Signaled);
        errno = 0;
        EXPECT_EQ(fence->dup(), -1);
        EXPECT_EQ(errno, EBADF);
        EXPECT_EQ(Fence::merge("test", fence, Fence::NO_FENCE), Fence::NO_FENCE);
    }
}

TEST(FenceTest, ABadDescriptorIsInvalid) {
    const ManualFence manual;
    const int closed = dup(STDERR_FILENO);
    close(closed);
    for (const int descriptor : {1 << 20, -7, closed}) {
        const sp<Fence> fence = fenceOf(descriptor);
        EXPECT_TRUE(fence->isValid());
        EXPECT_EQ(fence->waitForever("test"), -EINVAL);
        expectState(fence, -EINVAL, Fence::Status::Invalid);
        EXPECT_EQ(Fence::merge("test", fence, manual.fence), Fence::NO_FENCE);
    }
}

// Whatever poll says of it; a fence has no time of its own then.
TEST(FenceTest, AForeignDescriptorIsWaitedFor) {
    for (const int ready : {open("/dev/null", O_RDONLY), open("/", O_RDONLY), eventfd(1, 0)})
        expectState(fenceOf(ready), NO_ERROR, Fence::Status::Signaled);
    const sp<Fence> waiting = fenceOf(eventfd(0, 0));
    expectState(waiting, -ETIME, Fence::Status::Unsignaled, Fence::SIGNAL_TIME_PENDING);
}

TEST(FenceTest, WaitsAsLongAsAsked) {
    ManualFence manual;
    const nsecs_t start = systemTime(SYSTEM_TIME_MONOTONIC);
    EXPECT_EQ(manual.fence->wait(30), -ETIME);
    EXPECT_GE(systemTime(SYSTEM_TIME_MONOTONIC) - start, ms2ns(30));
    std::thread later([&] {
        usleep(20000);
        manual.signal.reset();
    });
    EXPECT_EQ(manual.fence->waitForever("test"), NO_ERROR);
    later.join();
    expectState(manual.fence, NO_ERROR, Fence::Status::Signaled);
}

TEST(FenceTest, AnInterruptedWaitGoesOnWithWhatIsLeft) {
    const ManualFence manual;
    std::vector<int> timeouts;
    answerPoll = [&](int timeout) {
        timeouts.push_back(timeout);
        usleep(2000);
        return timeouts.size() < 3 ? -EINTR : 1;
    };
    EXPECT_EQ(manual.fence->wait(60000), NO_ERROR);
    EXPECT_EQ(timeouts.at(0), 60000);
    EXPECT_LT(timeouts.at(1), 60000);
    EXPECT_LT(timeouts.at(2), timeouts.at(1));

    timeouts = {};
    answerPoll = [&](int timeout) {
        timeouts.push_back(timeout);
        return timeout == Fence::TIMEOUT_NEVER ? 1 : 0;  // The first time is over at once.
    };
    EXPECT_EQ(manual.fence->waitForever("test"), NO_ERROR);
    EXPECT_EQ(timeouts, (std::vector<int>{3000, Fence::TIMEOUT_NEVER}));
    answerPoll = nullptr;
}

// However often poll is interrupted, or refused.
TEST(FenceTest, APendingFenceHasNoSignalTimeYet) {
    const ManualFence manual;
    for (const int error : {EINTR, EAGAIN, ENOMEM, EINVAL}) {
        int asked = 0;
        answerPoll = [&](int) { return ++asked < 1000 ? -error : 0; };
        EXPECT_EQ(manual.fence->getSignalTime(), Fence::SIGNAL_TIME_PENDING) << error;
    }
    answerPoll = nullptr;
    for (const nsecs_t none : {Fence::SIGNAL_TIME_INVALID, Fence::SIGNAL_TIME_PENDING})
        EXPECT_FALSE(Fence::isValidTimestamp(none));
    EXPECT_TRUE(Fence::isValidTimestamp(0));
}

TEST(FenceTest, OwnsItsDescriptorAndGivesCopies) {
    sp<Fence> fence = ManualFence().fence;
    const int original = fence->get();
    const sp<Fence> copies[] = {fenceOf(fence->dup()), Fence::merge("test", fence, Fence::NO_FENCE),
                                Fence::merge("test", Fence::NO_FENCE, fence)};
    fence = nullptr;
    EXPECT_EQ(fcntl(original, F_GETFD), -1);
    for (const sp<Fence>& copy : copies)
        EXPECT_EQ(fcntl(copy->get(), F_GETFD), FD_CLOEXEC);
}

TEST(FenceTest, IsFlattenedToItsDescriptor) {
    const ManualFence manual;
    for (const sp<Fence>& fence : {manual.fence, Fence::NO_FENCE}) {
        const bool valid = fence->isValid();
        ASSERT_EQ(fence->getFlattenedSize(), 4u);
        ASSERT_EQ(fence->getFdCount(), valid ? 1u : 0u);
        uint32_t data = 7;
        int descriptor = -1;
        const auto flatten = [&](size_t size, size_t count) {
            void* buffer = &data;
            int* fds = &descriptor;
            return fence->flatten(buffer, size, fds, count);
        };
        EXPECT_EQ(flatten(3, 1), NO_MEMORY);
        EXPECT_EQ(flatten(4, 0), valid ? NO_MEMORY : NO_ERROR);
        EXPECT_EQ(flatten(4, 1), NO_ERROR);
        EXPECT_EQ(data, valid ? 1u : 0u);
        EXPECT_EQ(descriptor, fence->get());

        const sp<Fence> copy(new Fence);
        descriptor = fence->dup();
        const auto unflatten = [&](uint32_t written, size_t size, size_t count) {
            const void* buffer = &written;
            const int* fds = &descriptor;
            const status_t status = copy->unflatten(buffer, size, fds, count);
            if (status == NO_ERROR) {
                EXPECT_EQ(buffer, &written + 1);
                EXPECT_EQ(fds, &descriptor + written);
                EXPECT_EQ(count, 1 - written);
            }
            return status;
        };
        EXPECT_EQ(unflatten(data, 3, 1), NO_MEMORY);
        EXPECT_EQ(unflatten(1, 4, 0), NO_MEMORY);
        EXPECT_EQ(unflatten(2, 4, 2), BAD_VALUE);
        EXPECT_EQ(unflatten(data, 4, 1), NO_ERROR);
        EXPECT_EQ(copy->get(), descriptor);
        EXPECT_EQ(unflatten(data, 4, 1), valid ? INVALID_OPERATION : NO_ERROR);
    }
}

TEST(FenceTest, AMergedFenceSignalsWithTheLaterOne) {
    ManualFence first;
    ManualFence second;
    const sp<Fence> merged = merge(first, second);
    second.signal.reset();
    EXPECT_EQ(merged->wait(20), -ETIME);
    EXPECT_EQ(merged->getSignalTime(), Fence::SIGNAL_TIME_PENDING);
    const nsecs_t before = systemTime(SYSTEM_TIME_MONOTONIC);
    first.signal.reset();
    EXPECT_EQ(merged->waitForever("test"), NO_ERROR);
    EXPECT_GE(merged->getSignalTime(), before);
    EXPECT_LE(merged->getSignalTime(), systemTime(SYSTEM_TIME_MONOTONIC));
}

TEST(FenceTest, AMergeOfSignalledFencesIsSignalledAndKeepsTheLaterTime) {
    const sp<Fence> earlier = signalledFence();
    const sp<Fence> later = signalledFence();
    const nsecs_t time = later->getSignalTime();
    EXPECT_LE(earlier->getSignalTime(), time);
    for (int i = 0; i < 1000; ++i) {
        const sp<Fence> merged = i % 2 == 0 ? Fence::merge("test", earlier, later)
                                            : Fence::merge("test", later, earlier);
        ASSERT_EQ(merged->wait(0), NO_ERROR);
        ASSERT_EQ(merged->getSignalTime(), time);
    }
    EXPECT_EQ(later->getSignalTime(), time);  // Many fences later.
}

TEST(FenceTest, OnlyAnAnswerSignalsAMergedFence) {
    for (const int error : {EINTR, EAGAIN, ENOMEM, EINVAL}) {
        SCOPED_TRACE(error);
        ManualFence first;
        ManualFence second;
        const sp<Fence> merged = merge(first, second);
        otherPolls.error = error;
        first.signal.reset();
        otherPolls.awaitMore(6);
        EXPECT_EQ(merged->wait(0), -ETIME);
        otherPolls.error = 0;
        EXPECT_EQ(merged->wait(20), -ETIME);
        second.signal.reset();
        EXPECT_EQ(merged->waitForever("test"), NO_ERROR);
    }
}

TEST(FenceTest, ADroppedMergeHoldsNothing) {
    const ManualFence stuck;
    const sp<Fence> kept = merge(stuck, stuck);
    otherPolls.awaitFirst();
    const size_t before = openDescriptors();
    sp<Fence> chain = stuck.fence;
    for (int i = 0; i < 50; ++i)
        chain = Fence::merge("test", chain, stuck.fence);
    EXPECT_EQ(chain->wait(0), -ETIME);
    chain = nullptr;
    EXPECT_LE(settledDescriptors(before), before);
}

// As /proc tells of the host's thread and of what it opened.
TEST(FenceTest, TheWaiterIsHiddenFromTheClientsHandlersAndChildren) {
    const ManualFence stuck;
    const sp<Fence> merged = merge(stuck, stuck);
    otherPolls.awaitFirst();
    int found = 0;
    for (const auto& task : std::filesystem::directory_iterator("/proc/self/task")) {
        std::ifstream status(task.path() / "status");
        std::string text{std::istreambuf_iterator<char>(status), {}};
        if (text.find("upscaler-fence") == std::string::npos) continue;
        const size_t at = text.find("SigBlk:");
        ASSERT_NE(at, std::string::npos);
        const uint64_t blocked = std::stoull(text.substr(at + 7), nullptr, 16);
        for (int signal = 1; signal < SIGSYS; ++signal) {
            if (signal == SIGKILL || signal == SIGSTOP) continue;
            EXPECT_NE(blocked >> (signal - 1) & 1, 0u) << signal;
        }
        ++found;
    }
    EXPECT_EQ(found, 1);

    found = 0;
    for (int fd = 3; fd < 256; ++fd) {
        std::array<char, 64> target{};
        const std::string path = "/proc/self/fd/" + std::to_string(fd);
        if (readlink(path.c_str(), target.data(), target.size() - 1) <= 0) continue;
        const std::string kind = target.data();
        if (kind.rfind("socket:", 0) != 0 && kind != "anon_inode:[eventfd]") continue;
        EXPECT_EQ(fcntl(fd, F_GETFD), FD_CLOEXEC) << kind;
        ++found;
    }
    EXPECT_GE(found, 3);
}

// A line that is meant for standard error must not reach a fence.
TEST(FenceTest, TheStandardStreamsNumbersStayFree) {
    inAProcess([] {
        const ManualFence stuck;
        const int saved = fcntl(STDERR_FILENO, F_DUPFD_CLOEXEC, 3);
        for (const int fd : {0, 1, 2})
            close(fd);
        const sp<Fence> fences[] = {merge(stuck, stuck), signalledFence(),
                                    fenceOf(stuck.fence->dup()),
                                    Fence::merge("test", stuck.fence, Fence::NO_FENCE)};
        otherPolls.awaitFirst();
        const bool taken =
                fcntl(0, F_GETFD) >= 0 || fcntl(1, F_GETFD) >= 0 || fcntl(2, F_GETFD) >= 0;
        dup2(saved, STDERR_FILENO);
        EXPECT_FALSE(taken);
        for (const sp<Fence>& fence : fences)
            EXPECT_TRUE(fence->isValid());
    });
}

TEST(FenceTest, AfterExitBeganOnlyWhatNeedsNoThreadIsMerged) {
    inAProcess([] {
        static ManualFence stuck;
        static sp<Fence> pending;
        atexit([] {  // Runs after the host's own.
            if (pending->wait(0) != NO_ERROR) _exit(2);
            if (merge(stuck, stuck) != Fence::NO_FENCE) _exit(3);
            if (signalledFence()->wait(0) != NO_ERROR) _exit(4);
        });
        pending = merge(stuck, stuck);
    });
}

}  // namespace
}  // namespace android::test
