// SPDX-License-Identifier: Apache-2.0
#ifndef UPSCALER_HOST_UI_GRAPHICBUFFER_H
#define UPSCALER_HOST_UI_GRAPHICBUFFER_H

#include <hardware/gralloc.h>
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
/// They live in a texture of the host's own GL context. A buffer therefore needs a driver, and it
/// outlives every other context. Any thread may call any member, whatever context it has current.
/// The CPU sees the pixels between a lock and its unlock. The GPU sees them through an EGL image of
/// `getNativeBuffer()`. Wait for the GPU's release fence before `lock`, and let `unlock` return
/// before the next draw. A new buffer is all zeros. The width and height are at most the driver's
/// GL_MAX_TEXTURE_SIZE, and the format is one of `PixelFormat.h`.
class UPSCALER_HOST_API GraphicBuffer : public ANativeWindowBuffer, public RefBase {
  public:
    enum {
        USAGE_SW_READ_NEVER = GRALLOC_USAGE_SW_READ_NEVER,
        USAGE_SW_READ_RARELY = GRALLOC_USAGE_SW_READ_RARELY,
        USAGE_SW_READ_OFTEN = GRALLOC_USAGE_SW_READ_OFTEN,
        USAGE_SW_READ_MASK = GRALLOC_USAGE_SW_READ_MASK,

        USAGE_SW_WRITE_NEVER = GRALLOC_USAGE_SW_WRITE_NEVER,
        USAGE_SW_WRITE_RARELY = GRALLOC_USAGE_SW_WRITE_RARELY,
        USAGE_SW_WRITE_OFTEN = GRALLOC_USAGE_SW_WRITE_OFTEN,
        USAGE_SW_WRITE_MASK = GRALLOC_USAGE_SW_WRITE_MASK,

        USAGE_SOFTWARE_MASK = USAGE_SW_READ_MASK | USAGE_SW_WRITE_MASK,

        USAGE_HW_TEXTURE = GRALLOC_USAGE_HW_TEXTURE,
        USAGE_HW_RENDER = GRALLOC_USAGE_HW_RENDER,
        USAGE_HW_2D = GRALLOC_USAGE_HW_2D,
        USAGE_HW_COMPOSER = GRALLOC_USAGE_HW_COMPOSER,
        USAGE_PROTECTED = GRALLOC_USAGE_PROTECTED,
        USAGE_CURSOR = GRALLOC_USAGE_CURSOR,
        USAGE_HW_VIDEO_ENCODER = GRALLOC_USAGE_HW_VIDEO_ENCODER,
        USAGE_HW_MASK = GRALLOC_USAGE_HW_MASK,
    };

    using RefBase::decStrong;
    using RefBase::incStrong;

    /// A buffer without pixels: sizes 0, `initCheck` OK, refused by `lock` and as an EGL image.
    GraphicBuffer();

    /// Allocates the pixels. `initCheck` says whether that worked; after a failure all sizes are 0.
    /// @param inWidth, inHeight in pixels. A 0 is reported as 0 and stored as 1.
    /// @param inLayerCount 0 and 1 mean one layer. The host does not support more.
    /// @param inUsage reported by `getUsage`. The host enforces none of it. With
    ///     USAGE_SW_READ_OFTEN or USAGE_SW_WRITE_OFTEN it keeps the memory behind `lock`.
    /// @param requestorName for the log line of a failure.
    GraphicBuffer(uint32_t inWidth, uint32_t inHeight, PixelFormat inFormat, uint32_t inLayerCount,
                  uint64_t inUsage, std::string requestorName = "<Unknown>");
    /// As above, of one layer.
    GraphicBuffer(uint32_t inWidth, uint32_t inHeight, PixelFormat inFormat, uint32_t inUsage,
                  std::string requestorName = "<Unknown>");

    /// The buffer of a `getNativeBuffer()`; null for null.
    static sp<GraphicBuffer> from(ANativeWindowBuffer* native);

    /// OK, or the reason why there are no pixels. BAD_VALUE: the host does not support the format
    /// or the layer count, or the number of bytes overflows. NO_MEMORY: the size is too large, or
    /// the host itself has no memory. NO_INIT: there is no working driver, or this is a forked
    /// child.
    status_t initCheck() const { return mInitCheck; }

