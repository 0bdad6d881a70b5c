// SPDX-License-Identifier: Apache-2.0
#ifndef UPSCALER_HOST_PIXEL_FORMATS_H
#define UPSCALER_HOST_PIXEL_FORMATS_H

#include <GLES3/gl32.h>
#include <ui/PixelFormat.h>

#include <cstddef>
#include <cstdint>

namespace android::host {

/// How pixels travel in one direction between GL and a buffer's CPU view.
struct Transfer {
    GLenum format;
    GLenum type;
    uint32_t bytesPerPixel;  ///< On GL's side.
    /// Turns a row of pixels into the other side's bytes; null where both are the same.
    void (*convert)(const uint8_t* from, uint8_t* to, size_t pixels);
};

/// How GL stores a buffer format. Both transfers are ones that every OpenGL ES 3 driver has.
struct FormatInfo {
    PixelFormat format;
    uint32_t bytesPerPixel;  ///< In the CPU's view.
    GLenum internalFormat;
    Transfer upload;
    Transfer readBack;
};

/// The row of `format`; null for a format that the host does not have. Any thread.
const FormatInfo* findFormat(PixelFormat format);

}  // namespace android::host

#endif  // UPSCALER_HOST_PIXEL_FORMATS_H
