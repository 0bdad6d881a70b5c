// SPDX-License-Identifier: Apache-2.0
/// @file
/// GPU rescaling and sharpening of Android graphic buffers: the whole interface of libupscaler.
///
/// On Linux the same header is used with the graphics types that libupscaler_host provides.
#ifndef UPSCALER_UPSCALER_H
#define UPSCALER_UPSCALER_H

#include <EGL/egl.h>
#include <EGL/eglext.h>
#include <GLES3/gl32.h>
// gl2ext.h uses the types of the header above.
#include <GLES2/gl2ext.h>
#include <ui/Fence.h>
#include <ui/GraphicBuffer.h>
#include <utils/StrongPointer.h>

#include <cstdint>
#include <list>
#include <memory>
#include <mutex>
#include <string>
#include <unordered_map>
#include <utility>
#include <vector>

/// Marks what libupscaler exports; all else in the library is hidden.
#define UPSCALER_API __attribute__((visibility("default")))

namespace android {

/// Mask of the library's log. Debug lines (priority 3) are written only while bits 0x20 and 0x01
/// are both set; error lines (priority 6) are always written. All lines carry the tag "Upscaler".
///
/// Every `Upscaler` constructed overwrites it from the system property
/// "debug.vardi.display.ups.enable"; it is 0 before that. A plain variable, read anew at each line
/// and without synchronisation.
UPSCALER_API extern uint32_t resizeBufferLogLevel;

/// Names a GL error code, as the log prints it.
/// @param error a value that `glGetError` returned.
/// @return a constant, never null; "unknown error" for a code without a name, which deliberately
///     includes GL_INVALID_FRAMEBUFFER_OPERATION. Not to be freed. Any thread.
UPSCALER_API const char* opengl_errno_name(unsigned int error);

/// Reads one pending GL error of the current context and, if there is one, logs it as
/// "glGetError failed PATH: LINE: CALL failed: NAME". Further queued errors wait for the next
/// check.
/// @param path source path of the call, not null. @param line its line. @param call the text of the
///     call, not null. The strings are only read during this call.
/// Call it on the thread whose context is to be asked. Never fails, never changes the course.
UPSCALER_API void opengl_check_error(const char* path, int line, const char* call);

/// A linked GLSL program and the setters of its uniforms.
///
/// Nothing is reported to the caller: a source that does not compile or link is logged (error
/// lines, with the driver's info log) and the object still holds whatever name `glCreateProgram`
/// gave, 0 without a current context. Deleting a `GfxShader` does not delete the GL program; the
/// program goes with its context. Every member is to be called on the thread on which the
/// program's context is current; there are no locks.
class GfxShader {
  public:
    /// Compiles and links a program. Both sources are whole GLSL ES texts, "#version" line
    /// included, and are only read during this call. Throws nothing of its own; std::bad_alloc and,
    /// should a driver report a negative log length, std::length_error can pass through.
    UPSCALER_API GfxShader(const std::string& vertexSource, const std::string& fragmentSource);

    /// What the constructor does: makes the program and keeps its name. A second call makes a
    /// second program and forgets the first one's name. Errors as for the constructor.
    UPSCALER_API void InitShader(const std::string& vertexSource,
                                 const std::string& fragmentSource);

    /// The GL program name, owned by the context; 0 if none could be made.
    UPSCALER_API unsigned int getID() const;

    /// Makes the program current (`glUseProgram`). A GL error is logged.
    UPSCALER_API void use() const;

    /// Sets an int or sampler uniform. As with all four setters: call `use` first, since the value
    /// goes to the program in use; a name that the program does not have is ignored by GL (location
    /// -1, no error); a GL error is logged. `name` is only read during this call.
    UPSCALER_API void setInt(const std::string& name, int value) const;
    /// Sets a float uniform; see `setInt`.
    UPSCALER_API void setFloat(const std::string& name, float value) const;
    /// Sets a vec4 uniform; see `setInt`.
    UPSCALER_API void setVec4(const std::string& name, float x, float y, float z, float w) const;
    /// Sets a uvec4 uniform; see `setInt`.
    UPSCALER_API void setUvec4(const std::string& name, unsigned int x, unsigned int y,
                               unsigned int z, unsigned int w) const;

    /// Logs the outcome of a compilation or of a link: an error line with the driver's info log on
    /// failure, a debug line on success.
    /// @param shader a shader's name or, with type "PROGRAM", a program's.
    /// @param type "PROGRAM" asks for the link status; any other text is taken for a kind of
    /// shader. Throws as the constructor does.
    UPSCALER_API void checkCompileErrors(unsigned int shader, std::string type);

