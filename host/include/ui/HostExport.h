// SPDX-License-Identifier: Apache-2.0
#ifndef UPSCALER_HOST_UI_HOSTEXPORT_H
#define UPSCALER_HOST_UI_HOSTEXPORT_H

/// Marks what libupscaler_host exports; everything else in it is hidden.
#define UPSCALER_HOST_API __attribute__((visibility("default")))

#endif  // UPSCALER_HOST_UI_HOSTEXPORT_H
