// SPDX-License-Identifier: Apache-2.0
#include <fcntl.h>
#include <gmock/gmock.h>
#include <sys/syscall.h>
#include <sys/wait.h>

#include <algorithm>
#include <thread>
#include <vector>

#include "host/HandDriver.h"
#include "support/process.h"

namespace android::test {
namespace {

constexpr int kLongMs = 20000;
constexpr int kStillMs = 20;

struct Pipe {
    base::unique_fd end;
    base::unique_fd signal;
    const bool made = base::Pipe(&end, &signal);
};

// Without the handlers that the host may have for a fork.
pid_t forkUnseen() {
    return static_cast<pid_t>(syscall(SYS_clone, SIGCHLD, 0, 0, 0, 0));
}

class NativeFenceGLTest : public ::testing::Test {
  protected:
    NativeFenceGLTest() { hand.reset(false, true); }
    ~NativeFenceGLTest() override { hand.reset(false, false); }

    EGLint attributeOf(EGLSyncKHR sync, EGLint attribute) const {
        EGLint value = 0;
        EXPECT_EQ(mClient.getAttribute(mClient.display, sync, attribute, &value), kTrue);
        return value;
    }
    void expectAttributes(EGLSyncKHR sync, EGLint condition, EGLint status) const {
        EXPECT_EQ(attributeOf(sync, EGL_SYNC_TYPE_KHR), EGL_SYNC_NATIVE_FENCE_ANDROID);
        EXPECT_EQ(attributeOf(sync, EGL_SYNC_CONDITION_KHR), condition);
        EXPECT_EQ(attributeOf(sync, EGL_SYNC_STATUS_KHR), status);
    }

