// SPDX-License-Identifier: Apache-2.0
// The operations as bare GL and EGL: the calls that the library makes, in its order, with its
// shaders and values, and nothing else: no error checks, no log, no table, no names to look up.
// BareGlGLTest holds the two to be the same.
#ifndef BENCH_BARE_GL_H
#define BENCH_BARE_GL_H

#include <cstdint>
#include <map>

#include "bench/operations.h"

namespace bench {

/// What the frames share. Works in the context that is current; deletes nothing, the context's end
/// does.
class BareGl {
  public:
    BareGl();

    /// Draws one frame of an operation, and flushes it.
    /// @param operation of kOperations.
    /// @return a native fence, which the caller owns.
    int draw(const Operation& operation, const sp<GraphicBuffer>& src, const sp<GraphicBuffer>& dst,
             float sharpness);

  private:
    struct Call;
    struct Intermediate {
        GLuint frameBuffer = 0;
        GLuint texture = 0;
    };

    GLuint textureOf(const sp<GraphicBuffer>& buffer, GLenum target);
    void drawFsr(const Call& call);
    void drawNea(const Call& call);
    void drawCas(const Call& call, GLuint copyProgram, GLuint program, float numerator,
                 float strongest, float weakest, bool scales);
    void copy(const Call& call, GLuint program, uint32_t width, uint32_t height, GLint filter,
              bool clears);
    void sharpen(const Call& call, bool clears);
    void makeTarget(Intermediate& target, uint32_t width, uint32_t height, GLint filter);
    void drawQuad(GLuint frameBuffer, GLuint target, uint32_t width, uint32_t height, bool clears,
                  GLenum inputTarget, GLuint input);
    int fence(bool flushesFirst);

    EGLDisplay mDisplay;
    PFNGLEGLIMAGETARGETTEXTURE2DOESPROC mImageTarget;
    PFNEGLCREATEIMAGEKHRPROC mCreateImage;
    PFNEGLCREATESYNCKHRPROC mCreateSync;
    PFNEGLDESTROYSYNCKHRPROC mDestroySync;
    GLuint mCopy, mCopy2d, mRgb2hsv, mEasu, mRcas, mCasUpscale, mCasTUpscale, mCasVUpscale,
            mCasSharpen;
    GLuint mVao = 0;
    GLuint mDstFrameBuffer = 0;
    Intermediate mCopyTarget;
    Intermediate mEasuTarget;
    std::map<const GraphicBuffer*, GLuint> mTextures;
};

}  // namespace bench

#endif  // BENCH_BARE_GL_H
