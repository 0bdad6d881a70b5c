// SPDX-License-Identifier: Apache-2.0
// The host's thread in the driver, and what clients do meanwhile. This program stands in front of
// the driver: it keeps the EGL library from the host, which then finds the functions below first.
#include <android/log.h>
#include <dlfcn.h>
#include <gmock/gmock.h>
#include <pthread.h>
#include <signal.h>
#include <sys/wait.h>

#include <atomic>
#include <cfenv>
#include <cstring>
#include <functional>
#include <thread>

#include "host/GlClient.h"
#include "support/process.h"

namespace {

template <typename Function>
Function next(const char* name) {
    return reinterpret_cast<Function>(dlsym(RTLD_NEXT, name));
}

std::function<void()> inDriver;  // What the driver does besides, when an upload ends.
std::atomic<bool> hasNoContext{false};

void finish() {
    if (inDriver) inDriver();
    reinterpret_cast<decltype(&glFinish)>(
            next<decltype(&eglGetProcAddress)>("eglGetProcAddress")("glFinish"))();
}

}  // namespace

#define EXPORTED extern "C" __attribute__((visibility("default")))

EXPORTED void* dlopen(const char* file, int mode) {
    if (file != nullptr && std::strcmp(file, "libEGL.so.1") == 0) return nullptr;
    return next<decltype(&dlopen)>("dlopen")(file, mode);
}

EXPORTED __eglMustCastToProperFunctionPointerType eglGetProcAddress(const char* name) {
    if (std::strcmp(name, "glFinish") == 0) return finish;
    return next<decltype(&eglGetProcAddress)>("eglGetProcAddress")(name);
}

EXPORTED EGLContext eglCreateContext(EGLDisplay display, EGLConfig config, EGLContext shared,
                                     const EGLint* attributes) {
    if (hasNoContext.exchange(false)) return EGL_NO_CONTEXT;
    return next<decltype(&eglCreateContext)>("eglCreateContext")(display, config, shared,
                                                                 attributes);
}

namespace android::test {
namespace {

// The driver does not come back from an upload that a client's thread waits for, until `isOver`.
class StuckDriver {
  public:
    StuckDriver() {
        inDriver = [this] {
            isStuck = true;
            while (!isOver)
                usleep(1000);
        };
        mClient = std::thread([this] { fill(buffer, 0xFF336699); });
        while (!isStuck)
            usleep(1000);
    }
    std::thread& client() { return mClient; }

    const sp<GraphicBuffer> buffer = makeBuffer(1, 1);
    std::atomic<bool> isStuck{false};
    std::atomic<bool> isOver{false};

  private:
    std::thread mClient;
};

TEST(GlThreadGLTest, HasNeitherTheClientsSignalsNorItsArithmetic) {
    inAProcess([] {
        std::fesetround(FE_DOWNWARD);
        feenableexcept(FE_ALL_EXCEPT);
#ifdef __SSE__
        __builtin_ia32_ldmxcsr(__builtin_ia32_stmxcsr() | 0x8040);  // Subnormal numbers are zero.
#endif
        std::atomic<bool> wasThere{false};
        inDriver = [&] {
            sigset_t blocked;
            pthread_sigmask(SIG_SETMASK, nullptr, &blocked);
            for (const int signal : {SIGINT, SIGTERM, SIGALRM, SIGPIPE, SIGUSR1, SIGRTMIN})
                EXPECT_EQ(sigismember(&blocked, signal), 1) << strsignal(signal);
            EXPECT_EQ(std::fegetround(), FE_TONEAREST);
            EXPECT_EQ(fegetexcept(), 0);
            volatile float subnormal = 1e-40F;
            EXPECT_GT(subnormal * 0.5F, 0);
            wasThere = true;
        };
        makeBuffer(1, 1);
        EXPECT_TRUE(wasThere);
    });
}

TEST(GlThreadGLTest, ExitDoesNotWaitForEverForTheDriver) {
    inAProcess([] { new StuckDriver; });
}

TEST(GlThreadGLTest, ForkDoesNotWaitForEverForTheDriver) {
    inAProcess([] {
        StuckDriver stuck;
        const pid_t child = fork();
        if (child == 0) {
            endIfItHangs(20);
            void* address = nullptr;
            _exit(stuck.buffer->lock(kRead, &address) == NO_INIT ? 0 : 1);
        }
        int status = -1;
        waitpid(child, &status, 0);
        EXPECT_EQ(status, 0);
        stuck.isOver = true;
        stuck.client().join();
        EXPECT_THAT(pixelsOf(stuck.buffer), ::testing::ElementsAre(0xFF336699));
    });
}

TEST(GlThreadGLTest, ACancelledClientLeavesNothingBehind) {
    inAProcess([] {
        const sp<GraphicBuffer> other = makeBuffer(1, 1, PIXEL_FORMAT_RGBA_8888, kSeldomUse);
        StuckDriver stuck;
        std::thread queued([&other] {
            bytesOf(other);
            pthread_testcancel();
            FAIL() << "not cancelled";
        });
        usleep(20000);  // So that it waits in the host; otherwise there is nothing to see.
        pthread_cancel(queued.native_handle());
        stuck.isOver = true;
        queued.join();
        stuck.client().join();
        EXPECT_THAT(pixelsOf(stuck.buffer), ::testing::ElementsAre(0xFF336699));
    });
}

// Which no lock, and no thread of the host's, may keep it from.
int bufferOfTheLogger = -1;

void makeBufferInLogger() {
    if (bufferOfTheLogger == -1) bufferOfTheLogger = makeBuffer(1, 1)->initCheck();
}

template <typename Message>
void logger(const Message*) {
    makeBufferInLogger();
}
template <typename Data>
void logger(const Data*, const char*) {
    makeBufferInLogger();
}

TEST(GlThreadGLTest, TheClientsLoggerMayMakeABuffer) {
    inAProcess([] {
        __android_log_set_logger(logger);
        hasNoContext = true;
        EXPECT_EQ(makeBuffer(1, 1)->initCheck(), NO_INIT);
        EXPECT_EQ(bufferOfTheLogger, OK);
    });
}

}  // namespace
}  // namespace android::test
