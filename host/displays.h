// SPDX-License-Identifier: Apache-2.0
#ifndef UPSCALER_HOST_DISPLAYS_H
#define UPSCALER_HOST_DISPLAYS_H

#include <EGL/egl.h>

#include <atomic>
#include <mutex>
#include <unordered_map>

namespace android::host {

/// The displays of the process: the default one of the host's clients, which the host opens for
/// itself, and how often they have initialised each. Any thread.
class Displays {
  public:
    static Displays& get();

    /// The default display, initialised on the host's account and never terminated. It is on the
    /// GPU of the driver's own default display, but another one, so that it outlives what programs
    /// do to that without asking the host. Only where the driver has no such display the two are
    /// one. No display server is needed. EGL_NO_DISPLAY if none works; the next call tries again.
    EGLDisplay openDefault();

    // What eglGetDisplay, eglInitialize, eglQueryString and eglTerminate answer.
    EGLDisplay getDisplay(EGLNativeDisplayType native);
    /// The default display comes as on Android, where OpenGL ES is the only API: contexts that the
    /// calling thread makes are of that, until it calls eglBindAPI.
    EGLBoolean initialize(EGLDisplay display, EGLint* major, EGLint* minor);
    /// The default display has the host's extensions too. The string stays the same.
    const char* queryString(EGLDisplay display, EGLint name);
    /// @param endUses takes from the clients what they made on the display, at its last terminate.
    ///     Must not call these or `check`. If it throws, the display stays initialised.
    using EndUses = void(EGLDisplay display);
    EGLBoolean terminate(EGLDisplay display, EndUses* endUses);

    /// EGL_SUCCESS if clients may use `display`, otherwise the error that they get.
    EGLint check(EGLDisplay display);

    /// Whether `display` is the one of `openDefault`.
    bool isDefault(EGLDisplay display) const;

  private:
    std::mutex mDefaultMutex;  // Held while it is opened.
    std::atomic<EGLDisplay> mDefault{EGL_NO_DISPLAY};

    // Held through a whole initialisation or termination, so that a client never finds a display
    // half ended by another.
    std::mutex mClientMutex;
    std::unordered_map<EGLDisplay, unsigned> mClients;
    // The default display while it is among them: `check` is part of every frame and needs no lock.
    std::atomic<EGLDisplay> mUsableDefault{EGL_NO_DISPLAY};
};

}  // namespace android::host

#endif  // UPSCALER_HOST_DISPLAYS_H
