// SPDX-License-Identifier: Apache-2.0
#ifndef UPSCALER_HOST_EGL_ERROR_H
#define UPSCALER_HOST_EGL_ERROR_H

#include <EGL/egl.h>

#include <new>

namespace android::host {

// The calling thread's EGL error, as the client sees it: one state, of the latest call, whether the
// host answered that call or the driver. A host call ends with one of the first functions; one
// that ends in a call of the driver leaves the outcome to that.

/// EGL_SUCCESS is the state.
void setEglSuccess();
/// `error` is the state.
void setEglError(EGLint error);
/// The same, for a return statement: returns `result`.
template <typename Result>
Result eglFailure(EGLint error, Result result) {
    setEglError(error);
    return result;
}
/// What `answer` returns. If it throws for want of memory, EGL_BAD_ALLOC and `failure`: no
/// exception leaves an EGL function.
template <typename Result, typename Answer>
Result orBadAlloc(Result failure, const Answer& answer) {
    try {
        return answer();
    } catch (const std::bad_alloc&) {
        return eglFailure(EGL_BAD_ALLOC, failure);
    }
}
/// What `eglGetError` answers: the state, which becomes EGL_SUCCESS.
EGLint takeEglError();

}  // namespace android::host

#endif  // UPSCALER_HOST_EGL_ERROR_H
