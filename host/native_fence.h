// SPDX-License-Identifier: Apache-2.0
#ifndef UPSCALER_HOST_NATIVE_FENCE_H
#define UPSCALER_HOST_NATIVE_FENCE_H

#include "host/driver.h"

namespace android::host {

// What eglCreateSyncKHR answers for EGL_SYNC_NATIVE_FENCE_ANDROID, and the other functions that
// take a sync for every type; those of EGL 1.5 too, which take the same syncs. Any thread.
//
// Where the driver's own fences work, see driver_fences.h, these are the driver's. Elsewhere a
// native fence is a `NativeSync`, of the driver's sync or of the descriptor that was handed in.

EGLSyncKHR createNativeFence(EGLDisplay display, const EGLint* attributes);
EGLSync createNativeFence(EGLDisplay display, const EGLAttrib* attributes);
EGLBoolean destroySync(EGLDisplay display, EGLSyncKHR sync);
EGLint dupNativeFence(EGLDisplay display, EGLSyncKHR sync);
EGLint clientWaitSync(EGLDisplay display, EGLSyncKHR sync, EGLint flags, EGLTimeKHR timeout);
EGLint waitSync(EGLDisplay display, EGLSyncKHR sync, EGLint flags);
EGLBoolean getSyncAttribute(EGLDisplay display, EGLSyncKHR sync, EGLint attribute, EGLint* value);
EGLBoolean getSyncAttribute(EGLDisplay display, EGLSync sync, EGLint attribute, EGLAttrib* value);

/// At the last terminate of `display`: signals its fences and destroys its syncs.
void endNativeFences(EGLDisplay display);

}  // namespace android::host

#endif  // UPSCALER_HOST_NATIVE_FENCE_H
