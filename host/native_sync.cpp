// SPDX-License-Identifier: Apache-2.0
#include "host/native_sync.h"

#include <algorithm>
#include <cerrno>
#include <climits>
#include <utility>

#include "host/descriptor.h"
#include "host/egl_error.h"
#include "host/fence_waiter.h"
#include "host/log.h"
#include "host/process_wide.h"

namespace android::host {
namespace {

constexpr EGLint kTrue = EGL_TRUE;
constexpr EGLint kFalse = EGL_FALSE;

// How long a thread waits in the GPU's place until there is a line, and how much longer it does.
constexpr int kWarningTimeoutMs = 3000;
constexpr int kLastTimeoutMs = 7000;

}  // namespace

DriverSync::~DriverSync() {
    if (mSync != EGL_NO_SYNC_KHR) NativeSyncs::get().destroy(display(), mSync);
}

bool DriverSync::create() {
    mSync = driver().eglCreateSyncKHR(display(), EGL_SYNC_FENCE_KHR, nullptr);
    if (mSync == EGL_NO_SYNC_KHR) return false;
    // Nobody waits with a context that could flush, so the work has to be on its way by now.
    driver().glFlush();
    return true;
}

bool DriverSync::isSignalled() const {
    return driver().eglClientWaitSyncKHR(display(), mSync, 0, 0) != EGL_TIMEOUT_EXPIRED_KHR;
}

base::unique_fd DriverSync::dup() const {
    return FenceWaiter::get().add(shared_from_this());
}

EGLint DriverSync::clientWait(EGLint flags, EGLTimeKHR timeout) const {
    return driver().eglClientWaitSyncKHR(display(), mSync, flags, timeout);
}

EGLint DriverSync::serverWait() const {
    if (driver().eglWaitSyncKHR == nullptr) return eglFailure(EGL_BAD_PARAMETER, kFalse);
    return driver().eglWaitSyncKHR(display(), mSync, 0);
}

ImportedSync::~ImportedSync() {
    NativeSyncs::get().forget(handle());
}

bool ImportedSync::isSignalled() const {
    const status_t status = waitReadable(mFence.get(), 0);
    return status == NO_ERROR || status == -EINVAL;  // A bad one is not waited for.
}

base::unique_fd ImportedSync::dup() const {
    return duplicate(mFence.get());
}

EGLint ImportedSync::clientWait(EGLint flags, EGLTimeKHR timeout) const {
    setEglSuccess();
    if (isSignalled()) return EGL_CONDITION_SATISFIED_KHR;
    const bool flush = (flags & EGL_SYNC_FLUSH_COMMANDS_BIT_KHR) != 0;
    if (flush && driver().eglGetCurrentContext() != EGL_NO_CONTEXT) driver().glFlush();
    constexpr EGLTimeKHR kNsPerMs = 1000000;
    const EGLTimeKHR ms = timeout / kNsPerMs + (timeout % kNsPerMs != 0 ? 1 : 0);
    const bool forever = timeout == EGL_FOREVER_KHR;
    switch (waitReadable(mFence.get(),
                         forever ? -1 : static_cast<int>(std::min<EGLTimeKHR>(ms, INT_MAX)))) {
        case NO_ERROR:
        case -EINVAL:
            return EGL_CONDITION_SATISFIED_KHR;
        case -ETIME:
            return EGL_TIMEOUT_EXPIRED_KHR;
        default:
            return eglFailure(EGL_BAD_ALLOC, kFalse);
    }
}

EGLint ImportedSync::serverWait() const {
    if (driver().eglGetCurrentContext() == EGL_NO_CONTEXT) {
        return eglFailure(EGL_BAD_MATCH, kFalse);
    }
    setEglSuccess();
    if (isSignalled()) return kTrue;
    const auto sync = FenceWaiter::get().pendingSync(mFence.get());
    if (sync != nullptr && sync->display() == display()) return sync->serverWait();

    // What came before must not wait as well; what comes later cannot be sent yet.
    driver().glFlush();
    status_t status = waitReadable(mFence.get(), kWarningTimeoutMs);
    if (status == -ETIME) {
        HOST_LOGE("eglWaitSyncKHR: fence %d did not signal in %d ms", mFence.get(),
                  kWarningTimeoutMs);
        status = waitReadable(mFence.get(), kLastTimeoutMs);
    }
    if (status == NO_ERROR || status == -EINVAL) return kTrue;
    HOST_LOGE("eglWaitSyncKHR: the GPU does not wait for fence %d", mFence.get());
    return eglFailure(EGL_BAD_ACCESS, kFalse);
}

NativeSyncs& NativeSyncs::get() {
    return processWide<NativeSyncs>();
}

void NativeSyncs::add(Held sync) {
    const std::lock_guard<std::mutex> lock(mMutex);
    mSyncs[sync->handle()] = std::move(sync);
}

NativeSyncs::Held NativeSyncs::find(EGLDisplay display, EGLSyncKHR sync) {
    const std::lock_guard<std::mutex> lock(mMutex);
    const auto found = mSyncs.find(sync);
    const bool has = found != mSyncs.end() && found->second != nullptr &&
                     found->second->display() == display;
    return has ? found->second : nullptr;
}

NativeSyncs::Held NativeSyncs::release(EGLDisplay display, EGLSyncKHR sync) {
    const std::lock_guard<std::mutex> lock(mMutex);
    const auto found = mSyncs.find(sync);
    const bool has = found != mSyncs.end() && found->second != nullptr &&
                     found->second->display() == display;
    return has ? std::exchange(found->second, nullptr) : nullptr;
}

void NativeSyncs::releaseAll(EGLDisplay display) {
    EGLSyncKHR last = nullptr;
    while (true) {
        Held released;  // Outlives the lock, which its end may want.
        const std::lock_guard<std::mutex> lock(mMutex);
        auto next = mSyncs.upper_bound(last);
        while (next != mSyncs.end() &&
               (next->second == nullptr || next->second->display() != display)) {
            ++next;
        }
        if (next == mSyncs.end()) return;
        last = next->first;
        released = std::exchange(next->second, nullptr);
    }
}

bool NativeSyncs::isForeign(EGLSyncKHR sync) {
    const std::lock_guard<std::mutex> lock(mMutex);
    return mSyncs.count(sync) == 0;
}

void NativeSyncs::destroy(EGLDisplay display, EGLSyncKHR sync) {
    // Under the lock, so that the driver cannot give the handle out again in between.
    const std::lock_guard<std::mutex> lock(mMutex);
    driver().eglDestroySyncKHR(display, sync);
    mSyncs.erase(sync);
}

void NativeSyncs::forget(EGLSyncKHR sync) {
    const std::lock_guard<std::mutex> lock(mMutex);
    mSyncs.erase(sync);
}

}  // namespace android::host
