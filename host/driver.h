// SPDX-License-Identifier: Apache-2.0
#ifndef UPSCALER_HOST_DRIVER_H
#define UPSCALER_HOST_DRIVER_H

#define EGL_EGLEXT_PROTOTYPES
#include <EGL/egl.h>
#include <EGL/eglext.h>
#include <GLES3/gl32.h>
// After the header whose types it uses.
#define GL_GLEXT_PROTOTYPES
#include <GLES2/gl2ext.h>

namespace android::host {

// clang-format off
#define HOST_EGL_CORE_FUNCTIONS(X) \
    X(eglBindAPI) X(eglChooseConfig) X(eglCreateContext) X(eglDestroyContext) X(eglGetCurrentContext) \
    X(eglGetDisplay) X(eglGetError) X(eglGetPlatformDisplay) X(eglGetProcAddress) X(eglInitialize) \
    X(eglMakeCurrent) X(eglQueryString) X(eglReleaseThread) X(eglTerminate)
#define HOST_EGL_EXTENSION_FUNCTIONS(X) \
    X(eglClientWaitSyncKHR) X(eglCreateImageKHR) X(eglCreateSyncKHR) X(eglDestroyImageKHR) \
    X(eglDestroySyncKHR) X(eglDupNativeFenceFDANDROID) X(eglGetSyncAttribKHR) \
    X(eglQueryDeviceStringEXT) X(eglQueryDisplayAttribEXT) X(eglWaitSyncKHR)
#define HOST_GL_FUNCTIONS(X) \
    X(glBindFramebuffer) X(glBindTexture) X(glCheckFramebufferStatus) X(glClear) X(glDeleteTextures) \
    X(glEGLImageTargetTexture2DOES) X(glFinish) X(glFlush) X(glFramebufferTexture2D) X(glGenFramebuffers) X(glGenTextures) \
    X(glGetError) X(glGetIntegerv) X(glPixelStorei) X(glReadPixels) X(glTexParameteri) \
    X(glTexStorage2D) X(glTexSubImage2D)
// clang-format on

/// The driver's own functions; null what it does not have.
///
/// The host calls EGL and GL through this table only. It is filled from the EGL library itself, so
/// that a tool preloaded ahead of the driver sees the client's calls and none of the host's.
struct Driver {
#define HOST_DECLARE(name) decltype(&::name) name = nullptr;
    HOST_EGL_CORE_FUNCTIONS(HOST_DECLARE)
    HOST_EGL_EXTENSION_FUNCTIONS(HOST_DECLARE)
    HOST_GL_FUNCTIONS(HOST_DECLARE)
#undef HOST_DECLARE

    /// Whether `display`, which has to be initialised, has an extension; EGL_NO_DISPLAY asks for
    /// those of the EGL library itself. Leaves no EGL error.
    bool hasExtension(EGLDisplay display, const char* name) const;
};

/// Loads the table at the first call. Any thread.
const Driver& driver();

}  // namespace android::host

#endif  // UPSCALER_HOST_DRIVER_H
