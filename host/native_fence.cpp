// SPDX-License-Identifier: Apache-2.0
#include "host/native_fence.h"

#include <android-base/unique_fd.h>

#include <memory>
#include <mutex>
#include <unordered_map>
#include <utility>
#include <vector>

#include "host/displays.h"
#include "host/egl_error.h"
#include "host/fence_waiter.h"

namespace android::host {
namespace {

constexpr char kNativeFenceExtension[] = "EGL_ANDROID_native_fence_sync";

class Syncs;

// A fence sync of the driver, destroyed with its last holder: the client, who may destroy it as
// soon as it has a descriptor, or a fence that waits for it.
class DriverSync {
  public:
    DriverSync(Syncs* syncs, EGLDisplay display, EGLSyncKHR sync)
        : mSyncs(syncs), mDisplay(display), mSync(sync) {}
    ~DriverSync();
    DriverSync(const DriverSync&) = delete;
    DriverSync& operator=(const DriverSync&) = delete;

    EGLDisplay display() const { return mDisplay; }
    // Also true when the driver no longer knows it: nobody shall wait for ever.
    bool isDone() const {
        return driver().eglClientWaitSyncKHR(mDisplay, mSync, 0, 0) != EGL_TIMEOUT_EXPIRED_KHR;
    }

  private:
    Syncs* const mSyncs;
    const EGLDisplay mDisplay;
    const EGLSyncKHR mSync;
};

// The driver's syncs that serve as native fences.
class Syncs {
  public:
    using Held = std::shared_ptr<const DriverSync>;

    static Syncs& get() {
        static auto* const syncs = new Syncs;  // Never freed: used until the process is gone.
        return *syncs;
    }

    void add(EGLDisplay display, EGLSyncKHR sync) {
        const std::lock_guard<std::mutex> lock(mMutex);
        mClients[sync] = std::make_shared<DriverSync>(this, display, sync);
    }

    // Null if `sync` is none of these, or the client has destroyed it.
    Held find(EGLSyncKHR sync) {
        const std::lock_guard<std::mutex> lock(mMutex);
        const auto found = mClients.find(sync);
        return found == mClients.end() ? nullptr : found->second;
    }

    // Whether the driver may be asked to destroy `sync`: not if it is one of these.
    bool isForeign(EGLSyncKHR sync) {
        const std::lock_guard<std::mutex> lock(mMutex);
        return mClients.count(sync) == 0;
    }

    // Takes `sync` from the client. Null if it does not have it.
    Held release(EGLDisplay display, EGLSyncKHR sync) {
        const std::lock_guard<std::mutex> lock(mMutex);
        const auto found = mClients.find(sync);
        if (found == mClients.end() || found->second == nullptr ||
            found->second->display() != display) {
            return nullptr;
        }
        return std::exchange(found->second, nullptr);
    }

    std::vector<Held> releaseAll(EGLDisplay display) {
        std::vector<Held> released;
        const std::lock_guard<std::mutex> lock(mMutex);
        for (auto& [sync, held] : mClients) {
            if (held != nullptr && held->display() == display) {
                released.push_back(std::exchange(held, nullptr));
            }
        }
        return released;
    }

    void destroy(EGLDisplay display, EGLSyncKHR sync) {
        // Under the lock, so that the driver cannot give the handle out again in between.
        const std::lock_guard<std::mutex> lock(mMutex);
        driver().eglDestroySyncKHR(display, sync);
        mClients.erase(sync);
    }