  private:
    unsigned int ID;
};

/// Rescales and sharpens graphic buffers on the GPU with one of six operations.
///
/// The object owns a private EGL display and OpenGL ES 3 context without a surface, nine compiled
/// programs, and a cache of every buffer it has seen. What an integrator has to know:
///
/// - **Nothing is reported to the caller.** No operation returns a status or throws. Failures go to
///   the log (tag "Upscaler"), and work goes on after a failed step, so a bad call can leave the
///   destination unwritten. Only the fence tells something: an invalid one means that none could be
///   made.
/// - **One thread.** The constructor makes the context current on its own thread, once. Every later
///   call on the object, teardown included, has to come from that thread, and nothing else may make
///   another context current on it meanwhile. There are no locks. Fences may go to any thread.
/// - **Buffers come from a fixed pool.** The first use of a buffer imports it as an EGL image, and
///   the image keeps the buffer alive. The cache never forgets: each new buffer costs an image and
///   a texture until `clearOpenGLResources`.
/// - **A buffer has one role.** Use a given buffer always as source or always as destination; the
///   cache does not tell the roles apart, and a texture of one kind cannot be bound as the other.
/// - **Import all buffers first.** `casResize` deletes the texture name that the last `fsrResize`
///   or `neaResize` left behind. GL may have given that name to a buffer imported since, and the
///   buffer then loses its texture. Buffers that were used before the first `fsrResize` or
///   `neaResize` are safe, so run one cheap operation that is neither (say `casSharpen`) over each
///   pair at start.
/// - **Teardown** is `clearOpenGLResources`, then `destroyEGL`, both on the constructing thread,
///   and then deletion. The destructor makes no GL or EGL call: without the first two, images,
///   textures, context and display connection leak.
/// - **A cleared object cannot be set up again**: it keeps the deleted names, and `initOpenGL`
///   makes only what has no name. Construct a new one.
///
/// The six operations share their parameters:
/// - `src`, `dst`: the buffers, of any size (in pixels) and of any format the driver can import;
///   the sampled colour is taken as it is stored, with no transfer function applied. Row 0 stays
///   row 0. Alpha is not carried over: every pixel of `dst` is written, with alpha 1. If either is
///   empty, an error line is written and nothing else happens: `*fence` stays as it was. Neither is
///   owned beyond the image that the cache holds.
/// - `sharpness`: in the operation's own scale.
/// - `fence`: not null. Replaced by a new fence that signals when the GPU has finished writing
///   `dst`, or by an invalid `Fence` if none could be made. The caller owns it.
///
/// Each returns at once and never waits for the GPU. Wait for `*fence` before reading `dst` or
/// writing `src`.
class Upscaler {
  public:
    /// Reads the log property, opens the display and context and builds the programs; makes the
    /// context current on the calling thread. Failures are logged and construction goes on.
    /// @throws std::invalid_argument if the property "debug.vardi.display.ups.enable" holds no
    ///     base-16 number, std::out_of_range if the number is too large; std::bad_alloc.
    UPSCALER_API Upscaler();

    /// Frees memory only; see the class comment for the teardown that has to come before. Any
    /// thread, once no other call is running.
    UPSCALER_API ~Upscaler();

    Upscaler(const Upscaler&) = delete;
    Upscaler& operator=(const Upscaler&) = delete;

    /// Does nothing, with any arguments; kept because clients link to it.
    UPSCALER_API void resizeBuffer(sp<GraphicBuffer>& src, sp<GraphicBuffer>& dst);

    /// Opens the default display, makes a context current on the calling thread and fetches the
    /// extension entry points. The constructor has called it.
    /// @return false if a step failed; the step is logged and what was made before it stays.
    UPSCALER_API bool initEGL();

    /// Releases the context and the display and the calling thread's EGL state. Safe when nothing
    /// was made, and to call twice. Constructing thread only, after `clearOpenGLResources`.
    UPSCALER_API void destroyEGL();

    /// Builds what is not there yet of programs, framebuffers and quad, then sets the quad up
    /// again. The constructor has called it. Needs the context current. Failures are logged.
    UPSCALER_API void initOpenGL();

    /// Deletes the cached textures, the EGL images (and with them the hold on every buffer), the
    /// framebuffers and the quad. Constructing thread only, context current. GL errors are logged.
    /// The object cannot be used for operations afterwards.
    UPSCALER_API void clearOpenGLResources();

    /// Upscales with AMD FidelityFX Super Resolution 1.0: edge-adaptive upsampling (EASU) to the
    /// size of `dst`, then robust contrast-adaptive sharpening (RCAS).
    /// @param sharpness in stops: 0 is strongest, each +1 halves it. Not clamped; a negative value
    ///     sharpens beyond the published maximum.
    UPSCALER_API void fsrResize(sp<GraphicBuffer>& src, sp<GraphicBuffer>& dst, float sharpness,
                                sp<Fence>* fence);

    /// Resamples by nearest texel to the size of `dst`, then sharpens with RCAS of AMD FidelityFX
    /// Super Resolution 1.0.
    /// @param sharpness as for `fsrResize`.
    UPSCALER_API void neaResize(sp<GraphicBuffer>& src, sp<GraphicBuffer>& dst, float sharpness,
                                sp<Fence>* fence);

    /// Sharpens with AMD FidelityFX Contrast Adaptive Sharpening, without scaling of its own: if
    /// the sizes differ, the source sampler's filter (linear) brings `src` to the size of `dst`
    /// first.
    /// @param sharpness 1 is weakest, 0 strongest; clamped to 0..1.
    UPSCALER_API void casSharpen(sp<GraphicBuffer>& src, sp<GraphicBuffer>& dst, float sharpness,
                                 sp<Fence>* fence);

