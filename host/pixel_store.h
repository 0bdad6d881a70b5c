// SPDX-License-Identifier: Apache-2.0
#ifndef UPSCALER_HOST_PIXEL_STORE_H
#define UPSCALER_HOST_PIXEL_STORE_H

#include <utils/Errors.h>

#include <cstddef>
#include <cstdint>
#include <memory>
#include <mutex>
#include <vector>

#include "host/driver.h"
#include "host/pixel_formats.h"

namespace android::host {

struct HostContext;

/// The pixels of one buffer: a texture in the host's context, the driver's image of it, and, while
/// locked, the CPU's view. Any thread.
class PixelStore {
  public:
    /// @param width, height in pixels, not 0.
    /// @param store gets the pixels, all zeros, on success.
    /// @return OK, NO_MEMORY for the size, NO_INIT without a driver, UNKNOWN_ERROR if the driver
    ///     cannot store or draw the format.
    static status_t create(uint32_t width, uint32_t height, const FormatInfo& format,
                           std::shared_ptr<PixelStore>* store);
    ~PixelStore();
    PixelStore(const PixelStore&) = delete;
    PixelStore& operator=(const PixelStore&) = delete;

    uint32_t stride() const { return mStride; }  ///< In pixels.
    uint32_t bytesPerPixel() const { return mFormat.bytesPerPixel; }
    uint32_t bytesPerRow() const { return mStride * mFormat.bytesPerPixel; }

    /// The view's first row, the same for nested locks; see `GraphicBuffer::lock`.
    status_t lock(bool forWriting, void** address);
    status_t unlock();

    /// The driver's image of the texture, the same at each call: a second one fails on some
    /// drivers, and even after the first was destroyed. EGL_NO_IMAGE_KHR if it cannot be made.
    /// Owned by this.
    EGLImageKHR image();

  private:
    PixelStore(uint32_t width, uint32_t height, const FormatInfo& format);
    status_t allocate(const HostContext& host);
    size_t viewBytes() const { return size_t{bytesPerRow()} * mHeight; }
    status_t readBack();
    status_t upload();

    const FormatInfo& mFormat;
    const uint32_t mWidth;
    const uint32_t mHeight;
    const uint32_t mStride;

    // Of the GL thread alone.
    GLuint mTexture = 0;
    EGLImageKHR mImage = EGL_NO_IMAGE_KHR;

    std::mutex mViewMutex;
    std::vector<uint8_t> mView;
    unsigned mLocks = 0;
    bool mWritten = false;
};

}  // namespace android::host

#endif  // UPSCALER_HOST_PIXEL_STORE_H
