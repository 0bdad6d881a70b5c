// SPDX-License-Identifier: Apache-2.0
#ifndef UPSCALER_HOST_NATIVE_FENCE_H
#define UPSCALER_HOST_NATIVE_FENCE_H

#include "host/driver.h"

namespace android::host {

// What eglCreateSyncKHR answers for EGL_SYNC_NATIVE_FENCE_ANDROID, and the other functions that
// take a sync for every type. Any thread.
//
// Where the display has EGL_ANDROID_native_fence_sync these are the driver's own. Elsewhere a
// native fence is a fence sync of the driver, whose handle the client gets, so that the driver's
// other sync functions take it too; its descriptors are the FenceWaiter's. No descriptor can be
// imported.

EGLSyncKHR createNativeFence(EGLDisplay display, const EGLint* attributes);
EGLBoolean destroySync(EGLDisplay display, EGLSyncKHR sync);
EGLint dupNativeFence(EGLDisplay display, EGLSyncKHR sync);
EGLint clientWaitSync(EGLDisplay display, EGLSyncKHR sync, EGLint flags, EGLTimeKHR timeout);
EGLint waitSync(EGLDisplay display, EGLSyncKHR sync, EGLint flags);
EGLBoolean getSyncAttribute(EGLDisplay display, EGLSyncKHR sync, EGLint attribute, EGLint* value);

/// At the last terminate of `display`: signals its fences and destroys its syncs.
void endNativeFences(EGLDisplay display);

}  // namespace android::host

#endif  // UPSCALER_HOST_NATIVE_FENCE_H
