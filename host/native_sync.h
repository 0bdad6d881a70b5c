// SPDX-License-Identifier: Apache-2.0
#ifndef UPSCALER_HOST_NATIVE_SYNC_H
#define UPSCALER_HOST_NATIVE_SYNC_H

#include <android-base/unique_fd.h>

#include <map>
#include <memory>
#include <mutex>

#include "host/driver.h"

namespace android::host {

/// A native fence sync on a display whose driver has none. It lives as long as its last holder: the
/// client, who may destroy it at any time, a wait for it, or a fence. Any thread.
class NativeSync {
  public:
    explicit NativeSync(EGLDisplay display) : mDisplay(display) {}
    virtual ~NativeSync() = default;
    NativeSync(const NativeSync&) = delete;
    NativeSync& operator=(const NativeSync&) = delete;

    EGLDisplay display() const { return mDisplay; }
    /// What the client knows it by.
    virtual EGLSyncKHR handle() const = 0;
    /// EGL_SYNC_CONDITION_KHR.
    virtual EGLint condition() const = 0;
    virtual bool isSignalled() const = 0;
    /// A new descriptor of its fence; -1 and errno if there is none to be had.
    virtual base::unique_fd dup() const = 0;

    // What eglClientWaitSyncKHR and eglWaitSyncKHR answer, with the EGL error.
    virtual EGLint clientWait(EGLint flags, EGLTimeKHR timeout) const = 0;
    virtual EGLint serverWait() const = 0;

  private:
    const EGLDisplay mDisplay;
};

/// A fence sync of the driver's, whose handle is the client's too: the driver's functions take it.
class DriverSync : public NativeSync, public std::enable_shared_from_this<DriverSync> {
  public:
    using NativeSync::NativeSync;
    ~DriverSync() override;

    /// Makes the driver's sync, of the commands so far, and flushes. False and the driver's EGL
    /// error if there is none to be had.
    bool create();

    EGLSyncKHR handle() const override { return mSync; }
    EGLint condition() const override { return EGL_SYNC_PRIOR_COMMANDS_COMPLETE_KHR; }
    /// Also true when the driver no longer knows it: nobody shall wait for ever.
    bool isSignalled() const override;
    base::unique_fd dup() const override;
    EGLint clientWait(EGLint flags, EGLTimeKHR timeout) const override;
    EGLint serverWait() const override;

  private:
    EGLSyncKHR mSync = EGL_NO_SYNC_KHR;
};

/// A client's descriptor, which no driver would wait for.
class ImportedSync : public NativeSync {
  public:
    using NativeSync::NativeSync;
    ~ImportedSync() override;

    /// From here on the sync closes `fd`.
    void adopt(int fd) { mFence.reset(fd); }

    EGLSyncKHR handle() const override { return const_cast<ImportedSync*>(this); }
    EGLint condition() const override { return EGL_SYNC_NATIVE_FENCE_SIGNALED_ANDROID; }
    bool isSignalled() const override;
    base::unique_fd dup() const override;
    EGLint clientWait(EGLint flags, EGLTimeKHR timeout) const override;
    /// If the fence is one of the host's own, the GPU waits for the driver's sync behind it.
    /// Otherwise the calling thread waits, with a line after three seconds and an error after ten.
    EGLint serverWait() const override;

  private:
    base::unique_fd mFence;
};

/// The native syncs that clients have. Any thread.
class NativeSyncs {
  public:
    using Held = std::shared_ptr<const NativeSync>;

    static NativeSyncs& get();

    /// @throws std::bad_alloc
    void add(Held sync);
    /// Null if `sync` is none of these, or the client has destroyed it.
    Held find(EGLDisplay display, EGLSyncKHR sync);
    /// Takes `sync` from the client. Null as above.
    Held release(EGLDisplay display, EGLSyncKHR sync);
    /// Takes all of `display` from the clients.
    void releaseAll(EGLDisplay display);
    /// Whether the driver may be asked about `sync`: not if it is one of these, or still held.
    bool isForeign(EGLSyncKHR sync);
    /// The end of a driver's sync.
    void destroy(EGLDisplay display, EGLSyncKHR sync);
    /// The end of any other.
    void forget(EGLSyncKHR sync);

  private:
    std::mutex mMutex;
    // What the client holds; null if only others still hold the sync. Ordered, so that `releaseAll`
    // needs no memory to go through it.
    std::map<EGLSyncKHR, Held> mSyncs;
};

}  // namespace android::host

#endif  // UPSCALER_HOST_NATIVE_SYNC_H
