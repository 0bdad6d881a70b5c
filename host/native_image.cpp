// SPDX-License-Identifier: Apache-2.0
#include "host/native_image.h"

#include <new>
#include <utility>

#include "host/displays.h"
#include "host/egl_error.h"
#include "host/pixel_store.h"
#include "host/process_wide.h"
#include "host/thread.h"

namespace android::host {
namespace {

bool validAttributes(const EGLint* attributes) {
    if (attributes == nullptr) return true;
    for (; attributes[0] != EGL_NONE; attributes += 2) {
        const bool known = attributes[0] == EGL_IMAGE_PRESERVED_KHR;
        if (!known || (attributes[1] != EGL_TRUE && attributes[1] != EGL_FALSE)) return false;
    }
    return true;
}

}  // namespace

NativeImages& NativeImages::get() {
    return processWide<NativeImages>();
}

bool NativeImages::addBuffer(GraphicBuffer* buffer, const std::shared_ptr<PixelStore>& pixels) try {
    const std::lock_guard<std::mutex> lock(mMutex);
    mBuffers[buffer->getNativeBuffer()] = {buffer, pixels, EGL_NO_IMAGE_KHR};
    return true;
} catch (const std::bad_alloc&) {
    return false;
}

void NativeImages::removeBuffer(const GraphicBuffer* buffer) {
    if (isForkedChild()) return;  // Nobody imports anything there.
    Buffer removed;               // Outlives the lock: with it may go the last hold on the pixels.
    const std::lock_guard<std::mutex> lock(mMutex);
    const auto found = mBuffers.find(buffer->getNativeBuffer());
    if (found == mBuffers.end()) return;
    removed = std::move(found->second);
    mImages.erase(removed.image);
    mBuffers.erase(found);
}

EGLImageKHR NativeImages::create(EGLDisplay display, EGLContext context, EGLClientBuffer native,
                                 const EGLint* attributes) {
    const EGLint usable = Displays::get().check(display);
    if (usable != EGL_SUCCESS) return eglFailure(usable, EGL_NO_IMAGE_KHR);
    if (!Displays::get().isDefault(display)) return eglFailure(EGL_BAD_MATCH, EGL_NO_IMAGE_KHR);
    if (context != EGL_NO_CONTEXT) return eglFailure(EGL_BAD_CONTEXT, EGL_NO_IMAGE_KHR);
    if (!validAttributes(attributes)) return eglFailure(EGL_BAD_PARAMETER, EGL_NO_IMAGE_KHR);

    sp<GraphicBuffer> buffer;  // Held outside the lock, since giving it up may end the buffer.
    std::shared_ptr<PixelStore> pixels;
    {
        const std::lock_guard<std::mutex> lock(mMutex);
        const auto found = mBuffers.find(native);
        if (found != mBuffers.end()) {
            buffer = found->second.buffer.promote();
            pixels = found->second.pixels;
        }
    }
    if (buffer == nullptr) return eglFailure(EGL_BAD_PARAMETER, EGL_NO_IMAGE_KHR);

    return orBadAlloc(EGL_NO_IMAGE_KHR, [&] {
        const EGLImageKHR image = pixels->image();
        if (image == EGL_NO_IMAGE_KHR) return eglFailure(EGL_BAD_ALLOC, EGL_NO_IMAGE_KHR);
        ANativeWindowBuffer* const held = buffer->getNativeBuffer();
        const std::lock_guard<std::mutex> lock(mMutex);
        Image& entry = mImages.try_emplace(image, Image{held}).first->second;
        mBuffers.find(held)->second.image = image;
        ++entry.handedOut;
        held->common.incRef(&held->common);
        setEglSuccess();
        return image;
    });
}

EGLBoolean NativeImages::destroy(EGLDisplay display, EGLImageKHR image) {
    if (isForkedChild()) return eglFailure(EGL_NOT_INITIALIZED, EGLBoolean{EGL_FALSE});
    ANativeWindowBuffer* released = nullptr;
    {
        std::unique_lock<std::mutex> lock(mMutex);
        const auto found = mImages.find(image);
        if (found == mImages.end()) {
            lock.unlock();
            if (driver().eglDestroyImageKHR == nullptr) {
                return eglFailure(EGL_BAD_PARAMETER, EGLBoolean{EGL_FALSE});
            }
            return driver().eglDestroyImageKHR(display, image);
        }
        if (found->second.handedOut > 0 && Displays::get().isDefault(display)) {
            --found->second.handedOut;
            released = found->second.native;
        }
    }
    if (released == nullptr) {
        const EGLint usable = Displays::get().check(display);
        return eglFailure(usable == EGL_SUCCESS ? EGL_BAD_PARAMETER : usable,
                          EGLBoolean{EGL_FALSE});
    }
    released->common.decRef(&released->common);
    setEglSuccess();
    return EGL_TRUE;
}

void NativeImages::bind(GLenum target, EGLImageKHR image) {
    const std::lock_guard<std::mutex> lock(mMutex);
    const auto found = mImages.find(image);
    if (found != mImages.end()) mBuffers.find(found->second.native)->second.pixels->bind(target);
}

void NativeImages::releaseAll(EGLDisplay display) {
    if (!Displays::get().isDefault(display)) return;
    // Chained through the entries: a list of them would need memory. They stand for as long as
    // their buffers have one of the references that go below, outside the lock that a buffer's end
    // takes.
    Image* first = nullptr;
    {
        const std::lock_guard<std::mutex> lock(mMutex);
        for (auto& [image, entry] : mImages) {
            if (entry.handedOut == 0) continue;
            entry.takenBack = std::exchange(entry.handedOut, 0);
            entry.nextTakenBack = std::exchange(first, &entry);
        }
    }
    while (first != nullptr) {
        const Image taken = *first;
        for (unsigned left = taken.takenBack; left > 0; --left)
            taken.native->common.decRef(&taken.native->common);
        first = taken.nextTakenBack;
    }
}

}  // namespace android::host
