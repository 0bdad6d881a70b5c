// SPDX-License-Identifier: Apache-2.0
#ifndef UPSCALER_HOST_DRIVER_FENCES_H
#define UPSCALER_HOST_DRIVER_FENCES_H

#include <EGL/egl.h>

namespace android::host {

/// Whether the driver's own native fences on `display` can be used: it lists the extension, and a
/// trial shows that its sync files signal when the work is done. Software drivers hand out files
/// that have signalled long ago, and wait for the work before. Found out once for a display.
/// Changes no context and no EGL error of the calling thread.
bool driverFencesWork(EGLDisplay display);

/// At the last terminate of `display`.
void forgetDriverFences();

}  // namespace android::host

#endif  // UPSCALER_HOST_DRIVER_FENCES_H
