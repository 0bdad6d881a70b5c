// SPDX-License-Identifier: Apache-2.0
#ifndef UPSCALER_HOST_NATIVE_IMAGE_H
#define UPSCALER_HOST_NATIVE_IMAGE_H

#include <ui/GraphicBuffer.h>

#include <memory>
#include <mutex>
#include <unordered_map>

#include "host/driver.h"

namespace android::host {

class PixelStore;

/// The live buffers, and the EGL images of them that clients have.
///
/// A client's handle is the driver's image itself, since clients give it to the driver's GL. All
/// images of one buffer are one handle, counted, and each holds a strong reference on the buffer.
/// Any thread.
class NativeImages {
  public:
    static NativeImages& get();

    /// A buffer can be imported from `addBuffer`, at its first strong reference, until
    /// `removeBuffer`, in its destructor.
    /// @return false if there is no memory, so that it cannot be imported.
    bool addBuffer(GraphicBuffer* buffer, const std::shared_ptr<PixelStore>& pixels);
    void removeBuffer(const GraphicBuffer* buffer);

    // What eglCreateImageKHR answers for EGL_NATIVE_BUFFER_ANDROID, and eglDestroyImageKHR.
    EGLImageKHR create(EGLDisplay display, EGLContext context, EGLClientBuffer native,
                       const EGLint* attributes);
    EGLBoolean destroy(EGLDisplay display, EGLImageKHR image);
    /// A client binds an image, of a buffer or not, to a texture of `target`.
    void bind(GLenum target, EGLImageKHR image);

    /// Takes all images of `display` back from the clients.
    void releaseAll(EGLDisplay display);

  private:
    struct Buffer {
        wp<GraphicBuffer> buffer;
        std::shared_ptr<PixelStore> pixels;
        EGLImageKHR image = EGL_NO_IMAGE_KHR;
    };
    struct Image {
        ANativeWindowBuffer* native;
        unsigned handedOut = 0;
        // Of releaseAll.
        unsigned takenBack = 0;
        Image* nextTakenBack = nullptr;
    };

    std::mutex mMutex;
    std::unordered_map<const void*, Buffer> mBuffers;  // By native buffer.
    // Every image of a live buffer, those that no client has at present included: the driver must
    // never be asked to destroy one by a client.
    std::unordered_map<EGLImageKHR, Image> mImages;
};

}  // namespace android::host

#endif  // UPSCALER_HOST_NATIVE_IMAGE_H
