// SPDX-License-Identifier: Apache-2.0
#ifndef UPSCALER_HOST_EGL_WRAP_H
#define UPSCALER_HOST_EGL_WRAP_H

#define EGL_EGLEXT_PROTOTYPES
#include <EGL/egl.h>
#include <EGL/eglext.h>
#include <ui/HostExport.h>

// The EGL functions that the host answers in the driver's place. What the library names at link
// time, or a client that asks for the host's EGL, is bound to these; what is fetched by name comes
// from the wrapped eglGetProcAddress.
extern "C" {
UPSCALER_HOST_API decltype(eglDupNativeFenceFDANDROID) __wrap_eglDupNativeFenceFDANDROID;
UPSCALER_HOST_API decltype(eglGetDisplay) __wrap_eglGetDisplay;
UPSCALER_HOST_API decltype(eglGetError) __wrap_eglGetError;
UPSCALER_HOST_API decltype(eglGetProcAddress) __wrap_eglGetProcAddress;
UPSCALER_HOST_API decltype(eglInitialize) __wrap_eglInitialize;
UPSCALER_HOST_API decltype(eglQueryString) __wrap_eglQueryString;
UPSCALER_HOST_API decltype(eglTerminate) __wrap_eglTerminate;
}

#endif  // UPSCALER_HOST_EGL_WRAP_H
