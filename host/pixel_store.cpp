// SPDX-License-Identifier: Apache-2.0
#include "host/pixel_store.h"

#include <new>

#include "host/gl_thread.h"
#include "host/thread.h"

namespace android::host {
namespace {

std::atomic<bool> bindsAreSeen{true};

void clearGlErrors() {
    while (driver().glGetError() != GL_NO_ERROR) {
    }
}

status_t glStatus() {
    return driver().glGetError() == GL_NO_ERROR ? OK : UNKNOWN_ERROR;
}

void attach(GLuint texture) {
    driver().glFramebufferTexture2D(GL_FRAMEBUFFER, GL_COLOR_ATTACHMENT0, GL_TEXTURE_2D, texture,
                                    0);
}

// A transfer's rows on GL's side: the view itself if no conversion is needed, otherwise packed
// rows. Null data if there is no memory.
struct Rows {
    Rows(const Transfer& transfer, uint32_t width, uint32_t height, uint8_t* view)
        : rowBytes(size_t{width} * transfer.bytesPerPixel) {
        // Not initialised: every byte is written before it is read.
        if (transfer.convert != nullptr)
            packed.reset(new (std::nothrow) uint8_t[rowBytes * height]);
        data = transfer.convert != nullptr ? packed.get() : view;
    }
    size_t rowBytes;
    std::unique_ptr<uint8_t[]> packed;
    uint8_t* data;
};

}  // namespace

PixelStore::PixelStore(uint32_t width, uint32_t height, const FormatInfo& format, bool keepsView)
    : mFormat(format),
      mWidth(width),
      mHeight(height),
      // Wider than an odd width, so that a client that takes the width for it is found out.
      mStride(width + width % 2),
      mKeepsView(keepsView) {}

status_t PixelStore::create(uint32_t width, uint32_t height, const FormatInfo& format,
                            bool keepsView, std::shared_ptr<PixelStore>* store) {
    std::shared_ptr<PixelStore> made;
    try {
        made.reset(new PixelStore(width, height, format, keepsView));
    } catch (const std::bad_alloc&) {
        return NO_MEMORY;
    }
    status_t status =
            GlThread::get().call([&](const HostContext& host) { return made->allocate(host); });
    if (status != OK) return status;
    // Not by glClear: one driver puts that off until this context reads, after the client's
    // drawing.
    if (!made->makeView()) return NO_MEMORY;
    status = made->upload();
    made->mViewIsCurrent = true;
    made->dropView();
    if (status == OK) *store = made;
    return status;
}

status_t PixelStore::allocate(const HostContext& host) {
    const auto most = static_cast<uint32_t>(host.maxTextureSize);
    if (mWidth > most || mHeight > most) return NO_MEMORY;

    const Driver& gl = driver();
    clearGlErrors();
    gl.glGenTextures(1, &mTexture);
    gl.glBindTexture(GL_TEXTURE_2D, mTexture);
    gl.glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_MIN_FILTER, GL_NEAREST);
    gl.glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_MAG_FILTER, GL_NEAREST);
    gl.glTexStorage2D(GL_TEXTURE_2D, 1, mFormat.internalFormat, static_cast<GLsizei>(mWidth),
                      static_cast<GLsizei>(mHeight));
    const GLenum stored = gl.glGetError();
    if (stored == GL_OUT_OF_MEMORY) return NO_MEMORY;
    if (stored != GL_NO_ERROR) return UNKNOWN_ERROR;

    attach(mTexture);
    if (gl.glCheckFramebufferStatus(GL_FRAMEBUFFER) != GL_FRAMEBUFFER_COMPLETE) {
        return UNKNOWN_ERROR;
    }
    attach(0);
    return OK;
}

PixelStore::~PixelStore() {
    if (mTexture == 0) return;
    // If the thread is gone, so is the context with all that is in it.
    GlThread::get().call([this](const HostContext& host) {
        if (mImage != EGL_NO_IMAGE_KHR) driver().eglDestroyImageKHR(host.display, mImage);
        driver().glDeleteTextures(1, &mTexture);
        return OK;
    });
}

status_t PixelStore::lock(bool forWriting, void** address) {
    if (isForkedChild()) return NO_INIT;
    const Uncancelled uncancelled;
    const InHost inHost;
    const std::lock_guard<std::mutex> lock(mViewMutex);
    if (mLocks == 0) {
        if (mViewIsCurrent && onlyTheCpuWrites()) {
            if (!GlThread::get().isRunning()) return NO_INIT;
        } else {
            if (!makeView()) return NO_MEMORY;
            const status_t status = readBack();
            mViewIsCurrent = status == OK;
            if (status != OK) {
                dropView();
                return status;
            }
        }
        mWritten = false;
    }
    ++mLocks;
    mWritten |= forWriting;
    *address = mView.get();
    return OK;
}