  private:
    std::mutex mMutex;
    // What the client holds; null if only fences still wait for the sync.
    std::unordered_map<EGLSyncKHR, Held> mClients;
};

DriverSync::~DriverSync() {
    mSyncs->destroy(mDisplay, mSync);
}

// Null, empty, or asking for a fence of the commands so far.
bool asksForNewFence(const EGLint* attributes) {
    if (attributes == nullptr) return true;
    for (; attributes[0] != EGL_NONE; attributes += 2) {
        if (attributes[0] != EGL_SYNC_NATIVE_FENCE_FD_ANDROID ||
            attributes[1] != EGL_NO_NATIVE_FENCE_FD_ANDROID) {
            return false;
        }
    }
    return true;
}

}  // namespace

EGLSyncKHR createNativeFence(EGLDisplay display, const EGLint* attributes) {
    const EGLint usable = Displays::get().check(display);
    if (usable != EGL_SUCCESS) return eglFailure(usable, EGL_NO_SYNC_KHR);
    const Driver& egl = driver();
    if (egl.hasExtension(display, kNativeFenceExtension)) {
        return egl.eglCreateSyncKHR(display, EGL_SYNC_NATIVE_FENCE_ANDROID, attributes);
    }
    if (egl.eglCreateSyncKHR == nullptr || egl.eglClientWaitSyncKHR == nullptr ||
        !asksForNewFence(attributes)) {
        return eglFailure(EGL_BAD_ATTRIBUTE, EGL_NO_SYNC_KHR);
    }
    const EGLSyncKHR sync = egl.eglCreateSyncKHR(display, EGL_SYNC_FENCE_KHR, nullptr);
    if (sync == EGL_NO_SYNC_KHR) return EGL_NO_SYNC_KHR;
    // Nobody waits with a context that could flush, so the work has to be on its way by now.
    egl.glFlush();
    Syncs::get().add(display, sync);
    setEglSuccess();
    return sync;
}

EGLBoolean destroySync(EGLDisplay display, EGLSyncKHR sync) {
    constexpr EGLBoolean kFailed = EGL_FALSE;
    const EGLint usable = Displays::get().check(display);
    if (usable != EGL_SUCCESS) return eglFailure(usable, kFailed);
    if (Syncs::get().release(display, sync) != nullptr) {
        setEglSuccess();
        return EGL_TRUE;
    }
    if (sync == EGL_NO_SYNC_KHR || driver().eglDestroySyncKHR == nullptr ||
        !Syncs::get().isForeign(sync)) {
        return eglFailure(EGL_BAD_PARAMETER, kFailed);
    }
    return driver().eglDestroySyncKHR(display, sync);
}

EGLint dupNativeFence(EGLDisplay display, EGLSyncKHR sync) {
    constexpr EGLint kFailed = EGL_NO_NATIVE_FENCE_FD_ANDROID;
    const EGLint usable = Displays::get().check(display);
    if (usable != EGL_SUCCESS) return eglFailure(usable, kFailed);
    if (sync == EGL_NO_SYNC_KHR) return eglFailure(EGL_BAD_PARAMETER, kFailed);

    const Driver& egl = driver();
    if (egl.hasExtension(display, kNativeFenceExtension)) {
        // A sync has a descriptor only once it is flushed.
        if (egl.eglGetCurrentContext() != EGL_NO_CONTEXT) egl.glFlush();
        return egl.eglDupNativeFenceFDANDROID(display, sync);
    }
    const Syncs::Held held = Syncs::get().find(sync);
    if (held == nullptr || held->display() != display) {
        return eglFailure(EGL_BAD_PARAMETER, kFailed);
    }
    base::unique_fd fence = FenceWaiter::get().add(display, [held] { return held->isDone(); });
    if (!fence.ok()) return eglFailure(EGL_BAD_ALLOC, kFailed);
    setEglSuccess();
    return fence.release();
}

EGLint clientWaitSync(EGLDisplay display, EGLSyncKHR sync, EGLint flags, EGLTimeKHR timeout) {
    if (driver().eglClientWaitSyncKHR == nullptr) {
        return eglFailure(EGL_BAD_PARAMETER, EGLint{EGL_FALSE});
    }
    return driver().eglClientWaitSyncKHR(display, sync, flags, timeout);
}

EGLint waitSync(EGLDisplay display, EGLSyncKHR sync, EGLint flags) {
    if (driver().eglWaitSyncKHR == nullptr) {
        return eglFailure(EGL_BAD_PARAMETER, EGLint{EGL_FALSE});
    }
    return driver().eglWaitSyncKHR(display, sync, flags);
}

EGLBoolean getSyncAttribute(EGLDisplay display, EGLSyncKHR sync, EGLint attribute, EGLint* value) {
    if (driver().eglGetSyncAttribKHR == nullptr) {
        return eglFailure(EGL_BAD_PARAMETER, EGLBoolean{EGL_FALSE});
    }
    return driver().eglGetSyncAttribKHR(display, sync, attribute, value);
}

void endNativeFences(EGLDisplay display) {
    FenceWaiter::get().finish(display);
    Syncs::get().releaseAll(display);
}

}  // namespace android::host
