// SPDX-License-Identifier: Apache-2.0
// Many threads; and processes of their own, which end or fork in the middle, have no display server
// or run out of things.
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/wait.h>

#include <array>
#include <atomic>
#include <functional>
#include <future>
#include <thread>
#include <utility>

#include "support/fixture.h"
#include "support/operations.h"
#include "support/process.h"

// What the library's EGL calls are bound to.
extern "C" {
decltype(eglGetError) __wrap_eglGetError;
decltype(eglInitialize) __wrap_eglInitialize;
decltype(eglTerminate) __wrap_eglTerminate;
}

namespace android::test {
namespace {

using ::testing::Each;
using ::testing::IsEmpty;

constexpr int kLongMs = 60000;

// An object with a pair of buffers that it has worked on.
struct Warm {
    OwnedUpscaler upscaler;
    sp<GraphicBuffer> src = makeBuffer(16, 16);
    sp<GraphicBuffer> dst = makeBuffer(40, 40);
    sp<Fence> fence;

    Warm() {
        upscaler->casSharpen(src, dst, 0.5f, &fence);
        EXPECT_EQ(fence->wait(kLongMs), NO_ERROR);
    }
};

// Does the work again and again, on a thread of its own.
class Repeated {
  public:
    explicit Repeated(std::function<void()> work)
        : mThread([this, work = std::move(work)] {
              while (!mIsOver)
                  work();
          }) {}
    ~Repeated() {
        mIsOver = true;
        mThread.join();
    }

