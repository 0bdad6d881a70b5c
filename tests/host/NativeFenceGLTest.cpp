// SPDX-License-Identifier: Apache-2.0
#include <fcntl.h>
#include <gmock/gmock.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <filesystem>
#include <iterator>
#include <optional>
#include <vector>

#include "host/GlClient.h"

namespace android {
namespace {

using Clock = std::chrono::steady_clock;

constexpr int kLongMs = 20000;
constexpr GLsizei kSize = 512;

class NativeFenceGLTest : public ::testing::Test {
  protected:
    void SetUp() override {
        mBuffer = new GraphicBuffer(kSize, kSize, PIXEL_FORMAT_RGBA_8888, 1,
                                    GraphicBuffer::USAGE_HW_RENDER);
        mClient.emplace();
        mImage = mClient->import(mBuffer);
        // So that the draws that count do not compile anything.
        mClient->fillSlowly(mImage, {0, 0, 0, 0}, 1, kSize);
        glFinish();
    }

    // Work that outlasts a few calls by far: some 0.4 s on two cores without a GPU.
    void drawSlowly() { mClient->fillSlowly(mImage, {1, 1, 1, 1}, 400, kSize); }

    sp<GraphicBuffer> mBuffer;
    std::optional<GlClient> mClient;
    EGLImageKHR mImage = EGL_NO_IMAGE_KHR;
};

auto openDescriptors() {
    return std::distance(std::filesystem::directory_iterator("/proc/self/fd"),
                         std::filesystem::directory_iterator());
}

TEST_F(NativeFenceGLTest, SignalsAfterTheGpuAndTheCallDoesNotWait) {
    drawSlowly();
    const sp<Fence> fence = mClient->fence();
    ASSERT_TRUE(fence->isValid());
    EXPECT_EQ(fence->wait(0), -ETIME);  // So the call did not wait either.
    EXPECT_EQ(fence->getStatus(), Fence::Status::Unsignaled);
    EXPECT_EQ(fence->getSignalTime(), Fence::SIGNAL_TIME_PENDING);
    const nsecs_t returned = systemTime(SYSTEM_TIME_MONOTONIC);

    ASSERT_EQ(fence->wait(kLongMs), NO_ERROR);
    void* address = nullptr;
    ASSERT_EQ(mBuffer->lock(GraphicBuffer::USAGE_SW_READ_OFTEN, &address), OK);
    const auto* bytes = static_cast<const uint8_t*>(address);
    constexpr ptrdiff_t kBytes = ptrdiff_t{kSize} * kSize * 4;
    EXPECT_EQ(std::count(bytes, bytes + kBytes, 255), kBytes);
    EXPECT_EQ(mBuffer->unlock(), OK);

    const nsecs_t signalled = fence->getSignalTime();
    EXPECT_GT(signalled, returned);
    EXPECT_LE(signalled, systemTime(SYSTEM_TIME_MONOTONIC));
    EXPECT_EQ(fence->getStatus(), Fence::Status::Signaled);
}

TEST_F(NativeFenceGLTest, EveryCopySignalsForGood) {
    drawSlowly();
    const EGLSyncKHR sync =
            mClient->createSync(mClient->display(), EGL_SYNC_NATIVE_FENCE_ANDROID, nullptr);
    const sp<Fence> first = new Fence(mClient->dupFence(mClient->display(), sync));
    const sp<Fence> second = new Fence(mClient->dupFence(mClient->display(), sync));
    EXPECT_EQ(mClient->destroySync(mClient->display(), sync), EGLBoolean{EGL_TRUE});
    const sp<Fence> copy = new Fence(first->dup());
    const sp<Fence> merged = Fence::merge("test", first, second);
    for (const auto& fence : {first, second, copy, merged}) {
        EXPECT_NE(fcntl(fence->get(), F_GETFD) & FD_CLOEXEC, 0);
        EXPECT_EQ(fence->wait(0), -ETIME);
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

TEST_F(NativeFenceGLTest, FencesDoNotWaitForEachOther) {
    int never[2];
    ASSERT_EQ(pipe2(never, O_CLOEXEC), 0);
    const sp<Fence> unsignalled = new Fence(never[0]);
    const sp<Fence> stuck = Fence::merge("test", unsignalled, mClient->fence());
    ASSERT_TRUE(stuck->isValid());
    EXPECT_EQ(mClient->fence()->wait(kLongMs), NO_ERROR);
    EXPECT_EQ(stuck->wait(0), -ETIME);
    close(never[1]);
    EXPECT_EQ(stuck->wait(kLongMs), NO_ERROR);
}

TEST_F(NativeFenceGLTest, ManyFencesLeaveNoDescriptorBehind) {
    ASSERT_EQ(mClient->fence()->wait(kLongMs), NO_ERROR);  // Whatever is opened once, now is.
    const auto before = openDescriptors();
    drawSlowly();
    sp<Fence> last;
    std::vector<sp<Fence>> some;
    for (int i = 0; i < 1000; ++i) {
        last = mClient->fence();  // Most are closed before they signal.
        ASSERT_TRUE(last->isValid());
        if (i % 100 == 0) some.push_back(last);
    }
    ASSERT_EQ(last->wait(kLongMs), NO_ERROR);
    for (const auto& fence : some)
        EXPECT_EQ(fence->wait(kLongMs), NO_ERROR);
    last = nullptr;
    some.clear();
    const auto deadline = Clock::now() + std::chrono::milliseconds(kLongMs);
    while (openDescriptors() > before && Clock::now() < deadline)
        usleep(1000);
    EXPECT_LE(openDescriptors(), before);
}

TEST_F(NativeFenceGLTest, OutOfDescriptorsIsAnErrorAndNoMore) {
    const EGLSyncKHR sync =
            mClient->createSync(mClient->display(), EGL_SYNC_NATIVE_FENCE_ANDROID, nullptr);
    ASSERT_EQ(mClient->fence()->wait(kLongMs), NO_ERROR);
    std::vector<base::unique_fd> all;
    while (all.empty() || all.back().ok())
        all.emplace_back(::dup(STDERR_FILENO));
    EXPECT_EQ(mClient->dupFence(mClient->display(), sync), EGL_NO_NATIVE_FENCE_FD_ANDROID);
    EXPECT_EQ(eglGetError(), EGL_BAD_ALLOC);
    all.clear();
    const sp<Fence> fence = new Fence(mClient->dupFence(mClient->display(), sync));
    EXPECT_TRUE(fence->isValid());
    EXPECT_EQ(fence->wait(kLongMs), NO_ERROR);
    EXPECT_EQ(mClient->destroySync(mClient->display(), sync), EGLBoolean{EGL_TRUE});
}

TEST_F(NativeFenceGLTest, TheLastTerminateSignals) {
    drawSlowly();
    const sp<Fence> fence = mClient->fence();
    EXPECT_EQ(fence->wait(0), -ETIME);
    mClient.reset();
    EXPECT_EQ(fence->wait(0), NO_ERROR);
}

TEST_F(NativeFenceGLTest, ArgumentsAreChecked) {
    const EGLDisplay display = mClient->display();
    const auto dupError = [&](EGLDisplay on, EGLSyncKHR sync) {
        EXPECT_EQ(mClient->dupFence(on, sync), EGL_NO_NATIVE_FENCE_FD_ANDROID);
        return eglGetError();
    };
    const auto destroyError = [&](EGLDisplay on, EGLSyncKHR sync) {
        EXPECT_EQ(mClient->destroySync(on, sync), EGLBoolean{EGL_FALSE});
        return eglGetError();
    };
    const auto createError = [&](EGLDisplay on, const EGLint* attributes) {
        EXPECT_EQ(mClient->createSync(on, EGL_SYNC_NATIVE_FENCE_ANDROID, attributes),
                  EGL_NO_SYNC_KHR);
        return eglGetError();
    };
    const auto unknownDisplay = reinterpret_cast<EGLDisplay>(this);
    EXPECT_EQ(dupError(EGL_NO_DISPLAY, EGL_NO_SYNC_KHR), EGL_BAD_DISPLAY);
    EXPECT_EQ(dupError(unknownDisplay, EGL_NO_SYNC_KHR), EGL_BAD_DISPLAY);
    EXPECT_EQ(dupError(display, EGL_NO_SYNC_KHR), EGL_BAD_PARAMETER);
    EXPECT_EQ(destroyError(EGL_NO_DISPLAY, EGL_NO_SYNC_KHR), EGL_BAD_DISPLAY);
    EXPECT_EQ(destroyError(display, EGL_NO_SYNC_KHR), EGL_BAD_PARAMETER);
    EXPECT_EQ(createError(EGL_NO_DISPLAY, nullptr), EGL_BAD_DISPLAY);
    const EGLint imported[] = {EGL_SYNC_NATIVE_FENCE_FD_ANDROID, 0, EGL_NONE};
    EXPECT_EQ(createError(display, imported), EGL_BAD_ATTRIBUTE);

    // Destroyed by the client, and still waited for.
    drawSlowly();
    const EGLSyncKHR sync = mClient->createSync(display, EGL_SYNC_NATIVE_FENCE_ANDROID, nullptr);
    const sp<Fence> fence = new Fence(mClient->dupFence(display, sync));
    EXPECT_EQ(mClient->destroySync(display, sync), EGLBoolean{EGL_TRUE});
    EXPECT_EQ(destroyError(display, sync), EGL_BAD_PARAMETER);
    EXPECT_EQ(dupError(display, sync), EGL_BAD_PARAMETER);
    EXPECT_EQ(fence->wait(0), -ETIME);
    EXPECT_EQ(fence->wait(kLongMs), NO_ERROR);
}

TEST_F(NativeFenceGLTest, ASyncNeedsAContext) {
    const EGLContext context = eglGetCurrentContext();
    eglMakeCurrent(mClient->display(), EGL_NO_SURFACE, EGL_NO_SURFACE, EGL_NO_CONTEXT);
    EXPECT_EQ(mClient->createSync(mClient->display(), EGL_SYNC_NATIVE_FENCE_ANDROID, nullptr),
              EGL_NO_SYNC_KHR);
    EXPECT_EQ(eglGetError(), EGL_BAD_MATCH);
    eglMakeCurrent(mClient->display(), EGL_NO_SURFACE, EGL_NO_SURFACE, context);
}

TEST_F(NativeFenceGLTest, TheDriversSyncFunctionsTakeNativeFencesAndTheHostsTakeTheDrivers) {
    const EGLDisplay display = mClient->display();
    const EGLSyncKHR native = mClient->createSync(display, EGL_SYNC_NATIVE_FENCE_ANDROID, nullptr);
    EXPECT_EQ(mClient->waitSync(display, native, 0), EGL_TRUE);
    EXPECT_EQ(mClient->destroySync(display, native), EGLBoolean{EGL_TRUE});

    const EGLSyncKHR drivers = mClient->createSync(display, EGL_SYNC_FENCE_KHR, nullptr);
    ASSERT_NE(drivers, EGL_NO_SYNC_KHR);
    EXPECT_EQ(mClient->dupFence(display, drivers), EGL_NO_NATIVE_FENCE_FD_ANDROID);
    EXPECT_EQ(eglGetError(), EGL_BAD_PARAMETER);
    EXPECT_EQ(mClient->destroySync(display, drivers), EGLBoolean{EGL_TRUE});
}

}  // namespace
}  // namespace android
