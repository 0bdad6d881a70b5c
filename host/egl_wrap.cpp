// SPDX-License-Identifier: Apache-2.0
#include "host/egl_wrap.h"

#include "host/displays.h"
#include "host/egl_error.h"
#include "host/entry_points.h"
#include "host/native_fence.h"
#include "host/native_image.h"

using namespace android::host;

EGLint __wrap_eglDupNativeFenceFDANDROID(EGLDisplay display, EGLSyncKHR sync) {
    return orBadAlloc(EGLint{EGL_NO_NATIVE_FENCE_FD_ANDROID},
                      [&] { return dupNativeFence(display, sync); });
}

EGLDisplay __wrap_eglGetDisplay(EGLNativeDisplayType native) {
    return Displays::get().getDisplay(native);
}

EGLint __wrap_eglGetError() {
    return takeEglError();
}

EGLBoolean __wrap_eglInitialize(EGLDisplay display, EGLint* major, EGLint* minor) {
    return orBadAlloc(EGLBoolean{EGL_FALSE},
                      [&] { return Displays::get().initialize(display, major, minor); });
}

const char* __wrap_eglQueryString(EGLDisplay display, EGLint name) {
    return orBadAlloc<const char*>(nullptr,
                                   [&] { return Displays::get().queryString(display, name); });
}

EGLBoolean __wrap_eglTerminate(EGLDisplay display) {
    return orBadAlloc(EGLBoolean{EGL_FALSE}, [&] {
        return Displays::get().terminate(display, [](EGLDisplay ended) {
            endNativeFences(ended);
            NativeImages::get().releaseAll(ended);
        });
    });
}

__eglMustCastToProperFunctionPointerType __wrap_eglGetProcAddress(const char* name) {
    return findEntryPoint(name);
}