    /// Scales and sharpens in one 12-tap pass of AMD FidelityFX Contrast Adaptive Sharpening.
    /// @param sharpness 1 is weakest, 0 strongest; clamped to 0..1.
    UPSCALER_API void casResize(sp<GraphicBuffer>& src, sp<GraphicBuffer>& dst, float sharpness,
                                sp<Fence>* fence);

    /// As `casResize`, but on the value channel of an HSV copy only; hue and saturation are taken
    /// from the nearest source pixel.
    /// @param sharpness 1 is weakest, 0 strongest; clamped to 0..1.
    UPSCALER_API void casvUpscale(sp<GraphicBuffer>& src, sp<GraphicBuffer>& dst, float sharpness,
                                  sp<Fence>* fence);

    /// As `casResize`, with 8 taps, medium-precision arithmetic and a stronger range of sharpening.
    /// @param sharpness 1 is weakest, 0 strongest; clamped to 0..1.
    UPSCALER_API void casTUpscale(sp<GraphicBuffer>& src, sp<GraphicBuffer>& dst, float sharpness,
                                  sp<Fence>* fence);

  private:
    friend class UpscalerPeer;  // The tests' view of the members.

    enum BufferType {
        SRC_BUFFER = 0,  // GL_TEXTURE_EXTERNAL_OES
        DST_BUFFER = 1,  // GL_TEXTURE_2D
    };
    // What the operations are made of; see upscaler.cpp.
    struct Call;
    struct Extent;
    struct Name;
    struct Operation;
    struct Pass;
    struct Table;
    struct Target;
    struct Uniforms;

    void get_texture(sp<GraphicBuffer>& buffer, uint32_t& texture, void*& image, BufferType type);
    void run(const Operation& operation, sp<GraphicBuffer>& src, sp<GraphicBuffer>& dst,
             float sharpness, sp<Fence>* fence);
    void draw(const Operation& operation, const Pass& pass, Call& call);

    // Nothing reads the members marked "for layout": they keep the others where clients have them.
    [[maybe_unused]] uint32_t mReserved = 0;  // for layout
    std::vector<float> mQuadVertices;
    uint32_t mQuadVAO = 0;
    uint32_t mQuadVBO = 0;

    std::unique_ptr<GfxShader> mCopyShaderP;
    std::unique_ptr<GfxShader> mUpscalerShaderP;
    std::unique_ptr<GfxShader> mRgb2hsvShaderP;
    std::unique_ptr<GfxShader> mEasuShaderP;
    std::unique_ptr<GfxShader> mRcasShaderP;
    std::unique_ptr<GfxShader> mCasUpscaleShaderP;
    std::unique_ptr<GfxShader> mCasSharpenShaderP;
    std::unique_ptr<GfxShader> mCasVUpscaleFloatShaderP;
    std::unique_ptr<GfxShader> mCasTUpscaleShaderP;

    uint32_t mFrameBufferCopy = 0;
    uint32_t mTextureColorCopy = 0;
    uint32_t mFrameBufferEasu = 0;
    uint32_t mTextureColorEasu = 0;
    uint32_t mFrameBufferRcas = 0;
    [[maybe_unused]] bool mReadyFlag = true;  // for layout

    PFNGLEGLIMAGETARGETTEXTURE2DOESPROC mEGLImageTargetTexture2DOES = nullptr;
    PFNEGLCREATEIMAGEKHRPROC mEglCreateImageKHR = nullptr;
    PFNEGLDESTROYIMAGEKHRPROC mEglDestroyImageKHR = nullptr;
    EGLDisplay mEGLDisplay = EGL_NO_DISPLAY;
    EGLContext mEGLContext = EGL_NO_CONTEXT;
    EGLint mImageAttribs[3] = {EGL_IMAGE_PRESERVED_KHR, EGL_TRUE, EGL_NONE};
    PFNEGLCREATESYNCKHRPROC mEglCreateSyncKHR = nullptr;
    PFNEGLDESTROYSYNCKHRPROC mEglDestroySyncKHR = nullptr;
    PFNEGLWAITSYNCKHRPROC mEglWaitSyncKHR = nullptr;    // for layout
    [[maybe_unused]] void* mReservedPointer = nullptr;  // for layout

    // Texture by native buffer, and the images behind them; both only grow until cleared.
    std::unordered_map<uint64_t, uint32_t> mTextureMap;
    std::list<void*> mEglImageList;
    std::unordered_map<uint64_t, std::pair<uint32_t, void*>> mTextureImageMap;  // for layout

    // Four elements each, for the life of the object.
    std::vector<float> mEasuCon0;
    std::vector<float> mEasuCon1;
    std::vector<float> mEasuCon2;
    std::vector<float> mEasuCon3;
    std::vector<uint32_t> mSpareCon;  // for layout
    std::vector<uint32_t> mCasConst0;
    std::vector<uint32_t> mCasConst1;

    std::mutex mMutex;              // for layout
    sp<GraphicBuffer> mHeldBuffer;  // for layout
};

}  // namespace android

#endif  // UPSCALER_UPSCALER_H
