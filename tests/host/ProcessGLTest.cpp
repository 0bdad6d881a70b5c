// SPDX-License-Identifier: Apache-2.0
// What concerns a process from its start or to its end: each case runs in a process of its own.
#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdlib>

#include "host/GlClient.h"

namespace android {
namespace {

using ::testing::ExitedWithCode;

class ProcessGLTest : public ::testing::Test {
  protected:
    void SetUp() override { GTEST_FLAG_SET(death_test_style, "threadsafe"); }

    // Ends the process by way of its exit handlers.
    [[noreturn]] static void endWithResult() { exit(HasFailure() ? 1 : 0); }
};

sp<GraphicBuffer> makeBuffer() {
    return new GraphicBuffer(512, 512, PIXEL_FORMAT_RGBA_8888, 1, GraphicBuffer::USAGE_HW_RENDER);
}

void drawAndReadBack() {
    const sp<GraphicBuffer> buffer = makeBuffer();
    ASSERT_EQ(buffer->initCheck(), OK);
    const GlClient client;
    client.fill(client.import(buffer), {1, 1, 1, 1});
    ASSERT_EQ(client.fence()->waitForever("test"), NO_ERROR);
    void* address = nullptr;
    ASSERT_EQ(buffer->lock(GraphicBuffer::USAGE_SW_READ_OFTEN, &address), OK);
    EXPECT_EQ(*static_cast<uint8_t*>(address), 255);
    EXPECT_EQ(buffer->unlock(), OK);
}

TEST_F(ProcessGLTest, WorksWithoutADisplayServer) {
    for (const char* stale : {"DISPLAY", "WAYLAND_DISPLAY", "neither"}) {
        EXPECT_EXIT(
                {
                    unsetenv("DISPLAY");
                    unsetenv("WAYLAND_DISPLAY");
                    setenv(stale, ":4242", 1);
                    drawAndReadBack();
                    endWithResult();
                },
                ExitedWithCode(0), "")
                << stale;
    }
}

TEST_F(ProcessGLTest, WithoutADriverEverythingFailsCleanly) {
    EXPECT_EXIT(
            {
                setenv("__EGL_VENDOR_LIBRARY_FILENAMES", "/dev/null", 1);
                setenv("ANGLE_DEFAULT_PLATFORM", "none", 1);
                const EGLDisplay display = eglGetDisplay(EGL_DEFAULT_DISPLAY);
                EXPECT_EQ(eglInitialize(display, nullptr, nullptr), EGLBoolean{EGL_FALSE});
                EXPECT_NE(eglGetError(), EGL_SUCCESS);
                const sp<GraphicBuffer> buffer = makeBuffer();
                EXPECT_EQ(buffer->initCheck(), NO_INIT);
                EXPECT_EQ(buffer->getWidth(), 0U);
                const auto createImage = reinterpret_cast<PFNEGLCREATEIMAGEKHRPROC>(
                        eglGetProcAddress("eglCreateImageKHR"));
                ASSERT_NE(createImage, nullptr);
                EXPECT_EQ(createImage(display, EGL_NO_CONTEXT, EGL_NATIVE_BUFFER_ANDROID,
                                      buffer->getNativeBuffer(), nullptr),
                          EGL_NO_IMAGE_KHR);
                eglTerminate(display);
                eglReleaseThread();
                endWithResult();
            },
            ExitedWithCode(0), "");
}

// Whatever a client leaves behind, and in whichever order its own statics go.
TEST_F(ProcessGLTest, ExitEndsWhatIsLeftOpenAndSignals) {
    EXPECT_EXIT(
            {
                static sp<GraphicBuffer> buffer;
                static sp<Fence> fence;
                static GlClient* client;
                atexit([] {
                    // Runs after the host's handlers: the fence is signalled, the pixels are gone.
                    if (fence->wait(0) != NO_ERROR) _exit(2);
                    void* address = nullptr;
                    if (buffer->lock(GraphicBuffer::USAGE_SW_READ_OFTEN, &address) != NO_INIT) {
                        _exit(3);
                    }
                    const sp<GraphicBuffer> late = makeBuffer();
                    if (late->initCheck() != NO_INIT) _exit(4);
                });
                client = new GlClient;
                buffer = makeBuffer();
                client->fillSlowly(client->import(buffer), {1, 1, 1, 1}, 200, 512);
                fence = client->fence();
                EXPECT_EQ(fence->wait(0), -ETIME);
                endWithResult();
            },
            ExitedWithCode(0), "");
}

TEST_F(ProcessGLTest, AForkedChildThatUsesNothingCanExit) {
#ifdef __SANITIZE_THREAD__
    GTEST_SKIP() << "ThreadSanitizer never returns from the driver's own join at exit";
#endif
    EXPECT_EXIT(
            {
                alarm(60);
                static GlClient* const client = new GlClient;
                static sp<GraphicBuffer> buffer = makeBuffer();
                EXPECT_EQ(client->fence()->waitForever("test"), NO_ERROR);
                const pid_t child = fork();
                if (child == 0) {
                    alarm(30);
                    exit(0);  // Through the exit handlers, with the parent's statics.
                }
                int status = -1;
                waitpid(child, &status, 0);
                EXPECT_TRUE(WIFEXITED(status)) << "status " << status;
                endWithResult();
            },
            ExitedWithCode(0), "");
}

}  // namespace
}  // namespace android
