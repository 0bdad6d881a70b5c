// SPDX-License-Identifier: Apache-2.0
#include "host/egl_error.h"

#include <utility>

#include "host/driver.h"
#include "host/thread.h"

namespace android::host {
namespace {

// The host cannot see the driver's later calls, which replace the state. So it makes the driver
// fail too, with this error: as long as the driver still has it, no call has come in between.
constexpr EGLint kMarker = EGL_BAD_PARAMETER;

thread_local EGLint hostError = EGL_SUCCESS;

}  // namespace

void setEglSuccess() {
    hostError = EGL_SUCCESS;
    if (!isForkedChild()) driver().eglGetError();
}

void setEglError(EGLint error) {
    hostError = error;
    if (!isForkedChild()) driver().eglBindAPI(EGL_NONE);
}

EGLint takeEglError() {
    // A forked child may find the driver's locks held.
    if (isForkedChild()) return std::exchange(hostError, EGL_SUCCESS);
    const EGLint fromDriver = driver().eglGetError();
    const EGLint fromHost = hostError;
    hostError = EGL_SUCCESS;
    return fromDriver == kMarker && fromHost != EGL_SUCCESS ? fromHost : fromDriver;
}

}  // namespace android::host
