// SPDX-License-Identifier: Apache-2.0
#ifndef UPSCALER_TESTS_HOST_GLCLIENT_H
#define UPSCALER_TESTS_HOST_GLCLIENT_H

#include <EGL/egl.h>
#include <EGL/eglext.h>
#include <GLES3/gl32.h>
// gl2ext.h uses the types of the header above.
#include <GLES2/gl2ext.h>
#include <gtest/gtest.h>
#include <ui/Fence.h>
#include <ui/GraphicBuffer.h>

#include <array>
#include <vector>

namespace android {

using Bytes = std::vector<uint8_t>;
using Colour = std::array<float, 4>;

constexpr EGLBoolean kTrue = EGL_TRUE;
constexpr uint32_t kRead = GraphicBuffer::USAGE_SW_READ_OFTEN;
constexpr uint32_t kWrite = GraphicBuffer::USAGE_SW_WRITE_OFTEN;
constexpr uint64_t kAnyUse = kRead | kWrite | GraphicBuffer::USAGE_HW_TEXTURE;

sp<GraphicBuffer> makeBuffer(uint32_t width, uint32_t height,
                             PixelFormat format = PIXEL_FORMAT_RGBA_8888);

// The pixels without the stride's padding, under a lock.
Bytes readPixels(const sp<GraphicBuffer>& buffer);
void writePixels(const sp<GraphicBuffer>& buffer, const Bytes& pixels);

/// Takes the result of an EGL call that is to fail, and gives the error that it left.
template <typename Result>
EGLint errorOf(Result result, Result failure = {}) {
    EXPECT_EQ(result, failure);
    return eglGetError();
}

/// A function as a client fetches it.
struct EntryPoint {
    const char* name;
    template <typename Function>
    operator Function() const {
        return reinterpret_cast<Function>(eglGetProcAddress(name));
    }
};

/// A client of the host's EGL, with a context of its own that is current on the constructing
/// thread and takes along what was made in it. Failures are gtest failures.
class GlClient {
  public:
    GlClient();
    ~GlClient();
    GlClient(const GlClient&) = delete;

    EGLImageKHR import(const sp<GraphicBuffer>& buffer) const;

    /// Fills the image with `colour`, on the GPU, which is done with it then.
    void fill(EGLImageKHR image, const Colour& colour) const;
    /// What an external sampler reads from each texel of an image of this size.
    std::vector<Colour> sample(EGLImageKHR image, int width, int height) const;
    /// Keeps the GPU busy: 400 rounds take some 0.4 s on two cores without a GPU.
    void work(int rounds) const;

    /// A native fence sync of what was drawn so far, its fence, and the fence of one that is
    /// destroyed at once.
    EGLSyncKHR sync() const;
    sp<Fence> fence(EGLSyncKHR sync) const { return new Fence(dupFence(display, sync)); }
    sp<Fence> fence() const;

    const EGLDisplay display = eglGetDisplay(EGL_DEFAULT_DISPLAY);
    const PFNEGLCREATEIMAGEKHRPROC createImage = EntryPoint{"eglCreateImageKHR"};
    const PFNEGLDESTROYIMAGEKHRPROC destroyImage = EntryPoint{"eglDestroyImageKHR"};
    const PFNEGLCREATESYNCKHRPROC createSync = EntryPoint{"eglCreateSyncKHR"};
    const PFNEGLDESTROYSYNCKHRPROC destroySync = EntryPoint{"eglDestroySyncKHR"};
    const PFNEGLDUPNATIVEFENCEFDANDROIDPROC dupFence = EntryPoint{"eglDupNativeFenceFDANDROID"};

  private:
    EGLContext mContext = EGL_NO_CONTEXT;
};

}  // namespace android

#endif  // UPSCALER_TESTS_HOST_GLCLIENT_H
