// SPDX-License-Identifier: Apache-2.0
// Fences on real sync files, alone and together with the host's own. scripts/guest has the kernel
// for it.
#include "guest/sync_file.h"

#include <gtest/gtest.h>
#include <linux/sync_file.h>
#include <unistd.h>

#include <cstdlib>
#include <thread>
#include <utility>

#include "host/GlClient.h"

namespace android::test {
namespace {

constexpr int kStillMs = 20;

class SyncFileGLTest : public ::testing::Test {
  protected:
    void SetUp() override {
        if (vgem().ok()) return;
        if (getenv("UPSCALER_IN_GUEST") != nullptr) FAIL() << "No vgem in scripts/guest";
        GTEST_SKIP() << "No vgem, and so no pending sync file: run it in scripts/guest --vgem";
    }
};

void expectPending(const sp<Fence>& fence, int waitedMs = 0) {
    EXPECT_EQ(fence->wait(waitedMs), -ETIME);
    EXPECT_EQ(fence->getStatus(), Fence::Status::Unsignaled);
    EXPECT_EQ(fence->getSignalTime(), Fence::SIGNAL_TIME_PENDING);
}

void expectSignalled(const sp<Fence>& fence, nsecs_t earliest, nsecs_t latest) {
    EXPECT_EQ(fence->waitForever("test"), NO_ERROR);
    EXPECT_EQ(fence->getStatus(), Fence::Status::Signaled);
    EXPECT_GE(fence->getSignalTime(), earliest);
    EXPECT_LE(fence->getSignalTime(), latest);
}

nsecs_t now() {
    return systemTime(SYSTEM_TIME_MONOTONIC);
}

// How many fences the kernel counts in it; none if it is not a sync file.
unsigned fenceCount(const sp<Fence>& fence) {
    sync_file_info info{};
    return ioctl(fence->get(), SYNC_IOC_FILE_INFO, &info) == 0 ? info.num_fences : 0;
}

// Signals it from another thread while the calling one waits.
class LaterSignal {
  public:
    explicit LaterSignal(const SyncFile& file)
        : mThread([&file] {
              usleep(300000);
              file.signal();
          }) {}
    ~LaterSignal() { mThread.join(); }

  private:
    std::thread mThread;
};

TEST_F(SyncFileGLTest, SignalsEveryCopyAndKeepsTheKernelsTime) {
    const SyncFile file;
    const sp<Fence> copy = new Fence(file.fence->dup());
    const sp<Fence> alone = Fence::merge("test", file.fence, Fence::NO_FENCE);
    for (const auto& fence : {file.fence, copy, alone})
        expectPending(fence, kStillMs);
    const nsecs_t before = now();
    {
        const LaterSignal later(file);
        EXPECT_EQ(copy->waitForever("test"), NO_ERROR);
    }
    const nsecs_t after = now();
    for (const auto& fence : {file.fence, copy, alone})
        expectSignalled(fence, before, after);
}

TEST_F(SyncFileGLTest, TheKernelMergesTwo) {
    for (const bool firstIsLast : {false, true}) {
        const SyncFile files[2];
        const sp<Fence> merged = Fence::merge("test", files[0].fence, files[1].fence);
        EXPECT_EQ(fenceCount(merged), 2u);
        EXPECT_EQ(fcntl(merged->get(), F_GETFD), FD_CLOEXEC);
        files[firstIsLast ? 1 : 0].signal();
        expectPending(merged, kStillMs);
        const nsecs_t before = now();
        files[firstIsLast ? 0 : 1].signal();
        expectSignalled(merged, before, now());
        EXPECT_EQ(Fence::merge("test", files[0].fence, files[1].fence)->wait(0), NO_ERROR);
    }
}

TEST_F(SyncFileGLTest, TheHostMergesOneWithAFenceOfItsOwn) {
    const GlClient client;
    const sp<Fence> hosts = client.fence();
    ASSERT_EQ(hosts->waitForever("test"), NO_ERROR);
    for (const bool hostsIsFirst : {false, true}) {
        SCOPED_TRACE(hostsIsFirst);
        const SyncFile file;
        const sp<Fence> merged = hostsIsFirst ? Fence::merge("test", hosts, file.fence)
                                              : Fence::merge("test", file.fence, hosts);
        expectPending(merged, kStillMs);
        const nsecs_t before = now();
        file.signal();
        expectSignalled(merged, before, now());  // The kernel's time, not when the host saw it.
        EXPECT_EQ(merged->getSignalTime(), file.fence->getSignalTime());

        base::unique_fd end;
        base::unique_fd signal;
        ASSERT_TRUE(base::Pipe(&end, &signal));
        const sp<Fence> last = new Fence(std::move(end));
        const sp<Fence> waiting = hostsIsFirst ? Fence::merge("test", last, file.fence)
                                               : Fence::merge("test", file.fence, last);
        expectPending(waiting, kStillMs);
        signal.reset();
        EXPECT_EQ(waiting->waitForever("test"), NO_ERROR);
    }
}

TEST_F(SyncFileGLTest, ABufferIsLockedOnlyOnceItHasSignalled) {
    const GlClient client;
    const sp<GraphicBuffer> buffer = makeBuffer(4, 4);
    const SyncFile file;
    const LaterSignal later(file);
    void* address = nullptr;
    EXPECT_EQ(buffer->lockAsync(kWrite, &address, file.fence->dup()), OK);
    EXPECT_EQ(file.fence->getStatus(), Fence::Status::Signaled);
    EXPECT_EQ(buffer->unlock(), OK);
}

// As an acquire fence. Whether the thread waits or the GPU, what is drawn later comes later.
TEST_F(SyncFileGLTest, TheGpuWaitsForOne) {
    const GlClient client;
    const PFNEGLWAITSYNCKHRPROC waitSync = EntryPoint{"eglWaitSyncKHR"};
    const PFNEGLCLIENTWAITSYNCKHRPROC clientWaitSync = EntryPoint{"eglClientWaitSyncKHR"};
    const EGLImageKHR image = client.import(makeBuffer(4, 4));
    client.fill(image, {});  // So that the later one takes no time.
    const SyncFile file;
    const EGLint attributes[] = {EGL_SYNC_NATIVE_FENCE_FD_ANDROID, file.fence->dup(), EGL_NONE};
    const EGLSyncKHR sync =
            client.createSync(client.display, EGL_SYNC_NATIVE_FENCE_ANDROID, attributes);
    ASSERT_NE(sync, EGL_NO_SYNC_KHR);
    EXPECT_EQ(clientWaitSync(client.display, sync, 0, 0), EGL_TIMEOUT_EXPIRED_KHR);
    const sp<Fence> copy = client.fence(sync);
    EXPECT_EQ(fenceCount(copy), 1u);
    {
        const LaterSignal later(file);
        EXPECT_EQ(waitSync(client.display, sync, 0), EGL_TRUE);
        client.fill(image, {});
        EXPECT_EQ(file.fence->getStatus(), Fence::Status::Signaled);
    }
    EXPECT_EQ(clientWaitSync(client.display, sync, 0, 0), EGL_CONDITION_SATISFIED_KHR);
    EXPECT_EQ(copy->wait(0), NO_ERROR);
    EXPECT_EQ(client.destroySync(client.display, sync), kTrue);
    EXPECT_EQ(client.destroyImage(client.display, image), kTrue);
}

}  // namespace
}  // namespace android::test
