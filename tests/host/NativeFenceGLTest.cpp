// SPDX-License-Identifier: Apache-2.0
#include <fcntl.h>
#include <gmock/gmock.h>

#include <algorithm>
#include <vector>

#include "host/GlClient.h"
#include "support/process.h"

namespace android::test {
namespace {

constexpr int kLongMs = 20000;
constexpr int kStillMs = 20;  // Much less than the work takes.

class NativeFenceGLTest : public ::testing::Test {
  protected:
    void SetUp() override {
        mClient.work(1);  // So that the later draws do not compile anything.
        glFinish();
    }

    // Outlasts a few calls by far.
    void drawSlowly() { mClient.work(400); }

    const GlClient mClient;
};

TEST_F(NativeFenceGLTest, SignalsAfterTheGpuAndTheCallDoesNotWait) {
    const sp<GraphicBuffer> buffer = makeBuffer(4, 4);
    drawSlowly();
    const sp<Fence> fence = mClient.fence();
    EXPECT_EQ(fence->wait(kStillMs), -ETIME);  // So the call did not wait either.
    EXPECT_EQ(fence->getSignalTime(), Fence::SIGNAL_TIME_PENDING);
    const nsecs_t returned = systemTime(SYSTEM_TIME_MONOTONIC);

    const int fd = fence->dup();
    void* address = nullptr;
    ASSERT_EQ(buffer->lockAsync(kRead, &address, fd), OK);  // Waits, and closes the descriptor.
    EXPECT_EQ(fence->wait(0), NO_ERROR);
    EXPECT_EQ(fcntl(fd, F_GETFD), -1);
    int unlockFence = 0;
    EXPECT_EQ(buffer->unlockAsync(&unlockFence), OK);
    EXPECT_EQ(unlockFence, -1);
    EXPECT_GT(fence->getSignalTime(), returned);
    EXPECT_LE(fence->getSignalTime(), systemTime(SYSTEM_TIME_MONOTONIC));
}

TEST_F(NativeFenceGLTest, EveryCopySignalsForGoodWithoutTheSync) {
    drawSlowly();
    const EGLSyncKHR sync = mClient.sync();
    const sp<Fence> first = mClient.fence(sync);
    const sp<Fence> second = mClient.fence(sync);
    EXPECT_EQ(mClient.destroySync(mClient.display, sync), kTrue);
    const sp<Fence> copy = new Fence(first->dup());
    const sp<Fence> merged = Fence::merge("test", first, second);
    for (const auto& fence : {first, second, copy, merged}) {
        EXPECT_EQ(fcntl(fence->get(), F_GETFD), FD_CLOEXEC);
        EXPECT_EQ(fence->wait(kStillMs), -ETIME);
    }
    ASSERT_EQ(merged->wait(kLongMs), NO_ERROR);
    EXPECT_EQ(merged->getSignalTime(), std::max(first->getSignalTime(), second->getSignalTime()));
    EXPECT_EQ(copy->getSignalTime(), first->getSignalTime());

    char bytes[8];
    while (read(first->get(), bytes, sizeof(bytes)) > 0) {
    }
    for (const auto& fence : {first, second, copy, merged})
        EXPECT_EQ(fence->wait(0), NO_ERROR);
}

TEST_F(NativeFenceGLTest, AMergedFenceSignalsWithTheLaterOneAndHoldsNoOtherUp) {
    base::unique_fd end;
    base::unique_fd signal;
    ASSERT_TRUE(base::Pipe(&end, &signal));
    const sp<Fence> merged = Fence::merge("test", new Fence(std::move(end)), mClient.fence());
    EXPECT_EQ(mClient.fence()->wait(kLongMs), NO_ERROR);
    EXPECT_EQ(merged->wait(kStillMs), -ETIME);
    const nsecs_t before = systemTime(SYSTEM_TIME_MONOTONIC);
    signal.reset();
    EXPECT_EQ(merged->wait(kLongMs), NO_ERROR);
    EXPECT_GE(merged->getSignalTime(), before);
}

TEST_F(NativeFenceGLTest, ManyFencesLeaveNoDescriptorBehind) {
    ASSERT_EQ(mClient.fence()->wait(kLongMs), NO_ERROR);  // Whatever is opened once, now is.
    const size_t before = openDescriptors();
    drawSlowly();
    std::vector<sp<Fence>> kept;
    for (int i = 0; i < 1000; ++i) {
        const sp<Fence> fence = mClient.fence();  // Most are closed before they signal.
        ASSERT_TRUE(fence->isValid());
        if (i % 100 == 99) kept.push_back(fence);
    }
    for (const auto& fence : kept)
        EXPECT_EQ(fence->wait(kLongMs), NO_ERROR);
    kept.clear();
    EXPECT_LE(settledDescriptors(before), before);
}

TEST_F(NativeFenceGLTest, TheLastTerminateSignals) {
    drawSlowly();
    const sp<Fence> fence = mClient.fence();
    EXPECT_EQ(fence->wait(kStillMs), -ETIME);
    EXPECT_EQ(eglTerminate(mClient.display), kTrue);  // The context lives on, and with it the work.
    EXPECT_EQ(fence->wait(0), NO_ERROR);
}

TEST_F(NativeFenceGLTest, ArgumentsAreChecked) {
    const EGLDisplay display = mClient.display;
    const EGLSyncKHR gone = mClient.sync();
    EXPECT_EQ(mClient.destroySync(display, gone), kTrue);
    const EGLSyncKHR drivers = mClient.createSync(display, EGL_SYNC_FENCE_KHR, nullptr);
    for (const EGLSyncKHR sync : {EGL_NO_SYNC_KHR, gone, drivers})
        EXPECT_EQ(errorOf(mClient.dupFence(display, sync), -1), EGL_BAD_PARAMETER);
    EXPECT_EQ(mClient.destroySync(display, drivers), kTrue);
    for (const EGLSyncKHR sync : {EGL_NO_SYNC_KHR, gone})
        EXPECT_EQ(errorOf(mClient.destroySync(display, sync)), EGL_BAD_PARAMETER);
    for (const EGLDisplay bad : {EGL_NO_DISPLAY, EGLDisplay{this}})
        EXPECT_EQ(errorOf(mClient.dupFence(bad, mClient.sync()), -1), EGL_BAD_DISPLAY);
    const EGLint imported[] = {EGL_SYNC_NATIVE_FENCE_FD_ANDROID, 0, EGL_NONE};
    EXPECT_EQ(errorOf(mClient.createSync(display, EGL_SYNC_NATIVE_FENCE_ANDROID, imported)),
              EGL_BAD_ATTRIBUTE);
}

}  // namespace
}  // namespace android::test
