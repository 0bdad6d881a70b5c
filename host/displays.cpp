// SPDX-License-Identifier: Apache-2.0
#include "host/displays.h"

#include "host/driver.h"
#include "host/egl_error.h"

namespace android::host {

Displays& Displays::get() {
    static auto* const displays = new Displays;  // Never freed: used until the process is gone.
    return *displays;
}

EGLDisplay Displays::openDefault() {
    const std::lock_guard<std::mutex> lock(mDefaultMutex);
    if (mDefault != EGL_NO_DISPLAY) return mDefault;
    const auto open = [](EGLDisplay display) {
        return display != EGL_NO_DISPLAY &&
               driver().eglInitialize(display, nullptr, nullptr) == EGL_TRUE;
    };
    EGLDisplay display = driver().eglGetDisplay(EGL_DEFAULT_DISPLAY);
    if (!open(display) && driver().eglGetPlatformDisplay != nullptr) {
        display = driver().eglGetPlatformDisplay(EGL_PLATFORM_SURFACELESS_MESA, EGL_DEFAULT_DISPLAY,
                                                 nullptr);
        if (!open(display)) display = EGL_NO_DISPLAY;
    }
    mDefault = display;
    return display;
}

EGLDisplay Displays::getDisplay(EGLNativeDisplayType native) {
    if (native == EGL_DEFAULT_DISPLAY) {
        const EGLDisplay display = openDefault();
        if (display != EGL_NO_DISPLAY) {
            setEglSuccess();
            return display;
        }
    }
    return driver().eglGetDisplay(native);
}

EGLBoolean Displays::initialize(EGLDisplay display, EGLint* major, EGLint* minor) {
    const std::lock_guard<std::mutex> lock(mClientMutex);
    const EGLBoolean done = driver().eglInitialize(display, major, minor);
    if (done == EGL_TRUE) ++mClients[display];
    return done;
}

EGLBoolean Displays::terminate(EGLDisplay display, EndUses* endUses) {
    const std::lock_guard<std::mutex> lock(mClientMutex);
    const auto client = mClients.find(display);
    if (client != mClients.end()) {
        if (client->second > 1) {
            --client->second;
            setEglSuccess();
            return EGL_TRUE;
        }
        endUses(display);
        mClients.erase(client);
    }
    if (!isDefault(display)) return driver().eglTerminate(display);
    setEglSuccess();
    return EGL_TRUE;
}

EGLint Displays::check(EGLDisplay display) {
    if (display == EGL_NO_DISPLAY) return EGL_BAD_DISPLAY;
    const std::lock_guard<std::mutex> lock(mClientMutex);
    if (mClients.count(display) != 0) return EGL_SUCCESS;
    if (isDefault(display)) return EGL_NOT_INITIALIZED;
    // The client may have initialised a display of its own without asking the host.
    driver().eglGetError();
    if (driver().eglQueryString(display, EGL_VERSION) != nullptr) return EGL_SUCCESS;
    return driver().eglGetError();
}

bool Displays::isDefault(EGLDisplay display) {
    const std::lock_guard<std::mutex> lock(mDefaultMutex);
    return display != EGL_NO_DISPLAY && display == mDefault;
}

}  // namespace android::host
