// SPDX-License-Identifier: Apache-2.0
// One operation, fsrResize, as bare GL and EGL: the calls that the library makes, in its order,
// with its shaders and values, and nothing else: no error checks, no log, no table, no names to
// look up. BareGlGLTest holds the two to be the same.
#ifndef BENCH_BARE_GL_H
#define BENCH_BARE_GL_H

#include <cstdint>
#include <map>

#include "bench/operations.h"

namespace bench {

/// What the frames share. It works in the current context and deletes nothing: that happens when
/// the context ends.
class BareGl {
  public:
    BareGl();

    /// Draws and flushes one frame of fsrResize.
    /// @return a native fence, which the caller owns.
    int fsrResize(const sp<GraphicBuffer>& src, const sp<GraphicBuffer>& dst, float sharpness);

  private:
    struct Intermediate {
        GLuint frameBuffer = 0;
        GLuint texture = 0;
    };

    GLuint textureOf(const sp<GraphicBuffer>& buffer, GLenum target);
    void makeTarget(Intermediate& target, GLsizei width, GLsizei height);
    void drawQuad(GLuint frameBuffer, GLuint target, GLsizei width, GLsizei height,
                  GLenum inputTarget, GLuint input);
    int fence();

    EGLDisplay mDisplay;
    PFNGLEGLIMAGETARGETTEXTURE2DOESPROC mImageTarget;
    PFNEGLCREATEIMAGEKHRPROC mCreateImage;
    PFNEGLCREATESYNCKHRPROC mCreateSync;
    PFNEGLDESTROYSYNCKHRPROC mDestroySync;
    GLuint mCopy, mEasu, mRcas;
    GLuint mVao = 0;
    GLuint mDstFrameBuffer = 0;
    Intermediate mCopyTarget;
    Intermediate mEasuTarget;
    std::map<const GraphicBuffer*, GLuint> mTextures;
};

}  // namespace bench

#endif  // BENCH_BARE_GL_H
