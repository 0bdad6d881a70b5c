// SPDX-License-Identifier: Apache-2.0
#ifndef UPSCALER_HOST_ENTRY_POINTS_H
#define UPSCALER_HOST_ENTRY_POINTS_H

#include <EGL/egl.h>

namespace android::host {

using EntryPoint = __eglMustCastToProperFunctionPointerType;

/// What a client's `eglGetProcAddress` gets: the host's own function where it answers in the
/// driver's place, the driver's otherwise. Any thread.
EntryPoint findEntryPoint(const char* name);

}  // namespace android::host

#endif  // UPSCALER_HOST_ENTRY_POINTS_H
