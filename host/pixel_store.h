// SPDX-License-Identifier: Apache-2.0
#ifndef UPSCALER_HOST_PIXEL_STORE_H
#define UPSCALER_HOST_PIXEL_STORE_H

#include <utils/Errors.h>

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <memory>
#include <mutex>

#include "host/driver.h"
#include "host/pixel_formats.h"

namespace android::host {

struct HostContext;

/// The pixels of one buffer: a texture in the host's context, the driver's image of it, and, while
/// locked, the CPU's view. Any thread.
///
/// A view that is kept between locks saves its pages, and the read-back too for as long as only the
/// CPU can have written: until an image is handed out, and again once the client has bound that as
/// an external texture, which GL never writes.
class PixelStore {
  public:
    /// @param width, height in pixels, not 0.
    /// @param keepsView whether the view's memory stays between locks.
    /// @param store gets the pixels, all zeros, on success.
    /// @return OK, NO_MEMORY for the size or for the host itself, NO_INIT without a driver,
    ///     UNKNOWN_ERROR if the driver cannot store or draw the format.
    static status_t create(uint32_t width, uint32_t height, const FormatInfo& format,
                           bool keepsView, std::shared_ptr<PixelStore>* store);
    ~PixelStore();
    PixelStore(const PixelStore&) = delete;
    PixelStore& operator=(const PixelStore&) = delete;

    uint32_t stride() const { return mStride; }  ///< In pixels.
    uint32_t bytesPerPixel() const { return mFormat.bytesPerPixel; }
    uint32_t bytesPerRow() const { return mStride * mFormat.bytesPerPixel; }

    /// The view's first row, the same for nested locks; see `GraphicBuffer::lock`.
    status_t lock(bool forWriting, void** address);
    status_t unlock();

    /// Takes the pixels out of use: there will be no image of them.
    /// @return INVALID_OPERATION, and they stay in use, if there may be one or there is a lock.
    status_t retire();

    /// The driver's image of the texture, the same at each call: a second one fails on some
    /// drivers, and even after the first was destroyed. EGL_NO_IMAGE_KHR if it cannot be made.
    /// Owned by this.
    EGLImageKHR image();

    /// A client binds the image to a texture of `target`.
    void bind(GLenum target);
    /// From now on clients may bind images in ways that `bind` is not told of.
    static void expectUnseenBinds();

  private:
    // What clients can do to the pixels. An image that was handed out and never seen bound may have
    // been used in any way.
    enum class Use { None, Unknown, Sampled, Drawn, Retired };
    struct Freed {
        void operator()(uint8_t* bytes) const { std::free(bytes); }
    };

    PixelStore(uint32_t width, uint32_t height, const FormatInfo& format, bool keepsView);
    status_t allocate(const HostContext& host);
    void noteUse(Use use);
    bool onlyTheCpuWrites() const;
    bool makeView();
    void dropView();
    status_t readBack();
    status_t upload();

    const FormatInfo& mFormat;
    const uint32_t mWidth;
    const uint32_t mHeight;
    const uint32_t mStride;
    const bool mKeepsView;
    std::atomic<Use> mUse{Use::None};

    // Of the GL thread alone.
    GLuint mTexture = 0;
    EGLImageKHR mImage = EGL_NO_IMAGE_KHR;

    std::mutex mViewMutex;
    std::unique_ptr<uint8_t[], Freed> mView;
    std::atomic<bool> mViewIsCurrent{false};  // It holds what the texture holds.
    unsigned mLocks = 0;
    bool mWritten = false;
};

}  // namespace android::host

#endif  // UPSCALER_HOST_PIXEL_STORE_H
