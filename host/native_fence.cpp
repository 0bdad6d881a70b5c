// SPDX-License-Identifier: Apache-2.0
#include "host/native_fence.h"

#include <fcntl.h>

#include <memory>
#include <optional>
#include <utility>

#include "host/descriptor.h"
#include "host/displays.h"
#include "host/driver_fences.h"
#include "host/egl_error.h"
#include "host/fence_waiter.h"
#include "host/native_sync.h"
#include "host/thread.h"

namespace android::host {
namespace {

constexpr EGLint kNoDescriptor = EGL_NO_NATIVE_FENCE_FD_ANDROID;

// The descriptor that a list of attributes asks for, -1 for a new fence; none for a bad list.
template <typename Attribute>
std::optional<int> descriptorOf(const Attribute* attributes) {
    int fd = kNoDescriptor;
    for (; attributes != nullptr && attributes[0] != EGL_NONE; attributes += 2) {
        fd = static_cast<int>(attributes[1]);
        const bool valid = fd == attributes[1] && (fd == kNoDescriptor || fcntl(fd, F_GETFD) >= 0);
        if (attributes[0] != EGL_SYNC_NATIVE_FENCE_FD_ANDROID || !valid) return std::nullopt;
    }
    return fd;
}

EGLSyncKHR importDescriptor(EGLDisplay display, int fd) {
    if (driver().eglGetCurrentContext() == EGL_NO_CONTEXT) {
        return eglFailure(EGL_BAD_MATCH, EGL_NO_SYNC_KHR);
    }
    const auto sync = std::make_shared<ImportedSync>(display);
    NativeSyncs::get().add(sync);
    sync->adopt(fd);
    setEglSuccess();
    return sync->handle();
}

EGLSyncKHR createDriverSync(EGLDisplay display) {
    if (driver().eglCreateSyncKHR == nullptr || driver().eglClientWaitSyncKHR == nullptr) {
        return eglFailure(EGL_BAD_ATTRIBUTE, EGL_NO_SYNC_KHR);
    }
    const auto sync = std::make_shared<DriverSync>(display);
    if (!sync->create()) return EGL_NO_SYNC_KHR;
    NativeSyncs::get().add(sync);
    setEglSuccess();
    return sync->handle();
}

template <typename Attribute>
EGLSyncKHR create(EGLDisplay display, const Attribute* attributes) {
    const EGLint usable = Displays::get().check(display);
    if (usable != EGL_SUCCESS) return eglFailure(usable, EGL_NO_SYNC_KHR);
    const std::optional<int> fd = descriptorOf(attributes);
    if (!fd) return eglFailure(EGL_BAD_ATTRIBUTE, EGL_NO_SYNC_KHR);
    if (driverFencesWork(display)) {
        const EGLint list[] = {EGL_SYNC_NATIVE_FENCE_FD_ANDROID, *fd, EGL_NONE};
        return driver().eglCreateSyncKHR(display, EGL_SYNC_NATIVE_FENCE_ANDROID,
                                         *fd == kNoDescriptor ? nullptr : list);
    }
    return orBadAlloc(EGL_NO_SYNC_KHR, [&] {
        return *fd == kNoDescriptor ? createDriverSync(display) : importDescriptor(display, *fd);
    });
}

template <typename Value, typename Ask>
EGLBoolean getAttribute(EGLDisplay display, EGLSyncKHR sync, EGLint attribute, Value* value,
                        Ask driverAsks) {
    constexpr EGLBoolean kFailed = EGL_FALSE;
    if (isForkedChild()) return eglFailure(EGL_NOT_INITIALIZED, kFailed);
    const NativeSyncs::Held held = NativeSyncs::get().find(display, sync);
    if (held == nullptr) {
        if (driverAsks == nullptr || !NativeSyncs::get().isForeign(sync)) {
            return eglFailure(EGL_BAD_PARAMETER, kFailed);
        }
        return driverAsks(display, sync, attribute, value);
    }
    if (value == nullptr) return eglFailure(EGL_BAD_PARAMETER, kFailed);
    switch (attribute) {
        case EGL_SYNC_TYPE_KHR:
            *value = EGL_SYNC_NATIVE_FENCE_ANDROID;
            break;
        case EGL_SYNC_STATUS_KHR:
            *value = held->isSignalled() ? EGL_SIGNALED_KHR : EGL_UNSIGNALED_KHR;
            break;
        case EGL_SYNC_CONDITION_KHR:
            *value = held->condition();
            break;
        default:
            return eglFailure(EGL_BAD_ATTRIBUTE, kFailed);
    }
    setEglSuccess();
    return EGL_TRUE;
}

}  // namespace

EGLSyncKHR createNativeFence(EGLDisplay display, const EGLint* attributes) {
    return create(display, attributes);
}

EGLSync createNativeFence(EGLDisplay display, const EGLAttrib* attributes) {
    return create(display, attributes);
}

EGLBoolean destroySync(EGLDisplay display, EGLSyncKHR sync) {
    constexpr EGLBoolean kFailed = EGL_FALSE;
    const EGLint usable = Displays::get().check(display);
    if (usable != EGL_SUCCESS) return eglFailure(usable, kFailed);
    if (NativeSyncs::get().release(display, sync) != nullptr) {
        setEglSuccess();
        return EGL_TRUE;
    }
    if (sync == EGL_NO_SYNC_KHR || driver().eglDestroySyncKHR == nullptr ||
        !NativeSyncs::get().isForeign(sync)) {
        return eglFailure(EGL_BAD_PARAMETER, kFailed);
    }
    return driver().eglDestroySyncKHR(display, sync);
}

EGLint dupNativeFence(EGLDisplay display, EGLSyncKHR sync) {
    const EGLint usable = Displays::get().check(display);
    if (usable != EGL_SUCCESS) return eglFailure(usable, kNoDescriptor);
    if (sync == EGL_NO_SYNC_KHR) return eglFailure(EGL_BAD_PARAMETER, kNoDescriptor);

    const Driver& egl = driver();
    if (driverFencesWork(display)) {
        // A sync has a descriptor only once it is flushed.
        if (egl.eglGetCurrentContext() != EGL_NO_CONTEXT) egl.glFlush();
        base::unique_fd fence(egl.eglDupNativeFenceFDANDROID(display, sync));
        return aboveStandardStreams(std::move(fence)).release();
    }
    const NativeSyncs::Held held = NativeSyncs::get().find(display, sync);
    if (held == nullptr) return eglFailure(EGL_BAD_PARAMETER, kNoDescriptor);
    base::unique_fd fence = held->dup();
    if (!fence.ok()) return eglFailure(EGL_BAD_ALLOC, kNoDescriptor);
    setEglSuccess();
    return fence.release();
}

EGLint clientWaitSync(EGLDisplay display, EGLSyncKHR sync, EGLint flags, EGLTimeKHR timeout) {
    if (isForkedChild()) return eglFailure(EGL_NOT_INITIALIZED, EGLint{EGL_FALSE});
    if (const NativeSyncs::Held held = NativeSyncs::get().find(display, sync)) {
        return held->clientWait(flags, timeout);
    }
    if (driver().eglClientWaitSyncKHR == nullptr || !NativeSyncs::get().isForeign(sync)) {
        return eglFailure(EGL_BAD_PARAMETER, EGLint{EGL_FALSE});
    }
    return driver().eglClientWaitSyncKHR(display, sync, flags, timeout);
}

EGLint waitSync(EGLDisplay display, EGLSyncKHR sync, EGLint flags) {
    if (isForkedChild()) return eglFailure(EGL_NOT_INITIALIZED, EGLint{EGL_FALSE});
    if (const NativeSyncs::Held held = NativeSyncs::get().find(display, sync)) {
        if (flags != 0) return eglFailure(EGL_BAD_PARAMETER, EGLint{EGL_FALSE});
        return held->serverWait();
    }
    if (driver().eglWaitSyncKHR == nullptr || !NativeSyncs::get().isForeign(sync)) {
        return eglFailure(EGL_BAD_PARAMETER, EGLint{EGL_FALSE});
    }
    return driver().eglWaitSyncKHR(display, sync, flags);
}

EGLBoolean getSyncAttribute(EGLDisplay display, EGLSyncKHR sync, EGLint attribute, EGLint* value) {
    return getAttribute(display, sync, attribute, value, driver().eglGetSyncAttribKHR);
}

EGLBoolean getSyncAttribute(EGLDisplay display, EGLSync sync, EGLint attribute, EGLAttrib* value) {
    static const auto driverAsks = reinterpret_cast<decltype(&eglGetSyncAttrib)>(
            driver().eglGetProcAddress("eglGetSyncAttrib"));
    return getAttribute(display, sync, attribute, value, driverAsks);
}

void endNativeFences(EGLDisplay display) {
    forgetDriverFences();
    FenceWaiter::get().finish(display);
    NativeSyncs::get().releaseAll(display);
}

}  // namespace android::host
