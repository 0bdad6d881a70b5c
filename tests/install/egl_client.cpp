// SPDX-License-Identifier: Apache-2.0
// A client with GL code of its own, on the host's EGL: exits 0 if it has filled a buffer by the GPU
// and read it behind a fence.
#define EGL_EGLEXT_PROTOTYPES
#include <EGL/egl.h>
#include <EGL/eglext.h>
#include <GLES3/gl32.h>
// After the header whose types it uses.
#include <GLES2/gl2ext.h>
#include <ui/Fence.h>
#include <ui/GraphicBuffer.h>

#include <cstdio>
#include <cstring>

using namespace android;

int main() {
    const EGLDisplay display = eglGetDisplay(EGL_DEFAULT_DISPLAY);
    if (eglInitialize(display, nullptr, nullptr) != EGL_TRUE) return 1;
    const char* const extensions = eglQueryString(display, EGL_EXTENSIONS);
    for (const char* name : {"EGL_ANDROID_image_native_buffer", "EGL_ANDROID_native_fence_sync"})
        if (strstr(extensions, name) == nullptr) return 2;
    const EGLint attributes[] = {EGL_CONTEXT_CLIENT_VERSION, 3, EGL_NONE};
    const EGLContext context =
            eglCreateContext(display, EGL_NO_CONFIG_KHR, EGL_NO_CONTEXT, attributes);
    eglMakeCurrent(display, EGL_NO_SURFACE, EGL_NO_SURFACE, context);

    const auto createImage =
            reinterpret_cast<PFNEGLCREATEIMAGEKHRPROC>(eglGetProcAddress("eglCreateImageKHR"));
    const auto bindImage = reinterpret_cast<PFNGLEGLIMAGETARGETTEXTURE2DOESPROC>(
            eglGetProcAddress("glEGLImageTargetTexture2DOES"));
    const auto createSync =
            reinterpret_cast<PFNEGLCREATESYNCKHRPROC>(eglGetProcAddress("eglCreateSyncKHR"));

    sp<GraphicBuffer> buffer =
            new GraphicBuffer(16, 16, PIXEL_FORMAT_RGBA_8888, 1,
                              GraphicBuffer::USAGE_SW_READ_OFTEN | GraphicBuffer::USAGE_HW_RENDER);
    const EGLImageKHR image = createImage(display, EGL_NO_CONTEXT, EGL_NATIVE_BUFFER_ANDROID,
                                          buffer->getNativeBuffer(), nullptr);
    GLuint texture = 0;
    glGenTextures(1, &texture);
    glBindTexture(GL_TEXTURE_2D, texture);
    bindImage(GL_TEXTURE_2D, image);
    GLuint framebuffer = 0;
    glGenFramebuffers(1, &framebuffer);
    glBindFramebuffer(GL_FRAMEBUFFER, framebuffer);
    glFramebufferTexture2D(GL_FRAMEBUFFER, GL_COLOR_ATTACHMENT0, GL_TEXTURE_2D, texture, 0);
    glClearColor(1.0f, 0.0f, 1.0f, 1.0f);
    glClear(GL_COLOR_BUFFER_BIT);

    const EGLSyncKHR sync = createSync(display, EGL_SYNC_NATIVE_FENCE_ANDROID, nullptr);
    const sp<Fence> fence = new Fence(eglDupNativeFenceFDANDROID(display, sync));
    if (!fence->isValid() || fence->wait(10000) != OK) return 3;

    void* pixels = nullptr;
    buffer->lock(GraphicBuffer::USAGE_SW_READ_OFTEN, &pixels);
    const uint32_t first = *static_cast<uint32_t*>(pixels);
    buffer->unlock();
    eglTerminate(display);
    printf("%08x\n", first);
    return first == 0xFFFF00FF ? 0 : 4;
}
