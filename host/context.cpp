// SPDX-License-Identifier: Apache-2.0
#include "host/context.h"

#include "host/driver.h"

namespace android::host {

bool openContext(EGLDisplay display, EGLContext* context) {
    const Driver& egl = driver();
    egl.eglBindAPI(EGL_OPENGL_ES_API);
    const EGLint configAttributes[] = {EGL_RENDERABLE_TYPE, EGL_OPENGL_ES3_BIT, EGL_NONE};
    const EGLint contextAttributes[] = {EGL_CONTEXT_CLIENT_VERSION, 3, EGL_NONE};
    // Without a display server there may be no config; the context then is made with none.
    EGLConfig config = nullptr;
    EGLint configCount = 0;
    egl.eglChooseConfig(display, configAttributes, &config, 1, &configCount);
    *context = egl.eglCreateContext(display, config, EGL_NO_CONTEXT, contextAttributes);
    return *context != EGL_NO_CONTEXT &&
           egl.eglMakeCurrent(display, EGL_NO_SURFACE, EGL_NO_SURFACE, *context) == EGL_TRUE;
}

void closeContext(EGLDisplay display, EGLContext context) {
    if (context != EGL_NO_CONTEXT) {
        driver().eglMakeCurrent(display, EGL_NO_SURFACE, EGL_NO_SURFACE, EGL_NO_CONTEXT);
        driver().eglDestroyContext(display, context);
    }
    driver().eglReleaseThread();
}

}  // namespace android::host
