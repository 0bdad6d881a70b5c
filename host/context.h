// SPDX-License-Identifier: Apache-2.0
#ifndef UPSCALER_HOST_CONTEXT_H
#define UPSCALER_HOST_CONTEXT_H

#include <EGL/egl.h>

namespace android::host {

/// Makes an OpenGL ES 3 context without a surface and makes it current on the calling thread.
/// @return whether it did; otherwise the driver's error says why. To be closed in either case.
bool openContext(EGLDisplay display, EGLContext* context);

/// Ends the context, if there is one, and what the driver keeps for the calling thread.
void closeContext(EGLDisplay display, EGLContext context);

}  // namespace android::host

#endif  // UPSCALER_HOST_CONTEXT_H
