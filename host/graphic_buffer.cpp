// SPDX-License-Identifier: Apache-2.0
#include <ui/Fence.h>
#include <ui/GraphicBuffer.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <utility>

#include "host/log.h"
#include "host/native_image.h"
#include "host/pixel_store.h"

namespace android {
namespace {

uint64_t nextId() {
    static std::atomic<uint32_t> count{0};
    return static_cast<uint64_t>(getpid()) << 32 | ++count;
}

GraphicBuffer* owner(android_native_base_t* base) {
    return static_cast<GraphicBuffer*>(reinterpret_cast<ANativeWindowBuffer*>(base));
}

}  // namespace

GraphicBuffer::GraphicBuffer() : mId(nextId()) {
    common.incRef = [](android_native_base_t* base) { owner(base)->incStrong(base); };
    common.decRef = [](android_native_base_t* base) { owner(base)->decStrong(base); };
}

GraphicBuffer::GraphicBuffer(uint32_t inWidth, uint32_t inHeight, PixelFormat inFormat,
                             uint32_t inLayerCount, uint64_t inUsage, std::string requestorName)
    : GraphicBuffer() {
    mInitCheck = allocate(inWidth, inHeight, inFormat, inLayerCount, inUsage);
    if (mInitCheck != OK) {
        HOST_LOGE("no buffer of %ux%u, format %d, layers %u for %s: error %d", inWidth, inHeight,
                  inFormat, inLayerCount, requestorName.c_str(), mInitCheck);
        return;
    }
    width = static_cast<int>(inWidth);
    height = static_cast<int>(inHeight);
    stride = static_cast<int>(mPixels->stride());
    format = inFormat;
    layerCount = std::max(inLayerCount, 1U);
    usage = inUsage;
    usage_deprecated = static_cast<int>(inUsage);
}

status_t GraphicBuffer::allocate(uint32_t inWidth, uint32_t inHeight, PixelFormat inFormat,
                                 uint32_t inLayerCount, uint64_t inUsage) {
    const host::FormatInfo* info = host::findFormat(inFormat);
    if (info == nullptr || inLayerCount > 1) return BAD_VALUE;
    if (inWidth == 0 || inHeight == 0) inWidth = inHeight = 1;
    const bool isLockedOften = (inUsage & USAGE_SW_READ_MASK) == USAGE_SW_READ_OFTEN ||
                               (inUsage & USAGE_SW_WRITE_MASK) == USAGE_SW_WRITE_OFTEN;
    return host::PixelStore::create(inWidth, inHeight, *info, isLockedOften, &mPixels);
}

GraphicBuffer::~GraphicBuffer() {
    host::NativeImages::get().removeBuffer(this);
}

void GraphicBuffer::onFirstRef() {
    if (mPixels != nullptr) host::NativeImages::get().addBuffer(this, mPixels);
}

ANativeWindowBuffer* GraphicBuffer::getNativeBuffer() const {
    return const_cast<GraphicBuffer*>(this);
}

status_t GraphicBuffer::lock(uint32_t inUsage, void** vaddr, int32_t* outBytesPerPixel,
                             int32_t* outBytesPerStride) {
    return lock(inUsage, getBounds(), vaddr, outBytesPerPixel, outBytesPerStride);
}

status_t GraphicBuffer::lock(uint32_t inUsage, const Rect& rect, void** vaddr,
                             int32_t* outBytesPerPixel, int32_t* outBytesPerStride) {
    if (vaddr == nullptr) return BAD_VALUE;
    *vaddr = nullptr;
    if (mPixels == nullptr || (inUsage & USAGE_SOFTWARE_MASK) == 0) return BAD_VALUE;
    if (rect.left < 0 || rect.top < 0 || rect.right > width || rect.bottom > height) {
        HOST_LOGE("cannot lock (%d, %d, %d, %d) of a buffer of %dx%d", rect.left, rect.top,
                  rect.right, rect.bottom, width, height);
        return BAD_VALUE;
    }
    const status_t status = mPixels->lock((inUsage & USAGE_SW_WRITE_MASK) != 0, vaddr);
    if (status != OK) return status;
    if (outBytesPerPixel != nullptr) {
        *outBytesPerPixel = static_cast<int32_t>(mPixels->bytesPerPixel());
    }
    if (outBytesPerStride != nullptr) {
        *outBytesPerStride = static_cast<int32_t>(mPixels->bytesPerRow());
    }
    return OK;
}

status_t GraphicBuffer::lockAsync(uint32_t inUsage, void** vaddr, int fenceFd,
                                  int32_t* outBytesPerPixel, int32_t* outBytesPerStride) {
    return lockAsync(inUsage, getBounds(), vaddr, fenceFd, outBytesPerPixel, outBytesPerStride);
}

status_t GraphicBuffer::lockAsync(uint32_t inUsage, const Rect& rect, void** vaddr, int fenceFd,
                                  int32_t* outBytesPerPixel, int32_t* outBytesPerStride) {
    const sp<Fence> fence = new Fence(fenceFd);
    const status_t waited = fence->waitForever("GraphicBuffer::lockAsync");
    if (waited != NO_ERROR) {
        if (vaddr != nullptr) *vaddr = nullptr;
        return waited;
    }
    return lock(inUsage, rect, vaddr, outBytesPerPixel, outBytesPerStride);
}

status_t GraphicBuffer::unlock() {
    return mPixels == nullptr ? OK : mPixels->unlock();
}

status_t GraphicBuffer::unlockAsync(int* fenceFd) {
    *fenceFd = -1;
    return unlock();
}

}  // namespace android
