// SPDX-License-Identifier: Apache-2.0
#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/eventfd.h>
#include <sys/socket.h>
#include <ui/Fence.h>
#include <unistd.h>

#include <cerrno>
#include <thread>
#include <utility>

namespace android {
namespace {

constexpr int kLongMs = 20000;

// A fence on a pipe, signalled by hand: by closing the other end.
struct ManualFence {
    base::unique_fd end;
    base::unique_fd signal;
    const bool made = base::Pipe(&end, &signal);
    const sp<Fence> fence = new Fence(std::move(end));
};

TEST(FenceTest, WithoutADescriptorNothingWaits) {
    const sp<Fence> fences[] = {Fence::NO_FENCE, new Fence, new Fence(base::unique_fd())};
    for (const sp<Fence>& fence : fences) {
        EXPECT_FALSE(fence->isValid());
        EXPECT_EQ(fence->wait(Fence::TIMEOUT_NEVER), NO_ERROR);
        EXPECT_EQ(fence->waitForever("test"), NO_ERROR);
        EXPECT_EQ(fence->getStatus(), Fence::Status::Signaled);
        EXPECT_EQ(fence->getSignalTime(), Fence::SIGNAL_TIME_INVALID);
        errno = 0;
        EXPECT_EQ(fence->dup(), -1);
        EXPECT_EQ(errno, EBADF);
        EXPECT_EQ(Fence::merge("test", fence, Fence::NO_FENCE), Fence::NO_FENCE);
    }
}

TEST(FenceTest, ABadDescriptorIsInvalid) {
    ManualFence manual;
    const sp<Fence> closed = new Fence(dup(STDERR_FILENO));
    ASSERT_EQ(close(closed->get()), 0);
    for (const sp<Fence>& fence :
         {sp<Fence>(new Fence(1 << 20)), sp<Fence>(new Fence(-7)), closed}) {
        EXPECT_TRUE(fence->isValid());
        EXPECT_EQ(fence->wait(0), -EINVAL);
        EXPECT_EQ(fence->waitForever("test"), -EINVAL);
        EXPECT_EQ(fence->getStatus(), Fence::Status::Invalid);
        EXPECT_EQ(fence->getSignalTime(), Fence::SIGNAL_TIME_INVALID);
        EXPECT_EQ(Fence::merge("test", fence, manual.fence), Fence::NO_FENCE);
    }
}

// Whatever poll says of it; a fence has no time of its own then.
TEST(FenceTest, AForeignDescriptorIsWaitedFor) {
    const auto fenceOf = [](int fd) { return sp<Fence>(new Fence(fd)); };
    for (const auto& ready : {fenceOf(open("/dev/null", O_RDONLY)), fenceOf(open("/", O_RDONLY)),
                              fenceOf(eventfd(1, 0))}) {
        ASSERT_TRUE(ready->isValid());
        EXPECT_EQ(ready->wait(0), NO_ERROR);
        EXPECT_EQ(ready->getSignalTime(), Fence::SIGNAL_TIME_INVALID);
    }
    for (const auto& waiting : {fenceOf(eventfd(0, 0)), fenceOf(socket(AF_UNIX, SOCK_DGRAM, 0))}) {
        EXPECT_EQ(waiting->wait(1), -ETIME);
        EXPECT_EQ(waiting->getStatus(), Fence::Status::Unsignaled);
    }
}

TEST(FenceTest, WaitsAsLongAsAsked) {
    ManualFence manual;
    const sp<Fence>& fence = manual.fence;
    const nsecs_t start = systemTime(SYSTEM_TIME_MONOTONIC);
    EXPECT_EQ(fence->wait(30), -ETIME);
    EXPECT_GE(systemTime(SYSTEM_TIME_MONOTONIC) - start, ms2ns(30));
    EXPECT_EQ(fence->getStatus(), Fence::Status::Unsignaled);
    EXPECT_EQ(fence->getSignalTime(), Fence::SIGNAL_TIME_PENDING);
    std::thread later([&] {
        usleep(20000);
        manual.signal.reset();
    });
    EXPECT_EQ(fence->waitForever("test"), NO_ERROR);
    later.join();
    EXPECT_EQ(fence->getStatus(), Fence::Status::Signaled);
    EXPECT_EQ(fence->getSignalTime(), Fence::SIGNAL_TIME_INVALID) << "a foreign pipe keeps no time";
}

TEST(FenceTest, OwnsItsDescriptorAndGivesCopies) {
    sp<Fence> fence = ManualFence().fence;
    const int original = fence->get();
    const base::unique_fd copy(fence->dup());
    fence = nullptr;
    EXPECT_EQ(fcntl(original, F_GETFD), -1);
    EXPECT_EQ(fcntl(copy.get(), F_GETFD), FD_CLOEXEC);
}

TEST(FenceTest, AMergedFenceSignalsWithTheLaterOne) {
    ManualFence first;
    ManualFence second;
    const sp<Fence> merged = Fence::merge("test", first.fence, second.fence);
    EXPECT_EQ(fcntl(merged->get(), F_GETFD), FD_CLOEXEC);
    second.signal.reset();
    EXPECT_EQ(merged->wait(20), -ETIME);
    const nsecs_t before = systemTime(SYSTEM_TIME_MONOTONIC);
    first.signal.reset();
    EXPECT_EQ(merged->wait(kLongMs), NO_ERROR);
    EXPECT_GE(merged->getSignalTime(), before);
    EXPECT_LE(merged->getSignalTime(), systemTime(SYSTEM_TIME_MONOTONIC));
}

TEST(FenceTest, MergingWithNothingIsACopyOfTheOther) {
    ManualFence manual;
    for (const auto& merged : {Fence::merge("test", manual.fence, Fence::NO_FENCE),
                               Fence::merge("test", Fence::NO_FENCE, manual.fence)}) {
        EXPECT_NE(merged->get(), manual.fence->get());
        EXPECT_EQ(merged->wait(0), -ETIME);
    }
}

}  // namespace
}  // namespace android