status_t PixelStore::unlock() {
    if (isForkedChild()) return NO_INIT;
    const Uncancelled uncancelled;
    const InHost inHost;
    const std::lock_guard<std::mutex> lock(mViewMutex);
    if (mLocks == 0) return OK;
    const status_t status = mWritten ? upload() : OK;
    // What a lock for reading let the client change is not kept.
    if (!mWritten || status != OK) mViewIsCurrent = false;
    if (--mLocks == 0) dropView();
    return status;
}

bool PixelStore::makeView() {
    // The padding of the rows is never written: zeros, by pages that cost nothing until touched.
    if (mView == nullptr) mView.reset(static_cast<uint8_t*>(std::calloc(mHeight, bytesPerRow())));
    return mView != nullptr;
}

void PixelStore::dropView() {
    if (mKeepsView) return;
    mView.reset();
    mViewIsCurrent = false;
}

status_t PixelStore::readBack() {
    const Transfer& transfer = mFormat.readBack;
    const Rows rows(transfer, mWidth, mHeight, mView.get());
    if (rows.data == nullptr) return NO_MEMORY;
    const status_t status = GlThread::get().call([&](const HostContext&) {
        const Driver& gl = driver();
        clearGlErrors();
        attach(mTexture);
        if (transfer.convert == nullptr) {
            gl.glPixelStorei(GL_PACK_ROW_LENGTH, static_cast<GLint>(mStride));
        }
        gl.glReadPixels(0, 0, static_cast<GLsizei>(mWidth), static_cast<GLsizei>(mHeight),
                        transfer.format, transfer.type, rows.data);
        gl.glPixelStorei(GL_PACK_ROW_LENGTH, 0);
        attach(0);
        return glStatus();
    });
    if (status == OK && transfer.convert != nullptr) {
        for (size_t y = 0; y < mHeight; ++y) {
            transfer.convert(rows.data + y * rows.rowBytes, mView.get() + y * bytesPerRow(),
                             mWidth);
        }
    }
    return status;
}

status_t PixelStore::upload() {
    const Transfer& transfer = mFormat.upload;
    const Rows rows(transfer, mWidth, mHeight, mView.get());
    if (rows.data == nullptr) return NO_MEMORY;
    if (transfer.convert != nullptr) {
        for (size_t y = 0; y < mHeight; ++y) {
            transfer.convert(mView.get() + y * bytesPerRow(), rows.data + y * rows.rowBytes,
                             mWidth);
        }
    }
    return GlThread::get().call([&](const HostContext&) {
        const Driver& gl = driver();
        clearGlErrors();
        gl.glBindTexture(GL_TEXTURE_2D, mTexture);
        if (transfer.convert == nullptr) {
            gl.glPixelStorei(GL_UNPACK_ROW_LENGTH, static_cast<GLint>(mStride));
        }
        gl.glTexSubImage2D(GL_TEXTURE_2D, 0, 0, 0, static_cast<GLsizei>(mWidth),
                           static_cast<GLsizei>(mHeight), transfer.format, transfer.type,
                           rows.data);
        gl.glPixelStorei(GL_UNPACK_ROW_LENGTH, 0);
        gl.glFinish();  // Other contexts only see what is done.
        return glStatus();
    });
}

status_t PixelStore::retire() {
    if (isForkedChild()) return NO_INIT;
    const InHost inHost;
    const std::lock_guard<std::mutex> lock(mViewMutex);
    Use none = Use::None;
    const bool retires = mLocks == 0 && mUse.compare_exchange_strong(none, Use::Retired);
    return retires ? OK : INVALID_OPERATION;
}

void PixelStore::noteUse(Use use) {
    Use known = mUse;
    while (known != Use::Drawn && known != Use::Retired &&
           !mUse.compare_exchange_weak(known, use)) {
    }
}

bool PixelStore::onlyTheCpuWrites() const {
    const Use use = mUse;
    return use == Use::None || (use == Use::Sampled && bindsAreSeen);
}

void PixelStore::bind(GLenum target) {
    noteUse(target == GL_TEXTURE_EXTERNAL_OES ? Use::Sampled : Use::Drawn);
}

void PixelStore::expectUnseenBinds() {
    bindsAreSeen = false;
}

EGLImageKHR PixelStore::image() {
    noteUse(Use::Unknown);
    if (mUse == Use::Retired) return EGL_NO_IMAGE_KHR;
    mViewIsCurrent = false;
    EGLImageKHR image = EGL_NO_IMAGE_KHR;
    GlThread::get().call([&](const HostContext& host) {
        if (mImage == EGL_NO_IMAGE_KHR && driver().eglCreateImageKHR != nullptr) {
            const EGLint attributes[] = {EGL_IMAGE_PRESERVED_KHR, EGL_TRUE, EGL_NONE};
            mImage = driver().eglCreateImageKHR(
                    host.display, host.context, EGL_GL_TEXTURE_2D_KHR,
                    reinterpret_cast<EGLClientBuffer>(static_cast<uintptr_t>(mTexture)),
                    attributes);
        }
        image = mImage;
        return OK;
    });
    return image;
}

}  // namespace android::host
