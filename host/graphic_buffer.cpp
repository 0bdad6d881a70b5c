// SPDX-License-Identifier: Apache-2.0
#include <android-base/unique_fd.h>
#include <ui/Fence.h>
#include <ui/GraphicBuffer.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cstdint>
#include <new>
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
    init(inWidth, inHeight, inFormat, inLayerCount, inUsage, requestorName.c_str());
}

GraphicBuffer::GraphicBuffer(uint32_t inWidth, uint32_t inHeight, PixelFormat inFormat,
                             uint32_t inUsage, std::string requestorName)
    : GraphicBuffer() {
    init(inWidth, inHeight, inFormat, 1, inUsage, requestorName.c_str());
}

void GraphicBuffer::init(uint32_t inWidth, uint32_t inHeight, PixelFormat inFormat,
                         uint32_t inLayerCount, uint64_t inUsage, const char* requestorName) {
    const status_t status = allocate(inWidth, inHeight, inFormat, inLayerCount, inUsage);
    if (status != OK) {
        fail(status);
        HOST_LOGE("no buffer of %ux%u, format %d, layers %u for %s: error %d", inWidth, inHeight,
                  inFormat, inLayerCount, host::OneLine(requestorName).text, status);
        return;
    }
    mInitCheck = OK;
    width = static_cast<int>(inWidth);
    height = static_cast<int>(inHeight);
    stride = static_cast<int>(mPixels->stride());
    format = inFormat;
    layerCount = std::max(inLayerCount, 1U);
    usage = inUsage;
    usage_deprecated = static_cast<int>(inUsage);
}

void GraphicBuffer::fail(status_t status) {
    mInitCheck = status;
    mPixels.reset();
    width = height = stride = format = usage_deprecated = 0;
    layerCount = usage = 0;
}

status_t GraphicBuffer::allocate(uint32_t inWidth, uint32_t inHeight, PixelFormat inFormat,
                                 uint32_t inLayerCount, uint64_t inUsage) {
    const host::FormatInfo* info = host::findFormat(inFormat);
    if (info == nullptr || inLayerCount > 1) return BAD_VALUE;
    inWidth = std::max(inWidth, 1U);
    inHeight = std::max(inHeight, 1U);
    if (inHeight > SIZE_MAX / info->bytesPerPixel / inWidth) return BAD_VALUE;
    const bool isLockedOften = (inUsage & USAGE_SW_READ_MASK) == USAGE_SW_READ_OFTEN ||
                               (inUsage & USAGE_SW_WRITE_MASK) == USAGE_SW_WRITE_OFTEN;
    return host::PixelStore::create(inWidth, inHeight, *info, isLockedOften, &mPixels);
}

status_t GraphicBuffer::reallocate(uint32_t inWidth, uint32_t inHeight, PixelFormat inFormat,
                                   uint32_t inLayerCount, uint64_t inUsage) {
    if (mPixels != nullptr) {
        const bool isAsAsked =
                !needsReallocation(inWidth, inHeight, inFormat, inLayerCount, inUsage);
        if (isAsAsked && inUsage == usage) return OK;
        const status_t status = mPixels->retire();
        if (status != OK) return status;
        host::NativeImages::get().removeBuffer(this);
    }
    init(inWidth, inHeight, inFormat, inLayerCount, inUsage, "reallocation");
    enlist();
    return mInitCheck;
}

bool GraphicBuffer::needsReallocation(uint32_t inWidth, uint32_t inHeight, PixelFormat inFormat,
                                      uint32_t inLayerCount, uint64_t inUsage) {
    return inWidth != getWidth() || inHeight != getHeight() || inFormat != format ||
           std::max(inLayerCount, 1U) != layerCount || (usage & inUsage) != inUsage;
}

GraphicBuffer::~GraphicBuffer() {
    host::NativeImages::get().removeBuffer(this);
}

void GraphicBuffer::onFirstRef() {
    enlist();
}

void GraphicBuffer::enlist() {
    if (mPixels == nullptr) return;
    if (!host::NativeImages::get().addBuffer(this, mPixels)) fail(NO_MEMORY);
}

sp<GraphicBuffer> GraphicBuffer::from(ANativeWindowBuffer* native) {
    return sp<GraphicBuffer>(static_cast<GraphicBuffer*>(native));
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
    const status_t fine = checkLock(inUsage, rect, vaddr);
    if (fine != OK) return fine;
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

status_t GraphicBuffer::checkLock(uint32_t inUsage, const Rect& rect, void** vaddr) const {
    if (vaddr == nullptr) return BAD_VALUE;
    *vaddr = nullptr;
    if (mPixels == nullptr || (inUsage & USAGE_SOFTWARE_MASK) == 0) return BAD_VALUE;
    const bool isInside = 0 <= rect.left && rect.left <= rect.right && rect.right <= width &&
                          0 <= rect.top && rect.top <= rect.bottom && rect.bottom <= height;
    if (isInside) return OK;
    HOST_LOGE("cannot lock (%d, %d, %d, %d) of a buffer of %dx%d", rect.left, rect.top, rect.right,
              rect.bottom, width, height);
    return BAD_VALUE;
}

status_t GraphicBuffer::lockAsync(uint32_t inUsage, void** vaddr, int fenceFd,
                                  int32_t* outBytesPerPixel, int32_t* outBytesPerStride) {
    return lockAsync(inUsage, getBounds(), vaddr, fenceFd, outBytesPerPixel, outBytesPerStride);
}

status_t GraphicBuffer::lockAsync(uint32_t inUsage, const Rect& rect, void** vaddr, int fenceFd,
                                  int32_t* outBytesPerPixel, int32_t* outBytesPerStride) {
    base::unique_fd owned(fenceFd);
    const status_t fine = checkLock(inUsage, rect, vaddr);
    if (fine != OK) return fine;
    if (owned.get() != -1) {
        const sp<Fence> fence(new (std::nothrow) Fence(std::move(owned)));
        if (fence == nullptr) return NO_MEMORY;
        const status_t waited = fence->waitForever("GraphicBuffer::lockAsync");
        if (waited != NO_ERROR) return waited;
    }
    return lock(inUsage, rect, vaddr, outBytesPerPixel, outBytesPerStride);
}

status_t GraphicBuffer::unlock() {
    return mPixels == nullptr ? OK : mPixels->unlock();
}

status_t GraphicBuffer::unlockAsync(int* fenceFd) {
    if (fenceFd != nullptr) *fenceFd = -1;
    return unlock();
}

}  // namespace android
