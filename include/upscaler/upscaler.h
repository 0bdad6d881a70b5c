// SPDX-License-Identifier: Apache-2.0
/// @file
/// GPU rescaling and sharpening of Android graphic buffers. This header is the whole interface of
/// libupscaler.
///
/// On Linux the same header works with the graphics types that libupscaler_host provides.
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

/// Marks what libupscaler exports. Everything else in the library is hidden.
#define UPSCALER_API __attribute__((visibility("default")))

namespace android {

/// The mask of the library's log. Debug lines (priority 3) are only written while bits 0x20 and
/// 0x01 are both set; error lines (priority 6) are always written. All lines have the tag
/// "Upscaler".
///
/// The mask starts at 0. Each construction of an `Upscaler` overwrites it from the system property
/// "debug.vardi.display.ups.enable". It is a plain variable, which is read again for each line,
/// without synchronisation.
UPSCALER_API extern uint32_t resizeBufferLogLevel;

/// Returns the name that the log prints for a GL error code.
/// @param error a value that `glGetError` returned.
/// @return a constant, never null, not to be freed. A code without a name gives "unknown error",
/// and
///     so does GL_INVALID_FRAMEBUFFER_OPERATION, on purpose. May be called on any thread.
UPSCALER_API const char* opengl_errno_name(unsigned int error);

/// Reads one pending GL error of the current context. If there is one, it is logged as "glGetError
/// failed PATH: LINE: CALL failed: NAME". Further errors stay for the next check.
/// @param path source path of the call, not null. @param line its line. @param call the text of the
///     call, not null, of any length. The strings are only read during this call.
/// Call it on the thread whose context is meant. It never fails.
UPSCALER_API void opengl_check_error(const char* path, int line, const char* call);

/// A linked GLSL program and the setters of its uniforms.
///
/// Nothing is reported to the caller. If a source does not compile or link, error lines with the
/// driver's info log are written, and the object still holds the name that `glCreateProgram` gave:
/// 0 without a current context. Deleting a `GfxShader` does not delete the GL program, which lives
/// as long as its context. Call every member on the thread on which the program's context is
/// current. There are no locks.
class GfxShader {
  public:
    /// Compiles and links a program. Both sources are whole GLSL ES texts with their "#version"
    /// line, and are only read during this call. It can throw std::bad_alloc and, if a driver
    /// reports a negative log length, std::length_error.
    UPSCALER_API GfxShader(const std::string& vertexSource, const std::string& fragmentSource);

    /// Does the constructor's work: makes the program and keeps its name. A second call makes a
    /// second program and forgets the name of the first. It can throw what the constructor throws.
    UPSCALER_API void InitShader(const std::string& vertexSource,
                                 const std::string& fragmentSource);

    /// Returns the GL program name, which the context owns; 0 if no program could be made.
    UPSCALER_API unsigned int getID() const;

    /// Makes the program current (`glUseProgram`). A GL error is logged.
    UPSCALER_API void use() const;

    /// Sets an int or sampler uniform. For all four setters: call `use` first, because the value
    /// goes to the program in use. GL ignores a name that the program does not have (location -1,
    /// no error). A GL error is logged. `name` is only read during this call.
    UPSCALER_API void setInt(const std::string& name, int value) const;
    /// Sets a float uniform; see `setInt`.
    UPSCALER_API void setFloat(const std::string& name, float value) const;
    /// Sets a vec4 uniform; see `setInt`.
    UPSCALER_API void setVec4(const std::string& name, float x, float y, float z, float w) const;
    /// Sets a uvec4 uniform; see `setInt`.
    UPSCALER_API void setUvec4(const std::string& name, unsigned int x, unsigned int y,
                               unsigned int z, unsigned int w) const;

    /// Logs the result of a compilation or of a link: an error line with the driver's info log on
    /// failure, a debug line on success.
    /// @param shader a shader's name or, with type "PROGRAM", a program's.
    /// @param type "PROGRAM" asks for the link status; any other text stands for a kind of shader.
    /// It can throw what the constructor throws.
    UPSCALER_API void checkCompileErrors(unsigned int shader, std::string type);

  private:
    unsigned int ID;
};

/// Rescales and sharpens graphic buffers on the GPU with one of its operations.
///
/// The object owns a private EGL display, an OpenGL ES 3 context without a surface, its compiled
/// programs, and a cache of every buffer it has seen. An integrator has to know:
///
/// - **Nothing is reported to the caller.** No operation returns a status or throws. Failures go to
///   the log (tag "Upscaler"), and work goes on after a failed step, so a bad call can leave the
///   destination unwritten. Only the fence tells the caller something: an invalid one means that
///   none could be made.
/// - **One thread.** The constructor makes the context current on its own thread, once. Every later
///   call on the object, teardown included, has to come from that thread, and nothing else may make
///   another context current on it meanwhile. There are no locks. Fences may go to any thread.
/// - **Buffers come from a fixed pool.** The first use of a buffer imports it as an EGL image, and
///   the image keeps the buffer alive. The cache never forgets: each new buffer costs an image and
///   a texture until `clearOpenGLResources`.
/// - **A buffer has one role.** Use a given buffer always as source or always as destination. The
///   cache does not tell the roles apart, and a texture of one kind cannot be bound as the other.
/// - **Import all buffers first.** `casResize` deletes the texture name that the last `fsrResize`
///   or `neaResize` left behind. GL may have given that name to a buffer that was imported since,
///   and that buffer then loses its texture. Buffers that were used before the first `fsrResize` or
///   `neaResize` are safe, so run a cheap operation that is neither of them (for example
///   `casSharpen`) on each pair at the start.
/// - **Teardown** is `clearOpenGLResources`, then `destroyEGL`, both on the constructing thread,
///   and then deletion. The destructor makes no GL or EGL call: without the first two calls the
///   images, the textures, the context and the display connection leak.
/// - **A cleared object cannot be set up again**: it keeps the deleted names, and `initOpenGL`
///   only makes what has no name. Construct a new object.
///
/// All operations have the same parameters:
/// - `src`, `dst`: the buffers, of any size (in pixels) and of any format that the driver can
///   import. Colours are sampled as they are stored, without a transfer function. Row 0 stays row
///   0. Every pixel of `dst` is written, with alpha 1; the alpha of `src` is dropped. If a pointer
///   is empty, an error line is written and nothing else happens: `*fence` stays as it was. The
///   library does not own the buffers beyond the images that the cache holds.
/// - `sharpness`: on the operation's own scale.
/// - `fence`: not null. `*fence` is replaced by a new fence that signals when the GPU has finished
///   writing `dst`, or by an invalid `Fence` if none could be made. The caller owns it.
///
/// An operation returns at once and never waits for the GPU. Wait for `*fence` before you read
/// `dst` or write `src`.
class Upscaler {
  public:
    /// Reads the log property, opens the display and the context, makes the context current on the
    /// calling thread and builds the programs. Failures are logged, and construction goes on.
    /// @throws std::invalid_argument if the property "debug.vardi.display.ups.enable" holds no
    ///     base-16 number, std::out_of_range if the number is too large; std::bad_alloc.
    UPSCALER_API Upscaler();

