// SPDX-License-Identifier: Apache-2.0
#ifndef UPSCALER_TESTS_HOST_GLCLIENT_H
#define UPSCALER_TESTS_HOST_GLCLIENT_H

#include <EGL/egl.h>
#include <EGL/eglext.h>
#include <GLES3/gl32.h>
// gl2ext.h uses the types of the header above.
#include <GLES2/gl2ext.h>
#include <ui/Fence.h>
#include <ui/GraphicBuffer.h>

#include <gtest/gtest.h>

#include <array>

namespace android {

using Colour = std::array<float, 4>;

/// A client of the host's EGL: a context of its own, current on the constructing thread, and the
/// entry points as a client fetches them. Ends what it made. Failures are gtest failures.
class GlClient {
  public:
    GlClient();
    ~GlClient();
    GlClient(const GlClient&) = delete;
    GlClient& operator=(const GlClient&) = delete;

    EGLDisplay display() const { return mDisplay; }

    EGLImageKHR import(const sp<GraphicBuffer>& buffer) const;
    EGLImageKHR import(EGLClientBuffer buffer) const;

    /// Fills the image with `colour`, on the GPU.
    void fill(EGLImageKHR image, const Colour& colour) const;
    /// The same with a shader that takes `rounds` of arithmetic per pixel of a target of this size.
    void fillSlowly(EGLImageKHR image, const Colour& colour, int rounds, GLsizei size) const;
    /// What an external sampler reads at the middle of the texel (x, y) of an image of this size.
    Colour sample(EGLImageKHR image, int x, int y, GLsizei width, GLsizei height) const;

    /// A fence of what was drawn so far, by way of a sync that is destroyed at once.
    sp<Fence> fence() const;

    const PFNEGLCREATEIMAGEKHRPROC createImage;
    const PFNEGLDESTROYIMAGEKHRPROC destroyImage;
    const PFNEGLCREATESYNCKHRPROC createSync;
    const PFNEGLDESTROYSYNCKHRPROC destroySync;
    const PFNEGLWAITSYNCKHRPROC waitSync;
    const PFNEGLDUPNATIVEFENCEFDANDROIDPROC dupFence;
    const PFNGLEGLIMAGETARGETTEXTURE2DOESPROC imageTargetTexture;

  private:
    EGLDisplay mDisplay = EGL_NO_DISPLAY;
    EGLContext mContext = EGL_NO_CONTEXT;
    GLuint mFramebuffer = 0;
};

/// Success if GL has no error pending. Takes all there are.
::testing::AssertionResult glIsClean();

}  // namespace android

#endif  // UPSCALER_TESTS_HOST_GLCLIENT_H