  private:
    std::atomic<bool> mIsOver{false};
    std::thread mThread;
};

// Waits for a copy or a merged one, and lets the others go early: `turn` chooses.
bool useFence(const sp<Fence>& fence, const sp<Fence>& earlier, size_t turn) {
    const sp<Fence> copies[] = {fence, new Fence(fence->dup()),
                                Fence::merge("stress", fence, earlier),
                                Fence::merge("stress", earlier, fence)};
    return copies[turn % 4]->isValid() && copies[turn % 4]->wait(kLongMs) == NO_ERROR;
}

TEST(StressGLTest, FencesGoToManyThreads) {
    Warm warm;
    auto& [upscaler, src, dst, fence] = warm;
    fence = Fence::NO_FENCE;
    usleep(100000);  // The host lets go of its end.
    const size_t descriptors = openDescriptors();
    std::vector<std::future<bool>> uses;
    for (size_t i = 0; i < 400; ++i) {
        const sp<Fence> earlier = fence;
        ((*upscaler).*operations()[i % operations().size()].call)(src, dst, 0.5f, &fence);
        uses.push_back(std::async(std::launch::async, useFence, fence, earlier, i));
    }
    for (size_t i = 0; i < uses.size(); ++i)
        EXPECT_TRUE(uses[i].get()) << "use " << i % 4;
    uses.clear();  // And with them what the threads were given.
    fence.clear();
    EXPECT_LE(settledDescriptors(descriptors), descriptors);
}

// Each on its own thread with a context of its own, all on one source.
TEST(StressGLTest, UpscalersOnThreadsShareASourceAndComeAndGo) {
    LogCapture log;
    const sp<GraphicBuffer> shared = makeBuffer(16, 16);
    fill(shared, 0xFF336699);
    using Pictures = std::vector<std::vector<uint32_t>>;
    const auto run = [&shared] {
        sp<GraphicBuffer> src = shared;
        sp<GraphicBuffer> dst = makeBuffer(40, 40);
        Pictures results;
        for (int round = 0; round < 2; ++round) {
            OwnedUpscaler upscaler;
            sp<Fence> fence;
            for (const OperationRow& row : operations()) {
                ((*upscaler).*row.call)(src, dst, 0.5f, &fence);
                EXPECT_EQ(fence->wait(kLongMs), NO_ERROR);
                results.push_back(pixelsOf(dst));
            }
        }
        return results;
    };
    const Pictures expected = run();
    EXPECT_EQ(expected[0][820], 0xFF336699);
    std::array<std::future<Pictures>, 3> others;
    for (auto& other : others)
        other = std::async(std::launch::async, run);
    for (auto& other : others)
        EXPECT_EQ(other.get(), expected);
    EXPECT_THAT(log.errors(), IsEmpty());
}

// In a process of its own, since a GPU that waits for ever cannot be left otherwise.
TEST(ProcessGLTest, TheSourceMayBeReadDuringAnOperation) {
    inAProcess([] {
        const sp<GraphicBuffer> src = makeBuffer(64, 64, PIXEL_FORMAT_RGBA_8888, kSeldomUse);
        const Repeated reads([&src] { bytesOf(src); });
        Warm warm;
        warm.src = src;
        for (int i = 0; i < 100; ++i) {
            warm.upscaler->fsrResize(warm.src, warm.dst, 0.2f, &warm.fence);
            if (warm.fence->wait(kLongMs) != NO_ERROR) _exit(2);
        }
    });
}

// Whatever a client leaves behind, and in whichever order its own statics go.
TEST(ProcessGLTest, ExitEndsWhatIsLeftOpenAndSignals) {
    inAProcess([] {
        static sp<GraphicBuffer> dst;
        static sp<Fence> fence;
        atexit([] {
            // Runs after the host's handlers: the fence is signalled, the pixels are gone.
            if (fence->wait(0) != NO_ERROR) _exit(2);
            void* address = nullptr;
            if (dst->lock(kRead, &address) != NO_INIT) _exit(3);
        });
        dst = makeBuffer(2048, 2048);
        static auto* const warm = new Warm;  // Never torn down.
        for (int i = 0; i < 8; ++i)
            warm->upscaler->fsrResize(warm->src, dst, 0.0f, &fence);
        EXPECT_EQ(fence->getStatus(), Fence::Status::Unsignaled);
    });
}

TEST(ProcessGLTest, NoDisplayServerIsNeeded) {
    for (const char* stale : {"DISPLAY", "WAYLAND_DISPLAY"}) {
        SCOPED_TRACE(stale);
        inAProcess([&] {
            unsetenv("DISPLAY");
            unsetenv("WAYLAND_DISPLAY");
            setenv(stale, ":4242", 1);
            EXPECT_THAT(pixelsOf(Warm().dst), Each(0xFF000000));
        });
    }
}

// What is pending stays so in a child, what is new is refused, and it may fork again.
bool isFineInAChild(EGLDisplay display, const sp<GraphicBuffer>& buffer, const sp<Fence>& fence) {
    void* address = nullptr;
    const bool fine = buffer->lock(kRead, &address) == NO_INIT && buffer->unlock() == NO_INIT &&
                      makeBuffer(1, 1)->initCheck() == NO_INIT &&
                      __wrap_eglInitialize(display, nullptr, nullptr) == EGL_FALSE &&
                      __wrap_eglGetError() == EGL_NOT_INITIALIZED &&
                      property_set("test.child", "1") == 0 && fence->wait(kLongMs) == NO_ERROR;
    if (fork() == 0) _exit(0);
    int status = -1;
    wait(&status);
    return fine && status == 0;
}

// The child has neither the host's threads nor the driver's, and finds locked what others had
// locked: it may only not hang.
TEST(ProcessGLTest, AForkInTheMiddleDisturbsNeitherProcess) {
#ifdef __SANITIZE_THREAD__
    GTEST_SKIP() << "ThreadSanitizer never returns from the driver's own join at exit";
#endif
    inAProcess([] {
        Warm warm;
        auto& [upscaler, src, dst, fence] = warm;
        dst = makeBuffer(256, 256);
        const sp<GraphicBuffer> busy = makeBuffer(64, 64, PIXEL_FORMAT_RGBA_8888, kSeldomUse);
        const Repeated locks([&busy] { bytesOf(busy); });
        const EGLDisplay display = UpscalerPeer::display(*upscaler);
        const Repeated uses([display] {
            __wrap_eglInitialize(display, nullptr, nullptr);
            __wrap_eglTerminate(display);
        });
        const Repeated settings([] { property_set("test.busy", "1"); });
        for (int i = 0; i < 20; ++i) {
            upscaler->casSharpen(src, dst, 0.5f, &fence);
            if (fork() == 0) {
                endIfItHangs(20);
                const bool fine = isFineInAChild(display, busy, fence);
#ifdef UPSCALER_SANITIZED  // The leak checker would look for the parent's threads.
                _exit(fine ? 0 : 1);
#endif
                exit(fine ? 0 : 1);
            }
            int status = -1;
            wait(&status);
            ASSERT_EQ(status, 0) << "in round " << i;
            ASSERT_EQ(fence->wait(kLongMs), NO_ERROR);
        }
    });
}

TEST(ProcessGLTest, OutOfDescriptorsTheFenceIsInvalidAndTheRestGoesOn) {
    inAProcess([] {
        Warm warm;
        auto& [upscaler, src, dst, valid] = warm;
        LogCapture log;
        rlimit before = {};
        getrlimit(RLIMIT_NOFILE, &before);
        const rlimit none = {0, before.rlim_max};
        ASSERT_EQ(setrlimit(RLIMIT_NOFILE, &none), 0);
        sp<Fence> stocked;  // Of the descriptors that the host may have ready for the next fence.
        upscaler->casSharpen(src, dst, 0.5f, &stocked);
        for (const OperationRow& row : operations()) {
            sp<Fence> fence;
            ((*upscaler).*row.call)(src, dst, 0.5f, &fence);
            EXPECT_FALSE(fence->isValid()) << row.name;
        }
        // Checked later: UndefinedBehaviorSanitizer needs a descriptor to follow a matcher.
        const std::vector<std::string> errors = log.errors();
        EXPECT_EQ(valid->dup(), -1);
        EXPECT_EQ(Fence::merge("stress", valid, valid), Fence::NO_FENCE);
        ASSERT_EQ(setrlimit(RLIMIT_NOFILE, &before), 0);
        EXPECT_THAT(errors, IsEmpty());
        upscaler->casSharpen(src, dst, 0.5f, &valid);
        EXPECT_TRUE(valid->isValid());
        EXPECT_EQ(valid->wait(kLongMs), NO_ERROR);
    });
}

}  // namespace
}  // namespace android::test