    /// Only frees memory; the class comment describes the teardown that has to come first. May run
    /// on any thread, once no other call is running.
    UPSCALER_API ~Upscaler();

    Upscaler(const Upscaler&) = delete;
    Upscaler& operator=(const Upscaler&) = delete;

    /// Does nothing, whatever the arguments. It is kept because clients link to it.
    UPSCALER_API void resizeBuffer(sp<GraphicBuffer>& src, sp<GraphicBuffer>& dst);

    /// Opens the default display, makes a context current on the calling thread and fetches the
    /// extension entry points. The constructor has already called it.
    /// @return false if a step failed. The step is logged, and what was made before it stays.
    UPSCALER_API bool initEGL();

    /// Releases the context, the display and the calling thread's EGL state. It may be called when
    /// nothing was made, and twice. Call it on the constructing thread, after
    /// `clearOpenGLResources`.
    UPSCALER_API void destroyEGL();

    /// Builds the programs, framebuffers and quad that do not exist yet, then sets the quad up
    /// again. The constructor has already called it. The context has to be current. Failures are
    /// logged.
    UPSCALER_API void initOpenGL();

    /// Deletes the cached textures, the EGL images (which releases every buffer), the framebuffers
    /// and the quad. Call it on the constructing thread, with the context current. GL errors are
    /// logged. Afterwards the object cannot be used for operations.
    UPSCALER_API void clearOpenGLResources();

    /// Upscales with AMD FidelityFX Super Resolution 1.0: edge-adaptive upsampling (EASU) to the
    /// size of `dst`, then robust contrast-adaptive sharpening (RCAS).
    /// @param sharpness in stops: 0 is the strongest, and each +1 halves it. It is not clamped: a
    ///     negative value sharpens beyond the published maximum.
    UPSCALER_API void fsrResize(sp<GraphicBuffer>& src, sp<GraphicBuffer>& dst, float sharpness,
                                sp<Fence>* fence);

    /// Takes the nearest source pixel for each pixel of `dst`, then sharpens with the RCAS of AMD
    /// FidelityFX Super Resolution 1.0.
    /// @param sharpness as for `fsrResize`.
    UPSCALER_API void neaResize(sp<GraphicBuffer>& src, sp<GraphicBuffer>& dst, float sharpness,
                                sp<Fence>* fence);

    /// Sharpens with AMD FidelityFX Contrast Adaptive Sharpening, without scaling. If the sizes
    /// differ, the linear filter of the source sampler first brings `src` to the size of `dst`.
    /// @param sharpness 1 is the weakest, 0 the strongest; it is clamped to 0..1.
    UPSCALER_API void casSharpen(sp<GraphicBuffer>& src, sp<GraphicBuffer>& dst, float sharpness,
                                 sp<Fence>* fence);

    /// Scales and sharpens in one 12-tap pass of AMD FidelityFX Contrast Adaptive Sharpening.
    /// @param sharpness 1 is the weakest, 0 the strongest; it is clamped to 0..1.
    UPSCALER_API void casResize(sp<GraphicBuffer>& src, sp<GraphicBuffer>& dst, float sharpness,
                                sp<Fence>* fence);

    /// As `casResize`, but on the value channel of an HSV copy only; hue and saturation are taken
    /// from the nearest source pixel.
    /// @param sharpness 1 is the weakest, 0 the strongest; it is clamped to 0..1.
    UPSCALER_API void casvUpscale(sp<GraphicBuffer>& src, sp<GraphicBuffer>& dst, float sharpness,
                                  sp<Fence>* fence);

    /// As `casResize`, with 8 taps, medium-precision arithmetic and a stronger range of sharpening.
    /// @param sharpness 1 is the weakest, 0 the strongest; it is clamped to 0..1.
    UPSCALER_API void casTUpscale(sp<GraphicBuffer>& src, sp<GraphicBuffer>& dst, float sharpness,
                                  sp<Fence>* fence);

  private:
    friend class UpscalerPeer;  // gives tests access to the members

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

    // The texture of each native buffer, and the images of the textures. Both grow until they are
    // cleared.
    std::unordered_map<uint64_t, uint32_t> mTextureMap;
    std::list<void*> mEglImageList;
    std::unordered_map<uint64_t, std::pair<uint32_t, void*>> mTextureImageMap;  // for layout

    // Each has four elements for the life of the object.
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