    /// Replaces the pixels by new ones, all zeros, as the constructor makes them; does nothing if
    /// the buffer is just as asked. No other thread may use the buffer meanwhile. The id stays.
    /// @return what `initCheck` then does; INVALID_OPERATION, and nothing is changed, under a lock
    ///     or once the buffer was imported: clients know images by the native buffer, and would go
    ///     on with the old pixels.
    status_t reallocate(uint32_t inWidth, uint32_t inHeight, PixelFormat inFormat,
                        uint32_t inLayerCount, uint64_t inUsage);
    /// Whether the buffer differs from what is asked, or lacks a bit of `inUsage`.
    bool needsReallocation(uint32_t inWidth, uint32_t inHeight, PixelFormat inFormat,
                           uint32_t inLayerCount, uint64_t inUsage);

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

    /// Shows the pixels to the CPU. It does not wait for a fence. Each successful lock needs an
    /// unlock. Locks can nest, in any thread, and then share one view. The call reads the pixels
    /// back from the GPU, unless the host kept the memory, the last lock was for writing, and the
    /// GPU has had the buffer as an external texture at most since then.
    /// @param inUsage has at least one USAGE_SW_* bit. Without a write bit, changes are dropped. A
    ///     lock for writing only also shows the pixels, so pixels that are not written stay as they
    ///     were.
    /// @param vaddr not null; gets the first row's address, good until the last unlock, or null.
    /// @param outBytesPerPixel, outBytesPerStride get the bytes of a pixel and of a row; may be
    ///     null.
    /// @return OK; BAD_VALUE for no pixels, no USAGE_SW_* bit, a null `vaddr`, or a rectangle that
    ///     is invalid or leaves the bounds; NO_MEMORY; NO_INIT once the process is on its way out
    ///     and in a forked child; UNKNOWN_ERROR from GL.
    status_t lock(uint32_t inUsage, void** vaddr, int32_t* outBytesPerPixel = nullptr,
                  int32_t* outBytesPerStride = nullptr);
    /// As above. `rect`, in pixels, tells what will be touched; the address is still the first
    /// row's.
    status_t lock(uint32_t inUsage, const Rect& rect, void** vaddr,
                  int32_t* outBytesPerPixel = nullptr, int32_t* outBytesPerStride = nullptr);
    /// As `lock`, after waiting for `fenceFd` (-1 for none), which this call owns and closes in any
    /// case. Waits only for what can be locked. Returns what `Fence::waitForever` does if the wait
    /// fails.
    status_t lockAsync(uint32_t inUsage, void** vaddr, int fenceFd,
                       int32_t* outBytesPerPixel = nullptr, int32_t* outBytesPerStride = nullptr);
    /// As above, for a part.
    status_t lockAsync(uint32_t inUsage, const Rect& rect, void** vaddr, int fenceFd,
                       int32_t* outBytesPerPixel = nullptr, int32_t* outBytesPerStride = nullptr);

    /// Ends a lock. If any lock of the view was for writing, the GPU has the pixels on return.
    /// @return OK, also without a lock. NO_MEMORY, NO_INIT or UNKNOWN_ERROR if the pixels did not
    ///     reach the GPU; the lock has ended in that case, too.
    status_t unlock();
    /// As `unlock`. The pixels are there on return, so `*fenceFd` becomes -1; may be null.
    status_t unlockAsync(int* fenceFd);

  private:
    ~GraphicBuffer() override;
    void onFirstRef() override;

    void init(uint32_t inWidth, uint32_t inHeight, PixelFormat inFormat, uint32_t inLayerCount,
              uint64_t inUsage, const char* requestorName);
    status_t allocate(uint32_t inWidth, uint32_t inHeight, PixelFormat inFormat,
                      uint32_t inLayerCount, uint64_t inUsage);
    void fail(status_t status);
    void enlist();
    status_t checkLock(uint32_t inUsage, const Rect& rect, void** vaddr) const;

    uint64_t mId;
    status_t mInitCheck = OK;
    std::shared_ptr<host::PixelStore> mPixels;
};

}  // namespace android

#endif  // UPSCALER_HOST_UI_GRAPHICBUFFER_H
