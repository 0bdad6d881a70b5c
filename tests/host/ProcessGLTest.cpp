// SPDX-License-Identifier: Apache-2.0
// What concerns a process from its start or to its end: each case runs in a process of its own.
#include <gmock/gmock.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdlib>

#include "host/GlClient.h"
#include "support/process.h"

namespace android {
namespace {

using test::inAProcess;
using ::testing::Each;

TEST(ProcessGLTest, WorksWithoutADisplayServer) {
    for (const char* stale : {"DISPLAY", "WAYLAND_DISPLAY"}) {
        SCOPED_TRACE(stale);
        inAProcess([&] {
            unsetenv("DISPLAY");
            unsetenv("WAYLAND_DISPLAY");
            setenv(stale, ":4242", 1);
            const sp<GraphicBuffer> buffer = makeBuffer(4, 4);
            const GlClient client;
            client.fill(client.import(buffer), {1, 1, 1, 1});
            EXPECT_EQ(client.fence()->waitForever("test"), NO_ERROR);
            EXPECT_THAT(readPixels(buffer), Each(255));
        });
    }
}

// Whatever a client leaves behind, and in whichever order its own statics go.
TEST(ProcessGLTest, ExitEndsWhatIsLeftOpenAndSignals) {
    inAProcess([] {
        static sp<GraphicBuffer> buffer;
        static sp<Fence> fence;
        static GlClient* client;
        atexit([] {
            // Runs after the host's handlers: the fence is signalled, the pixels are gone.
            if (fence->wait(0) != NO_ERROR) _exit(2);
            void* address = nullptr;
            if (buffer->lock(kRead, &address) != NO_INIT) _exit(3);
        });
        client = new GlClient;
        buffer = makeBuffer(kSlowSize, kSlowSize);
        client->fillSlowly(client->import(buffer), 200);
        fence = client->fence();
        EXPECT_EQ(fence->wait(20), -ETIME);
    });
}

TEST(ProcessGLTest, AForkedChildThatUsesNothingCanExit) {
#ifdef __SANITIZE_THREAD__
    GTEST_SKIP() << "ThreadSanitizer never returns from the driver's own join at exit";
#endif
    inAProcess([] {
        static sp<GraphicBuffer> buffer = makeBuffer(4, 4);
        // The client's end also sees to it that no thread holds a lock of the driver at the fork.
        EXPECT_EQ(GlClient().fence()->waitForever("test"), NO_ERROR);
        if (fork() == 0) {
            alarm(30);
            exit(0);  // Through the exit handlers, with the parent's statics.
        }
        int status = -1;
        wait(&status);
        EXPECT_TRUE(WIFEXITED(status)) << "status " << status;
    });
}

}  // namespace
}  // namespace android
