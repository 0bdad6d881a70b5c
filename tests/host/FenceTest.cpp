// SPDX-License-Identifier: Apache-2.0
#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/eventfd.h>
#include <ui/Fence.h>
#include <unistd.h>

#include <cerrno>
#include <thread>
#include <utility>

namespace android {
namespace {

// A fence on a pipe, signalled by hand: by closing the other end.
struct ManualFence {
    base::unique_fd end;
    base::unique_fd signal;
    const bool made = base::Pipe(&end, &signal);
    const sp<Fence> fence = new Fence(std::move(end));
};

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
        const sp<Fence> fence = new Fence(descriptor);
        EXPECT_TRUE(fence->isValid());
        EXPECT_EQ(fence->waitForever("test"), -EINVAL);
        expectState(fence, -EINVAL, Fence::Status::Invalid);
        EXPECT_EQ(Fence::merge("test", fence, manual.fence), Fence::NO_FENCE);
    }
}

// Whatever poll says of it; a fence has no time of its own then.
TEST(FenceTest, AForeignDescriptorIsWaitedFor) {
    for (const int ready : {open("/dev/null", O_RDONLY), open("/", O_RDONLY), eventfd(1, 0)})
        expectState(new Fence(ready), NO_ERROR, Fence::Status::Signaled);
    const sp<Fence> waiting = new Fence(eventfd(0, 0));
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

TEST(FenceTest, OwnsItsDescriptorAndGivesCopies) {
    sp<Fence> fence = ManualFence().fence;
    const int original = fence->get();
    const sp<Fence> copies[] = {new Fence(fence->dup()),
                                Fence::merge("test", fence, Fence::NO_FENCE),
                                Fence::merge("test", Fence::NO_FENCE, fence)};
    fence = nullptr;
    EXPECT_EQ(fcntl(original, F_GETFD), -1);
    for (const sp<Fence>& copy : copies)
        EXPECT_EQ(fcntl(copy->get(), F_GETFD), FD_CLOEXEC);
}

TEST(FenceTest, AMergedFenceSignalsWithTheLaterOne) {
    ManualFence first;
    ManualFence second;
    const sp<Fence> merged = Fence::merge("test", first.fence, second.fence);
    second.signal.reset();
    EXPECT_EQ(merged->wait(20), -ETIME);
    const nsecs_t before = systemTime(SYSTEM_TIME_MONOTONIC);
    first.signal.reset();
    EXPECT_EQ(merged->waitForever("test"), NO_ERROR);
    EXPECT_GE(merged->getSignalTime(), before);
    EXPECT_LE(merged->getSignalTime(), systemTime(SYSTEM_TIME_MONOTONIC));
}

}  // namespace
}  // namespace android
