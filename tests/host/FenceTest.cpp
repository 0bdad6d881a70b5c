// SPDX-License-Identifier: Apache-2.0
#include <fcntl.h>
#include <gtest/gtest.h>
#include <ui/Fence.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <thread>

namespace android {
namespace {

constexpr int kLongMs = 20000;

// A fence on a pipe, signalled by hand.
class ManualFence {
  public:
    ManualFence() {
        int ends[2];
        EXPECT_EQ(pipe2(ends, O_CLOEXEC), 0);
        mFence = new Fence(ends[0]);
        mSignal.reset(ends[1]);
    }
    const sp<Fence>& fence() const { return mFence; }
    void signal() { mSignal.reset(); }

  private:
    sp<Fence> mFence;
    base::unique_fd mSignal;
};

sp<Fence> badFence() {
    constexpr int kNeverOpen = 1 << 20;
    return new Fence(kNeverOpen);
}

TEST(FenceTest, WithoutADescriptorNothingWaits) {
    for (const sp<Fence>& fence : {Fence::NO_FENCE, sp<Fence>(new Fence), sp<Fence>(new Fence(-1)),
                                   sp<Fence>(new Fence(base::unique_fd()))}) {
        EXPECT_FALSE(fence->isValid());
        EXPECT_EQ(fence->get(), -1);
        EXPECT_EQ(fence->wait(Fence::TIMEOUT_NEVER), NO_ERROR);
        EXPECT_EQ(fence->waitForever("test"), NO_ERROR);
        EXPECT_EQ(fence->getStatus(), Fence::Status::Signaled);
        EXPECT_EQ(fence->getSignalTime(), Fence::SIGNAL_TIME_INVALID);
        errno = 0;
        EXPECT_EQ(fence->dup(), -1);
        EXPECT_EQ(errno, EBADF);
    }
}

TEST(FenceTest, WaitsAsLongAsAsked) {
    ManualFence manual;
    const sp<Fence>& fence = manual.fence();
    const auto start = std::chrono::steady_clock::now();
    EXPECT_EQ(fence->wait(30), -ETIME);
    EXPECT_GE(std::chrono::steady_clock::now() - start, std::chrono::milliseconds(30));
    EXPECT_EQ(fence->getStatus(), Fence::Status::Unsignaled);
    EXPECT_EQ(fence->getSignalTime(), Fence::SIGNAL_TIME_PENDING);
    std::thread later([&] {
        usleep(20000);
        manual.signal();
    });
    EXPECT_EQ(fence->waitForever("test"), NO_ERROR);
    later.join();
    EXPECT_EQ(fence->getStatus(), Fence::Status::Signaled);
    EXPECT_EQ(fence->getSignalTime(), Fence::SIGNAL_TIME_INVALID) << "a foreign pipe keeps no time";
}

TEST(FenceTest, ABadDescriptorIsInvalid) {
    const sp<Fence> fence = badFence();
    EXPECT_TRUE(fence->isValid());
    EXPECT_EQ(fence->wait(0), -EINVAL);
    EXPECT_EQ(fence->waitForever("test"), -EINVAL);
    EXPECT_EQ(fence->getStatus(), Fence::Status::Invalid);
    EXPECT_EQ(fence->getSignalTime(), Fence::SIGNAL_TIME_INVALID);
    EXPECT_EQ(Fence::merge("test", fence, ManualFence().fence()), Fence::NO_FENCE);
    EXPECT_EQ(Fence::merge("test", fence, Fence::NO_FENCE), Fence::NO_FENCE);
}

TEST(FenceTest, OwnsItsDescriptorAndGivesCopies) {
    int copy = -1;
    int original = -1;
    {
        ManualFence manual;
        original = manual.fence()->get();
        copy = manual.fence()->dup();
        EXPECT_NE(copy, original);
        EXPECT_NE(fcntl(copy, F_GETFD) & FD_CLOEXEC, 0);
    }
    EXPECT_EQ(fcntl(original, F_GETFD), -1);
    EXPECT_NE(fcntl(copy, F_GETFD), -1);
    close(copy);
}

TEST(FenceTest, AMergedFenceSignalsWithTheLaterOne) {
    ManualFence first;
    ManualFence second;
    const sp<Fence> merged = Fence::merge("test", first.fence(), second.fence());
    ASSERT_TRUE(merged->isValid());
    EXPECT_NE(fcntl(merged->get(), F_GETFD) & FD_CLOEXEC, 0);
    second.signal();
    EXPECT_EQ(merged->wait(20), -ETIME);
    const nsecs_t before = systemTime(SYSTEM_TIME_MONOTONIC);
    first.signal();
    EXPECT_EQ(merged->wait(kLongMs), NO_ERROR);
    EXPECT_GE(merged->getSignalTime(), before);
    EXPECT_LE(merged->getSignalTime(), systemTime(SYSTEM_TIME_MONOTONIC));
}

TEST(FenceTest, MergingWithNothingIsTheOther) {
    ManualFence manual;
    const sp<Fence> left = Fence::merge("test", manual.fence(), Fence::NO_FENCE);
    const sp<Fence> right = Fence::merge("test", Fence::NO_FENCE, manual.fence());
    EXPECT_EQ(Fence::merge("test", Fence::NO_FENCE, Fence::NO_FENCE), Fence::NO_FENCE);
    EXPECT_NE(left->get(), manual.fence()->get());
    EXPECT_EQ(left->wait(0), -ETIME);
    manual.signal();
    EXPECT_EQ(left->wait(kLongMs), NO_ERROR);
    EXPECT_EQ(right->wait(kLongMs), NO_ERROR);
}

}  // namespace
}  // namespace android
