// SPDX-License-Identifier: Apache-2.0
#ifndef UPSCALER_HOST_UI_GRAPHICBUFFER_H
#define UPSCALER_HOST_UI_GRAPHICBUFFER_H

#include <nativebase/nativebase.h>
#include <ui/HostExport.h>
#include <ui/PixelFormat.h>
#include <ui/Rect.h>
#include <utils/Errors.h>
#include <utils/RefBase.h>

#include <cstdint>
#include <memory>
#include <string>

namespace android {

namespace host {
class PixelStore;
}

/// Pixels that the CPU and the GPU share, held by `sp`.
///
/// They live in a texture of the host's own GL context, so a buffer needs a driver and outlives
/// every other context. Any thread may call any member, whatever context it has current. The CPU
/// sees the pixels between a lock and its unlock; the GPU sees them through an EGL image of
/// `getNativeBuffer()`. Who writes with the one waits before reading with the other: for the GPU's
/// release fence before `lock`, and for `unlock` to return before the next draw. A new buffer is
/// all zeros. At most the driver's GL_MAX_TEXTURE_SIZE wide and high, in a format of
/// `PixelFormat.h`.
class UPSCALER_HOST_API GraphicBuffer : public ANativeWindowBuffer, public RefBase {
  public:
    enum {
        USAGE_SW_READ_NEVER = 0x00000000,
        USAGE_SW_READ_RARELY = 0x00000002,
        USAGE_SW_READ_OFTEN = 0x00000003,
        USAGE_SW_READ_MASK = 0x0000000f,

        USAGE_SW_WRITE_NEVER = 0x00000000,
        USAGE_SW_WRITE_RARELY = 0x00000020,
        USAGE_SW_WRITE_OFTEN = 0x00000030,
        USAGE_SW_WRITE_MASK = 0x000000f0,

        USAGE_SOFTWARE_MASK = USAGE_SW_READ_MASK | USAGE_SW_WRITE_MASK,

        USAGE_HW_TEXTURE = 0x00000100,
        USAGE_HW_RENDER = 0x00000200,
        USAGE_HW_2D = 0x00000400,
        USAGE_HW_COMPOSER = 0x00000800,
        USAGE_PROTECTED = 0x00004000,
        USAGE_CURSOR = 0x00008000,
        USAGE_HW_VIDEO_ENCODER = 0x00010000,
        USAGE_HW_MASK = 0x00071f00,
    };

    using RefBase::decStrong;
    using RefBase::incStrong;

    /// A buffer without pixels: sizes 0, `initCheck` OK, refused by `lock` and as an EGL image.
    GraphicBuffer();

    /// Makes the pixels; ask `initCheck` whether that worked. On failure all sizes are reported
    /// as 0.
    /// @param inWidth, inHeight in pixels. If either is 0, one pixel stands behind it, and the
    ///     size is reported as asked.
    /// @param inLayerCount 0 and 1 mean one layer; more are not to be had.
    /// @param inUsage reported by `getUsage`; the host enforces none of it. If it has
    ///     USAGE_SW_READ_OFTEN or USAGE_SW_WRITE_OFTEN, the memory behind `lock` is kept.
    /// @param requestorName for the log line of a failure.
    GraphicBuffer(uint32_t inWidth, uint32_t inHeight, PixelFormat inFormat, uint32_t inLayerCount,
                  uint64_t inUsage, std::string requestorName = "<Unknown>");

    /// OK, or why there are no pixels: BAD_VALUE for a format or layer count that is not to be had,
    /// NO_MEMORY for a size, NO_INIT without a working driver.
    status_t initCheck() const { return mInitCheck; }

    /// What the constructor was asked for; sizes in pixels, and 0 after a failure.
    /// @{
    uint32_t getWidth() const { return static_cast<uint32_t>(width); }
    uint32_t getHeight() const { return static_cast<uint32_t>(height); }
    uint64_t getUsage() const { return usage; }
    PixelFormat getPixelFormat() const { return format; }
    uint32_t getLayerCount() const { return static_cast<uint32_t>(layerCount); }
    Rect getBounds() const { return {width, height}; }
    /// @}
    /// Pixels from one row to the next under a lock: the width, made even.
    uint32_t getStride() const { return static_cast<uint32_t>(stride); }
    /// Unique among the buffers of all processes of the machine, and never 0.
    uint64_t getId() const { return mId; }

    /// What `eglCreateImageKHR` takes as its client buffer. Never null; owned by this object.
    ANativeWindowBuffer* getNativeBuffer() const;

    /// Shows the pixels to the CPU. Waits for no fence. Each successful lock wants an unlock; locks
    /// may nest, in any thread, and then share one view. Reads the pixels back from the GPU, unless
    /// the memory was kept, the last lock was for writing, and the GPU has since been given the
    /// buffer as an external texture only, if at all.
    /// @param inUsage with at least one USAGE_SW_* bit; with no write bit, changes are dropped. A
    ///     lock for writing only still shows the pixels, so what it leaves alone stays as it was.
    /// @param vaddr not null; gets the first row's address, good until the last unlock, or null.
    /// @param outBytesPerPixel, outBytesPerStride get the bytes of a pixel and of a row; may be
    ///     null.
    /// @return OK; BAD_VALUE for no pixels, no USAGE_SW_* bit, a null `vaddr` or a rectangle that
    ///     leaves the bounds; NO_INIT once the process is on its way out; UNKNOWN_ERROR from GL.
    status_t lock(uint32_t inUsage, void** vaddr, int32_t* outBytesPerPixel = nullptr,
                  int32_t* outBytesPerStride = nullptr);
    /// As above. `rect`, in pixels, tells what will be touched; the address is still the first
    /// row's.
    status_t lock(uint32_t inUsage, const Rect& rect, void** vaddr,
                  int32_t* outBytesPerPixel = nullptr, int32_t* outBytesPerStride = nullptr);
    /// As `lock`, after waiting for `fenceFd` (-1 for none), which this call owns and closes.
    /// Returns what `Fence::waitForever` does if the wait fails.
    status_t lockAsync(uint32_t inUsage, void** vaddr, int fenceFd,
                       int32_t* outBytesPerPixel = nullptr, int32_t* outBytesPerStride = nullptr);
    /// As above, for a part.
    status_t lockAsync(uint32_t inUsage, const Rect& rect, void** vaddr, int fenceFd,
                       int32_t* outBytesPerPixel = nullptr, int32_t* outBytesPerStride = nullptr);

    /// Ends a lock. If any lock of the view was for writing, the GPU has the pixels on return.
    /// @return OK, also without a lock; NO_INIT or UNKNOWN_ERROR if the pixels did not get there.
    status_t unlock();
    /// As `unlock`. The pixels are there on return, so `*fenceFd` (not null) becomes -1.
    status_t unlockAsync(int* fenceFd);

  private:
    ~GraphicBuffer() override;
    void onFirstRef() override;

    status_t allocate(uint32_t inWidth, uint32_t inHeight, PixelFormat inFormat,
                      uint32_t inLayerCount, uint64_t inUsage);

    uint64_t mId;
    status_t mInitCheck = OK;
    std::shared_ptr<host::PixelStore> mPixels;
};

}  // namespace android

#endif  // UPSCALER_HOST_UI_GRAPHICBUFFER_H