    const GlClient mClient;
};

TEST_F(NativeFenceGLTest, SignalsAfterTheGpuAndTheCallDoesNotWait) {
    const sp<GraphicBuffer> buffer = makeBuffer(4, 4);
    mClient.work(100);
    const GLsync work = glFenceSync(GL_SYNC_GPU_COMMANDS_COMPLETE, 0);
    const sp<Fence> fence = mClient.fence();
    EXPECT_EQ(fence->wait(kStillMs), -ETIME);
    EXPECT_EQ(fence->getSignalTime(), Fence::SIGNAL_TIME_PENDING);
    const nsecs_t released = systemTime(SYSTEM_TIME_MONOTONIC);
    hand.held = false;

    const int fd = fence->dup();
    void* address = nullptr;
    ASSERT_EQ(buffer->lockAsync(kRead, &address, fd), OK);  // Waits, and closes the descriptor.
    EXPECT_EQ(fence->wait(0), NO_ERROR);
    EXPECT_EQ(glClientWaitSync(work, 0, 0), GLenum{GL_ALREADY_SIGNALED});
    EXPECT_EQ(fcntl(fd, F_GETFD), -1);
    int unlockFence = 0;
    EXPECT_EQ(buffer->unlockAsync(&unlockFence), OK);
    EXPECT_EQ(unlockFence, -1);
    EXPECT_GT(fence->getSignalTime(), released);
    EXPECT_LE(fence->getSignalTime(), systemTime(SYSTEM_TIME_MONOTONIC));
}

TEST_F(NativeFenceGLTest, EveryCopySignalsForGoodWhateverOthersHold) {
    const EGLSyncKHR sync = mClient.sync();
    const sp<Fence> first = mClient.fence(sync);
    const sp<Fence> second = mClient.fence(sync);
    EXPECT_EQ(mClient.destroySync(mClient.display, sync), kTrue);
    const sp<Fence> copy(new Fence(first->dup()));
    const sp<Fence> merged = Fence::merge("test", first, second);
    const auto fences = {first, second, copy, merged};
    for (const auto& fence : fences) {
        EXPECT_EQ(fcntl(fence->get(), F_GETFD), FD_CLOEXEC);
        EXPECT_EQ(fence->wait(kStillMs), -ETIME);
    }
    signal(SIGPIPE, SIG_IGN);
    EXPECT_EQ(write(first->get(), "x", 1), -1);
    // It keeps whatever this process has open, the host's ends too.
    const pid_t child = forkUnseen();
    if (child == 0) {
        while (true)
            pause();
    }
    hand.held = false;
    for (const auto& fence : fences)
        EXPECT_EQ(fence->wait(kLongMs), NO_ERROR);
    EXPECT_EQ(merged->getSignalTime(), std::max(first->getSignalTime(), second->getSignalTime()));
    EXPECT_EQ(copy->getSignalTime(), first->getSignalTime());

    char bytes[8];
    for (const auto& fence : fences) {
        EXPECT_EQ(read(fence->get(), bytes, sizeof(bytes)), 0);
        EXPECT_EQ(fence->wait(0), NO_ERROR);
    }
    kill(child, SIGKILL);
    waitpid(child, nullptr, 0);
}

TEST_F(NativeFenceGLTest, AMergedFenceSignalsWithTheLaterOneAndHoldsNoOtherUp) {
    hand.held = false;
    Pipe pipe;
    const sp<Fence> foreign(new Fence(std::move(pipe.end)));
    const sp<Fence> merged = Fence::merge("test", foreign, mClient.fence());
    EXPECT_EQ(mClient.fence()->wait(kLongMs), NO_ERROR);
    EXPECT_EQ(merged->wait(kStillMs), -ETIME);
    const nsecs_t before = systemTime(SYSTEM_TIME_MONOTONIC);
    pipe.signal.reset();
    EXPECT_EQ(merged->wait(kLongMs), NO_ERROR);
    EXPECT_GE(merged->getSignalTime(), before);
}

TEST_F(NativeFenceGLTest, TheDriverIsAskedAtLeastEachMillisecond) {
    const sp<Fence> fence = mClient.fence();
    EXPECT_EQ(fence->wait(50), -ETIME);  // The sleeps grow with the fence's age.
    otherPolls.longestNs = 0;
    otherPolls.awaitMore(3);
    EXPECT_LE(otherPolls.longestNs, ms2ns(1));
}

TEST_F(NativeFenceGLTest, ManyFencesLeaveNoDescriptorBehind) {
    hand.held = false;
    ASSERT_EQ(mClient.fence()->wait(kLongMs), NO_ERROR);  // Whatever is opened once, now is.
    const size_t before = openDescriptors();
    hand.held = true;
    std::vector<sp<Fence>> kept;
    for (int i = 0; i < 1000; ++i) {
        const sp<Fence> fence = mClient.fence();  // Most are closed before they signal.
        ASSERT_TRUE(fence->isValid());
        if (i % 100 == 99) kept.push_back(fence);
    }
    hand.held = false;
    for (const auto& fence : kept)
        EXPECT_EQ(fence->wait(kLongMs), NO_ERROR);
    kept.clear();
    EXPECT_LE(settledDescriptors(before), before);
}

// The context lives on, and with it the work.
TEST_F(NativeFenceGLTest, TheLastTerminateSignals) {
    const Pipe stuck;
    const int fd = dup(stuck.end.get());
    EXPECT_NE(mClient.import(fd), EGL_NO_SYNC_KHR);
    const sp<Fence> foreign(new Fence(dup(stuck.end.get())));
    const sp<Fence> done(new Fence(Pipe().end.release()));
    for (const bool drawn : {true, false}) {
        const sp<Fence> fence = drawn ? mClient.fence() : done;
        const sp<Fence> merged = Fence::merge("test", fence, foreign);
        EXPECT_EQ(fence->wait(kStillMs), drawn ? -ETIME : NO_ERROR);
        EXPECT_EQ(merged->wait(kStillMs), -ETIME);
        const nsecs_t before = systemTime(SYSTEM_TIME_MONOTONIC);
        EXPECT_EQ(eglTerminate(mClient.display), kTrue);
        EXPECT_EQ(fence->wait(0), NO_ERROR);
        EXPECT_EQ(merged->wait(0), NO_ERROR);
        EXPECT_GE(merged->getSignalTime(), before);
        EXPECT_EQ(fcntl(fd, F_GETFD), -1);
        EXPECT_EQ(eglInitialize(mClient.display, nullptr, nullptr), kTrue);
    }
}

// Whatever the driver does, and what other processes hold.
TEST(NativeFenceProcessGLTest, ExitSignalsAndWaitsForNoHangingDriver) {
    inAProcess([] {
        static sp<Fence> fence;
        hand.reset(false, true);
        static const auto* const client = new GlClient;
        atexit([] {  // After the host's own handlers.
            if (fence->wait(0) != NO_ERROR) _exit(2);
            if (errorOf(client->dupFence(client->display, client->sync()), -1) != EGL_BAD_ALLOC) {
                _exit(3);
            }
            _exit(0);  // The driver's would not end.
        });
        hand.hangs = true;
        fence = client->fence();
        EXPECT_EQ(fence->wait(kStillMs), -ETIME);
    });
}

TEST_F(NativeFenceGLTest, AnImportedFenceIsWaitedFor) {
    Pipe pipe;
    const int fd = pipe.end.release();
    const EGLDisplay display = mClient.display;
    const EGLSyncKHR sync = mClient.import(fd);
    ASSERT_NE(sync, EGL_NO_SYNC_KHR);
    const sp<Fence> copy = mClient.fence(sync);
    expectAttributes(sync, EGL_SYNC_NATIVE_FENCE_SIGNALED_ANDROID, EGL_UNSIGNALED_KHR);
    constexpr EGLint kFlush = EGL_SYNC_FLUSH_COMMANDS_BIT_KHR;
    for (const EGLTimeKHR ns : std::initializer_list<EGLTimeKHR>{0, 1, 2000000})
        EXPECT_EQ(mClient.clientWait(display, sync, kFlush, ns), EGL_TIMEOUT_EXPIRED_KHR);

    const int flushes = hand.flushes;
    std::atomic<bool> signalled{false};
    std::thread later([&] {
        while (hand.flushes == flushes)  // What came before does not wait as well.
            usleep(1000);
        usleep(20000);
        signalled = true;
        pipe.signal.reset();
    });
    EXPECT_EQ(mClient.serverWait(display, sync, 0), EGL_TRUE);
    EXPECT_TRUE(signalled);
    later.join();
    EXPECT_EQ(mClient.clientWait(display, sync, 0, EGL_FOREVER_KHR), EGL_CONDITION_SATISFIED_KHR);
    expectAttributes(sync, EGL_SYNC_NATIVE_FENCE_SIGNALED_ANDROID, EGL_SIGNALED_KHR);
    EXPECT_EQ(copy->wait(0), NO_ERROR);
    EXPECT_EQ(mClient.destroySync(display, sync), kTrue);
    EXPECT_EQ(fcntl(fd, F_GETFD), -1);
}

TEST_F(NativeFenceGLTest, TheGpuWaitsForTheHostsOwnFence) {
    const EGLSyncKHR own = mClient.sync();
    expectAttributes(own, EGL_SYNC_PRIOR_COMMANDS_COMPLETE_KHR, EGL_UNSIGNALED_KHR);
    const EGLSyncKHR imported = mClient.import(mClient.dupFence(mClient.display, own));
    EXPECT_EQ(mClient.serverWait(mClient.display, imported, 0), EGL_TRUE);  // Does not block.
    EXPECT_EQ(hand.serverWaits, 1);
    EXPECT_EQ(attributeOf(imported, EGL_SYNC_STATUS_KHR), EGL_UNSIGNALED_KHR);
    EXPECT_EQ(mClient.serverWait(mClient.display, own, 0), EGL_TRUE);
    EXPECT_EQ(hand.serverWaits, 2);
    hand.held = false;
    EXPECT_EQ(mClient.clientWait(mClient.display, imported, 0, EGL_FOREVER_KHR),
              EGL_CONDITION_SATISFIED_KHR);
}

TEST_F(NativeFenceGLTest, AWaitForAStuckFenceEnds) {
    const Pipe stuck;
    const EGLSyncKHR sync = mClient.import(dup(stuck.end.get()));
    int waited = 0;
    answerPoll = [&](int timeout) { return waited += timeout, 0; };
    EXPECT_EQ(errorOf(mClient.serverWait(mClient.display, sync, 0)), EGL_BAD_ACCESS);
    answerPoll = nullptr;
    EXPECT_EQ(waited, 10000);
}

// The host's syncs are not handles of the driver's.
TEST_F(NativeFenceGLTest, TheFunctionsOfEgl15TakeTheSameSyncs) {
    hand.held = false;
    const EGLDisplay display = mClient.display;
    const PFNEGLCREATESYNCPROC create = EntryPoint{"eglCreateSync"};
    const PFNEGLDESTROYSYNCPROC destroy = EntryPoint{"eglDestroySync"};
    const PFNEGLCLIENTWAITSYNCPROC clientWait = EntryPoint{"eglClientWaitSync"};
    const PFNEGLWAITSYNCPROC serverWait = EntryPoint{"eglWaitSync"};
    const PFNEGLGETSYNCATTRIBPROC getAttribute = EntryPoint{"eglGetSyncAttrib"};
    const EGLAttrib attributes[] = {EGL_SYNC_NATIVE_FENCE_FD_ANDROID, mClient.fence()->dup(),
                                    EGL_NONE};
    const EGLSync syncs[] = {create(display, EGL_SYNC_NATIVE_FENCE_ANDROID, attributes),
                             create(display, EGL_SYNC_NATIVE_FENCE_ANDROID, nullptr),
                             create(display, EGL_SYNC_FENCE, nullptr)};
    for (const EGLSync sync : syncs) {
        ASSERT_NE(sync, EGL_NO_SYNC);
        EGLAttrib type = 0;
        EXPECT_EQ(getAttribute(display, sync, EGL_SYNC_TYPE, &type), kTrue);
        EXPECT_EQ(type, sync == syncs[2] ? EGL_SYNC_FENCE : EGL_SYNC_NATIVE_FENCE_ANDROID);
        EXPECT_EQ(serverWait(display, sync, 0), kTrue);
        EXPECT_EQ(clientWait(display, sync, EGL_SYNC_FLUSH_COMMANDS_BIT, EGL_FOREVER),
                  EGL_CONDITION_SATISFIED);
        EXPECT_EQ(destroy(display, sync), kTrue);
    }
    EXPECT_EQ(errorOf(destroy(display, syncs[0])), EGL_BAD_PARAMETER);
}

TEST_F(NativeFenceGLTest, ArgumentsAreChecked) {
    const EGLDisplay display = mClient.display;
    const EGLSyncKHR gone = mClient.sync();
    const sp<Fence> held = mClient.fence(gone);  // The driver still has the sync.
    EXPECT_EQ(mClient.destroySync(display, gone), kTrue);
    const EGLSyncKHR drivers = mClient.createSync(display, EGL_SYNC_FENCE_KHR, nullptr);
    for (const EGLSyncKHR sync : {EGL_NO_SYNC_KHR, gone, drivers})
        EXPECT_EQ(errorOf(mClient.dupFence(display, sync), -1), EGL_BAD_PARAMETER);
    EXPECT_EQ(mClient.destroySync(display, drivers), kTrue);
    EGLint value = 0;
    for (const EGLSyncKHR sync : {EGL_NO_SYNC_KHR, gone}) {
        EXPECT_EQ(errorOf(mClient.destroySync(display, sync)), EGL_BAD_PARAMETER);
        EXPECT_EQ(errorOf(mClient.serverWait(display, sync, 0)), EGL_BAD_PARAMETER);
        EXPECT_EQ(errorOf(mClient.clientWait(display, sync, 0, 0)), EGL_BAD_PARAMETER);
        EXPECT_EQ(errorOf(mClient.getAttribute(display, sync, EGL_SYNC_TYPE_KHR, &value)),
                  EGL_BAD_PARAMETER);
    }
    for (const EGLDisplay bad : {EGL_NO_DISPLAY, EGLDisplay{this}})
        EXPECT_EQ(errorOf(mClient.dupFence(bad, mClient.sync()), -1), EGL_BAD_DISPLAY);

    const Pipe pipe;
    const int fd = pipe.end.get();
    const EGLint lists[][5] = {{EGL_SYNC_NATIVE_FENCE_FD_ANDROID, -2, EGL_NONE},
                               {EGL_SYNC_NATIVE_FENCE_FD_ANDROID, 1 << 20, EGL_NONE},
                               {EGL_SYNC_STATUS_KHR, fd, EGL_NONE},
                               {EGL_SYNC_NATIVE_FENCE_FD_ANDROID, fd, EGL_SYNC_TYPE_KHR, 0}};
    for (const auto& list : lists) {
        EXPECT_EQ(errorOf(mClient.createSync(display, EGL_SYNC_NATIVE_FENCE_ANDROID, list)),
                  EGL_BAD_ATTRIBUTE);
    }
    const EGLSyncKHR sync = mClient.import(dup(fd));
    EXPECT_EQ(errorOf(mClient.serverWait(display, sync, 1)), EGL_BAD_PARAMETER);
    EXPECT_EQ(
            errorOf(mClient.getAttribute(display, sync, EGL_SYNC_NATIVE_FENCE_FD_ANDROID, &value)),
            EGL_BAD_ATTRIBUTE);
    const EGLContext context = eglGetCurrentContext();
    eglMakeCurrent(display, EGL_NO_SURFACE, EGL_NO_SURFACE, EGL_NO_CONTEXT);
    EXPECT_EQ(errorOf(mClient.import(fd)), EGL_BAD_MATCH);
    EXPECT_EQ(errorOf(mClient.serverWait(display, sync, 0)), EGL_BAD_MATCH);
    eglMakeCurrent(display, EGL_NO_SURFACE, EGL_NO_SURFACE, context);
    EXPECT_GE(fcntl(fd, F_GETFD), 0);  // Not taken by what failed.
}

}  // namespace
}  // namespace android::test
