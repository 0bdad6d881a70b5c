// SPDX-License-Identifier: Apache-2.0
#include "host/driver_fences.h"

#include <android-base/unique_fd.h>
#include <ui/Fence.h>
#include <utils/Timers.h>

#include <atomic>
#include <cstdint>
#include <exception>

#include "host/context.h"
#include "host/driver.h"
#include "host/signal_times.h"
#include "host/thread.h"

namespace android::host {
namespace {

// The latest display of either kind: asked twice a frame, and some lists of extensions are long.
std::atomic<EGLDisplay> displayWith{EGL_NO_DISPLAY};
std::atomic<EGLDisplay> displayWithout{EGL_NO_DISPLAY};

void clearPixel() {
    const Driver& gl = driver();
    GLuint texture = 0;
    GLuint framebuffer = 0;
    gl.glGenTextures(1, &texture);
    gl.glBindTexture(GL_TEXTURE_2D, texture);
    gl.glTexStorage2D(GL_TEXTURE_2D, 1, GL_RGBA8, 1, 1);
    gl.glGenFramebuffers(1, &framebuffer);
    gl.glBindFramebuffer(GL_FRAMEBUFFER, framebuffer);
    gl.glFramebufferTexture2D(GL_FRAMEBUFFER, GL_COLOR_ATTACHMENT0, GL_TEXTURE_2D, texture, 0);
    gl.glClear(GL_COLOR_BUFFER_BIT);
}

// A real fence is pending, or has signalled after the work began.
bool tryFence(EGLDisplay display) {
    const Driver& egl = driver();
    if (egl.eglCreateSyncKHR == nullptr || egl.eglDestroySyncKHR == nullptr ||
        egl.eglDupNativeFenceFDANDROID == nullptr) {
        return false;
    }
    const nsecs_t begin = systemTime(SYSTEM_TIME_MONOTONIC);
    clearPixel();
    const EGLSyncKHR sync = egl.eglCreateSyncKHR(display, EGL_SYNC_NATIVE_FENCE_ANDROID, nullptr);
    if (sync == EGL_NO_SYNC_KHR) return false;
    egl.glFlush();
    const base::unique_fd fence(egl.eglDupNativeFenceFDANDROID(display, sync));
    egl.eglDestroySyncKHR(display, sync);
    const nsecs_t time = syncFileTime(fence.get());
    static_assert(Fence::SIGNAL_TIME_INVALID < 0 && Fence::SIGNAL_TIME_PENDING == INT64_MAX);
    return time >= begin;
}

// On a thread of its own, with a context of its own.
bool tryOnThread(EGLDisplay display) {
    bool works = false;
    try {
        startThread("upscaler-probe", [&] {
            const InDriver inDriver;
            EGLContext context = EGL_NO_CONTEXT;
            works = openContext(display, &context) && tryFence(display);
            closeContext(display, context);
        }).join();
    } catch (const std::exception&) {
        return false;  // No thread, no memory: those of the host need less of the driver.
    }
    return works;
}

}  // namespace

bool driverFencesWork(EGLDisplay display) {
    if (display == displayWith.load()) return true;
    if (display == displayWithout.load()) return false;
    const bool work =
            driver().hasExtension(display, "EGL_ANDROID_native_fence_sync") && tryOnThread(display);
    (work ? displayWith : displayWithout) = display;
    return work;
}

void forgetDriverFences() {
    displayWith = EGL_NO_DISPLAY;
    displayWithout = EGL_NO_DISPLAY;
}

}  // namespace android::host
