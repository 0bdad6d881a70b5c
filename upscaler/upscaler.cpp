// SPDX-License-Identifier: Apache-2.0
#include "upscaler/upscaler.h"

#include <cutils/properties.h>
#include <utils/Trace.h>

#include <optional>
#include <string>

#include "upscaler/buffer_key.h"
#include "upscaler/constants.h"
#include "upscaler/gfx/gl_check.h"
#include "upscaler/gfx/log.h"
#include "upscaler/operations.h"
#include "upscaler/shaders/shaders.h"

namespace android {
namespace {

// The path that the log prints for this file. The file has moved since, but log readers match this
// path.
constexpr char kSourcePath[] = "multimedia/display/upsservice/upscaler/upscaler";

constexpr char kLogLevelProperty[] = "debug.vardi.display.ups.enable";

// Handles are logged by their low 32 bits.
uint32_t lowBits(const void* handle) {
    return static_cast<uint32_t>(reinterpret_cast<uintptr_t>(handle));
}

// The names of the uniforms, made once. They are never freed, because a client may call an
// operation from the destructor of a static object.
struct UniformNames {
    const std::string screenTexture = "screenTexture";
    const std::string sizeInfo = "SizeInfo";
    const std::string easu[4] = {"vec4_0", "vec4_1", "vec4_2", "vec4_3"};
    const std::string sharpness = "sharpness";
    const std::string const0 = "Const0";
    const std::string const1 = "Const1";
};
const UniformNames& kNames = *new UniformNames;

void sendVector(const GfxShader& shader, const std::string& name, const std::vector<float>& v) {
    shader.setVec4(name, v[0], v[1], v[2], v[3]);
}

void sendVector(const GfxShader& shader, const std::string& name, const std::vector<uint32_t>& v) {
    shader.setUvec4(name, v[0], v[1], v[2], v[3]);
}

// A GL constant with the word that the log has for it.
struct Enum {
    GLenum value;
    const char* text;
};

}  // namespace

// ---- The operations, as data ----

// The locals of one call that its passes need.
struct Upscaler::Call {
    float sharpness;
    uint32_t srcTexture, dstTexture;
    uint32_t srcWidth, srcHeight, dstWidth, dstHeight;
    float rcasScale;  // computed by the pass that sends it
};

// A member that holds a GL name, with the word that the log has for it.
struct Upscaler::Name {
    uint32_t Upscaler::*member;
    const char* text;
};

// The size of the source or of the destination buffer, with the words that the log has for it.
struct Upscaler::Extent {
    uint32_t Call::*width;
    uint32_t Call::*height;
    const char* widthText;
    const char* heightText;

    Size of(const Call& call) const {
        return {static_cast<float>(call.*width), static_cast<float>(call.*height)};
    }
};

// What a pass draws into, and through which framebuffer.
struct Upscaler::Target {
    const Name* texture;  // null: the destination buffer's
    Name frameBuffer;
};

// What a pass sends to its program besides the sampler.
struct Upscaler::Uniforms {
    // Computes the constants, before the program is in use.
    void (*compute)(Upscaler&, Call&, const Uniforms&);
    // Sends them, in the order in which traces show them.
    void (*send)(const Upscaler&, const GfxShader&, const Call&, const Uniforms&);
    const Extent* inputSize;   // of what the pass reads; the output is the destination
    const CasRange* casRange;  // null except for CAS
};

// One full-screen pass. What all passes have in common is in draw().
struct Upscaler::Pass {
    const std::unique_ptr<GfxShader> Upscaler::*program;
    const Name* input;  // null: the source buffer
    const Target* target;
    const Extent* size;        // of the target
    const Uniforms* uniforms;  // null: only the sampler
};

// One operation. What all operations have in common is in run().
struct Upscaler::Operation {
    enum class Flush { BEFORE_DUP, AFTER_FENCE };

    const char* name;
    const Pass* passes[3];   // in order; null where there is none
    bool clears;             // each target, before its draw
    bool tracesSteps;        // trace sections around the steps after the passes
    Enum magnification;      // filter of the intermediate textures
    Flush flush;             // before the sync's descriptor is duplicated, or after the new fence
    const Name* deletes[2];  // textures, at the end, in order; null where there is none
};

// These tables are wide on purpose.
// clang-format off
struct Upscaler::Table {
#define NAME(member) {&Upscaler::member, #member}
#define ENUM(value) {value, #value}
    static constexpr Extent kSrc = {&Call::srcWidth, &Call::srcHeight, "srcWidth", "srcHeight"};
    static constexpr Extent kDst = {&Call::dstWidth, &Call::dstHeight, "dstWidth", "dstHeight"};

    static constexpr Name kCopyTexture = NAME(mTextureColorCopy);
    static constexpr Name kEasuTexture = NAME(mTextureColorEasu);

    static constexpr Target kCopyTarget = {&kCopyTexture, NAME(mFrameBufferCopy)};
    static constexpr Target kEasuTarget = {&kEasuTexture, NAME(mFrameBufferEasu)};
    static constexpr Target kDstTarget  = {nullptr,       NAME(mFrameBufferRcas)};

    static constexpr CasRange kCasRange  = {1.0f, 5.0f, 8.0f};
    static constexpr CasRange kCastRange = {20.0f, 75.0f, 120.0f};  // a stronger range, on purpose

    static void computeEasu(Upscaler&, Call&, const Uniforms&);
    static void computeRcas(Upscaler&, Call&, const Uniforms&);
    static void computeCas(Upscaler&, Call&, const Uniforms&);
    static void sendSizes(const GfxShader&, const Call&, const Uniforms&);
    static void sendEasu(const Upscaler&, const GfxShader&, const Call&, const Uniforms&);
    static void sendRcas(const Upscaler&, const GfxShader&, const Call&, const Uniforms&);
    static void sendCas(const Upscaler&, const GfxShader&, const Call&, const Uniforms&);

    static constexpr Uniforms kEasuUniforms       = {computeEasu, sendEasu, &kSrc, nullptr};
    static constexpr Uniforms kRcasUniforms       = {computeRcas, sendRcas, &kSrc, nullptr};
    static constexpr Uniforms kCasSharpenUniforms = {computeCas,  sendCas,  &kDst, &kCasRange};
    static constexpr Uniforms kCasUniforms        = {computeCas,  sendCas,  &kSrc, &kCasRange};
    static constexpr Uniforms kCastUniforms       = {computeCas,  sendCas,  &kSrc, &kCastRange};

    //                                        program                               input          target        size   uniforms
    static constexpr Pass kCopyPass        = {&Upscaler::mCopyShaderP,              nullptr,       &kCopyTarget, &kSrc, nullptr};
    static constexpr Pass kCopyAtDstPass   = {&Upscaler::mCopyShaderP,              nullptr,       &kCopyTarget, &kDst, nullptr};
    static constexpr Pass kHsvCopyPass     = {&Upscaler::mRgb2hsvShaderP,           nullptr,       &kCopyTarget, &kSrc, nullptr};
    static constexpr Pass kNearestPass     = {&Upscaler::mUpscalerShaderP,          &kCopyTexture, &kEasuTarget, &kDst, nullptr};
    static constexpr Pass kEasuPass        = {&Upscaler::mEasuShaderP,              &kCopyTexture, &kEasuTarget, &kDst, &kEasuUniforms};
    static constexpr Pass kRcasPass        = {&Upscaler::mRcasShaderP,              &kEasuTexture, &kDstTarget,  &kDst, &kRcasUniforms};
    static constexpr Pass kCasSharpenPass  = {&Upscaler::mCasSharpenShaderP,        &kCopyTexture, &kDstTarget,  &kDst, &kCasSharpenUniforms};
    static constexpr Pass kCasUpscalePass  = {&Upscaler::mCasUpscaleShaderP,        &kCopyTexture, &kDstTarget,  &kDst, &kCasUniforms};
    static constexpr Pass kCasVUpscalePass = {&Upscaler::mCasVUpscaleFloatShaderP,  &kCopyTexture, &kDstTarget,  &kDst, &kCasUniforms};
    static constexpr Pass kCasTUpscalePass = {&Upscaler::mCasTUpscaleShaderP,       &kCopyTexture, &kDstTarget,  &kDst, &kCastUniforms};

    static constexpr auto kBeforeDup = Operation::Flush::BEFORE_DUP;
    static constexpr auto kAfterFence = Operation::Flush::AFTER_FENCE;

    // A row is named after its function. casResize deletes a texture that it never makes: the name
    // that the last fsrResize or neaResize left in the member. This is kept, and the class comment
    // tells clients about it.
    //  name           passes                                   clears traces magnification     flush        deletes
    static constexpr Operation fsrResize = {
        "fsrResize",   {&kCopyPass, &kEasuPass, &kRcasPass},    true,  true,  ENUM(GL_LINEAR),  kBeforeDup,  {&kEasuTexture, &kCopyTexture}};
    static constexpr Operation neaResize = {
        "neaResize",   {&kCopyPass, &kNearestPass, &kRcasPass}, false, false, ENUM(GL_NEAREST), kAfterFence, {&kEasuTexture, &kCopyTexture}};
    static constexpr Operation casSharpen = {
        "casSharpen",  {&kCopyAtDstPass, &kCasSharpenPass},     false, false, ENUM(GL_LINEAR),  kAfterFence, {&kCopyTexture}};
    static constexpr Operation casResize = {
        "casResize",   {&kCopyPass, &kCasUpscalePass},          false, false, ENUM(GL_NEAREST), kAfterFence, {&kEasuTexture, &kCopyTexture}};
    static constexpr Operation casvUpscale = {
        "casvUpscale", {&kHsvCopyPass, &kCasVUpscalePass},      false, false, ENUM(GL_NEAREST), kAfterFence, {&kCopyTexture}};
    static constexpr Operation casTUpscale = {
        "casTUpscale", {&kCopyPass, &kCasTUpscalePass},         false, false, ENUM(GL_NEAREST), kAfterFence, {&kCopyTexture}};
#undef NAME
#undef ENUM
};
// clang-format on

void Upscaler::Table::computeEasu(Upscaler& self, Call& call, const Uniforms& uniforms) {
    setEasuConstants(uniforms.inputSize->of(call), kDst.of(call), self.mEasuCon0, self.mEasuCon1,
                     self.mEasuCon2, self.mEasuCon3);
}

void Upscaler::Table::computeRcas(Upscaler&, Call& call, const Uniforms&) {
    call.rcasScale = rcasScale(call.sharpness);
}

void Upscaler::Table::computeCas(Upscaler& self, Call& call, const Uniforms& uniforms) {
    setCasConstants(call.sharpness, *uniforms.casRange, uniforms.inputSize->of(call), kDst.of(call),
                    self.mCasConst0, self.mCasConst1);
}

void Upscaler::Table::sendSizes(const GfxShader& shader, const Call& call,
                                const Uniforms& uniforms) {
    const Size in = uniforms.inputSize->of(call);
    const Size out = kDst.of(call);
    shader.setVec4(kNames.sizeInfo, in.width, in.height, out.width, out.height);
}

void Upscaler::Table::sendEasu(const Upscaler& self, const GfxShader& shader, const Call& call,
                               const Uniforms& uniforms) {
    sendVector(shader, kNames.easu[0], self.mEasuCon0);
    sendVector(shader, kNames.easu[1], self.mEasuCon1);
    sendVector(shader, kNames.easu[2], self.mEasuCon2);
    sendVector(shader, kNames.easu[3], self.mEasuCon3);
    sendSizes(shader, call, uniforms);
}

void Upscaler::Table::sendRcas(const Upscaler&, const GfxShader& shader, const Call& call,
                               const Uniforms& uniforms) {
    shader.setFloat(kNames.sharpness, call.rcasScale);
    sendSizes(shader, call, uniforms);
}

void Upscaler::Table::sendCas(const Upscaler& self, const GfxShader& shader, const Call& call,
                              const Uniforms& uniforms) {
    sendSizes(shader, call, uniforms);
    // The filter without scaling does not read Const0. It is sent anyway, and traces show it.
    sendVector(shader, kNames.const0, self.mCasConst0);
    sendVector(shader, kNames.const1, self.mCasConst1);
}

#define DEFINE_OPERATION(name)                                                           \
    void Upscaler::name(sp<GraphicBuffer>& src, sp<GraphicBuffer>& dst, float sharpness, \
                        sp<Fence>* fence) {                                              \
        run(Table::name, src, dst, sharpness, fence);                                    \
    }
UPSCALER_OPERATIONS(DEFINE_OPERATION)
#undef DEFINE_OPERATION

// ---- The frame and the pass that the operations share ----

// clang-format is off for functions that make GL calls: the log prints the text of each call as it
// is written here.
// clang-format off
void Upscaler::run(const Operation& operation, sp<GraphicBuffer>& src, sp<GraphicBuffer>& dst, float sharpness,
                   sp<Fence>* fence) {
    // The tag is never enabled: a section costs two mask queries and emits nothing. All sections of
    // an operation close when it returns.
    ScopedTrace trace(ATRACE_TAG, operation.name);
    std::optional<ScopedTrace> stepTraces[4];
    const auto traceStep = [&](size_t step, const char* name) {
        if (operation.tracesSteps) stepTraces[step].emplace(ATRACE_TAG, name);
    };
    UPS_LOGD(">> %s", operation.name);

    Call call = {};
    call.sharpness = sharpness;
    void* srcImage = nullptr;
    void* dstImage = nullptr;
    if (src == nullptr || dst == nullptr) {
        UPS_LOGE("%s: Invlid srcBuffer or dstBuffer", operation.name);
        return;
    }
    get_texture(src, call.srcTexture, srcImage, SRC_BUFFER);
    get_texture(dst, call.dstTexture, dstImage, DST_BUFFER);
    call.srcWidth = src->getWidth();
    call.srcHeight = src->getHeight();
    call.dstWidth = dst->getWidth();
    call.dstHeight = dst->getHeight();

    for (const Pass* pass : operation.passes) {
        if (pass != nullptr) draw(operation, *pass, call);
    }

    traceStep(0, "createSync");
    const EGLSyncKHR sync = mEglCreateSyncKHR != nullptr
            ? mEglCreateSyncKHR(mEGLDisplay, EGL_SYNC_NATIVE_FENCE_ANDROID, nullptr)
            : EGL_NO_SYNC_KHR;
    if (sync == EGL_NO_SYNC_KHR) UPS_LOGD("syncForReleaseLocked: error creating EGL fence: %#x", eglGetError());

    traceStep(1, "flush");
    if (operation.flush == Operation::Flush::BEFORE_DUP) GL_CHECK(glFlush());

    traceStep(2, "dupFence");
    const int fenceFd = eglDupNativeFenceFDANDROID(mEGLDisplay, sync);
    if (mEglDestroySyncKHR != nullptr) mEglDestroySyncKHR(mEGLDisplay, sync);
    if (fenceFd == EGL_NO_NATIVE_FENCE_FD_ANDROID)
        UPS_LOGD("syncForReleaseLocked: error dup'ing native fence fd: %#x", eglGetError());
    *fence = sp<Fence>(new Fence(fenceFd));

    // Five operations flush after the fence. The order is kept, because traces show it.
    if (operation.flush == Operation::Flush::AFTER_FENCE) GL_CHECK(glFlush());

    traceStep(3, "deleteTextures");
    for (const Name* texture : operation.deletes) {
        if (texture != nullptr)
            GL_CHECK_AS(glDeleteTextures(1, &(this->*texture->member)), "glDeleteTextures(1, &%s)", texture->text);
    }
    UPS_LOGD("<< %s", operation.name);
}

void Upscaler::draw(const Operation& operation, const Pass& pass, Call& call) {
    const Name* const intermediate = pass.target->texture;
    if (intermediate == nullptr) UPS_LOGD("%s: sharpness: %f", operation.name, static_cast<double>(call.sharpness));
    if (pass.uniforms != nullptr) pass.uniforms->compute(*this, call, *pass.uniforms);
    const GfxShader& shader = *(this->*pass.program);
    shader.use();
    shader.setInt(kNames.screenTexture, 0);
    if (pass.uniforms != nullptr) pass.uniforms->send(*this, shader, call, *pass.uniforms);

    const auto width = static_cast<GLsizei>(call.*pass.size->width);
    const auto height = static_cast<GLsizei>(call.*pass.size->height);
    const char* widthText = pass.size->widthText;
    const char* heightText = pass.size->heightText;
    const char* targetText = intermediate != nullptr ? intermediate->text : "dstTexture";

    if (intermediate != nullptr)
        GL_CHECK_AS(glGenTextures(1, &(this->*intermediate->member)), "glGenTextures(1, &%s)", targetText);
    const GLuint target = intermediate != nullptr ? this->*intermediate->member : call.dstTexture;
    GL_CHECK_AS(glBindTexture(GL_TEXTURE_2D, target), "glBindTexture(GL_TEXTURE_2D, %s)", targetText);
    if (intermediate != nullptr) {
        GL_CHECK_AS(glTexImage2D(GL_TEXTURE_2D, 0, GL_RGB, width, height, 0, GL_RGB, GL_UNSIGNED_BYTE, NULL),
                    "glTexImage2D(GL_TEXTURE_2D, 0, GL_RGB, %s, %s, 0, GL_RGB, GL_UNSIGNED_BYTE, NULL)", widthText, heightText);
        GL_CHECK(glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_MIN_FILTER, GL_NEAREST));
        GL_CHECK_AS(glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_MAG_FILTER, static_cast<GLint>(operation.magnification.value)),
                    "glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_MAG_FILTER, %s)", operation.magnification.text);
    }

    const GLuint frameBuffer = this->*pass.target->frameBuffer.member;
    const char* frameBufferText = pass.target->frameBuffer.text;
    GL_CHECK_AS(glBindFramebuffer(GL_FRAMEBUFFER, frameBuffer), "glBindFramebuffer(GL_FRAMEBUFFER, %s)", frameBufferText);
    GL_CHECK_AS(glFramebufferTexture2D(GL_FRAMEBUFFER, GL_COLOR_ATTACHMENT0, GL_TEXTURE_2D, target, 0),
                "glFramebufferTexture2D(GL_FRAMEBUFFER, GL_COLOR_ATTACHMENT0, GL_TEXTURE_2D, %s, 0)", targetText);
    GL_CHECK_AS(glViewport(0, 0, width, height), "glViewport(0, 0, %s, %s)", widthText, heightText);
    // The second bind is kept, because traces show it.
    GL_CHECK_AS(glBindFramebuffer(GL_FRAMEBUFFER, frameBuffer), "glBindFramebuffer(GL_FRAMEBUFFER, %s)", frameBufferText);
    GL_CHECK(glDisable(GL_DEPTH_TEST));
    if (operation.clears) {
        GL_CHECK(glClearColor(0.1f, 0.1f, 0.1f, 1.0f));
        GL_CHECK(glClear(GL_COLOR_BUFFER_BIT));
    }

    GL_CHECK(glBindVertexArray(mQuadVAO));
    if (pass.input != nullptr) {
        GL_CHECK_AS(glBindTexture(GL_TEXTURE_2D, this->*pass.input->member), "glBindTexture(GL_TEXTURE_2D, %s)", pass.input->text);
    } else {
        const GLuint srcTexture = call.srcTexture;
        GL_CHECK(glBindTexture(GL_TEXTURE_EXTERNAL_OES, srcTexture));
    }
    GL_CHECK(glDrawArrays(GL_TRIANGLES, 0, 6));
}

// ---- Buffer import ----

void Upscaler::get_texture(sp<GraphicBuffer>& buffer, uint32_t& texture, void*& image, BufferType type) {
    ScopedTrace trace(ATRACE_TAG, __func__);
    const GLenum texture_target = type == SRC_BUFFER ? GL_TEXTURE_EXTERNAL_OES : GL_TEXTURE_2D;
    UPS_LOGD("%s: texture_target: %s", __func__, type == SRC_BUFFER ? "GL_TEXTURE_EXTERNAL_OES" : "GL_TEXTURE_2D");

    // The role of the buffer is not part of the key: a buffer has one texture, whatever target it
    // is bound to.
    EGLClientBuffer clientBuffer = buffer->getNativeBuffer();
    const uint64_t key = bufferKey(reinterpret_cast<uintptr_t>(clientBuffer));
    UPS_LOGD("%s: clientBuffer = %p, client buffer to hash=%llu", __func__, clientBuffer,
             static_cast<unsigned long long>(key));

    const auto found = mTextureMap.find(key);
    if (found != mTextureMap.end()) {
        UPS_LOGD("%s: clientBuffer buffer is already existed", __func__);
        texture = found->second;
        GL_CHECK(glBindTexture(texture_target, texture));
    } else {
        UPS_LOGD("%s: clientBuffer buffer is not existed", __func__);
        image = mEglCreateImageKHR != nullptr
                ? mEglCreateImageKHR(mEGLDisplay, EGL_NO_CONTEXT, EGL_NATIVE_BUFFER_ANDROID, clientBuffer, mImageAttribs)
                : EGL_NO_IMAGE_KHR;
        UPS_LOGD("%s: eglCreateImageKHR error code=0x%x", __func__, eglGetError());
        if (image == EGL_NO_IMAGE_KHR) {
            UPS_LOGE("%s: EGL_NO_IMAGE_KHR", __func__);
            return;
        }
        GL_CHECK(glGenTextures(1, &texture));
        mTextureMap.emplace(key, texture);
        GL_CHECK(glBindTexture(texture_target, texture));
        // These have the names that the call text has for them.
        const auto glEGLImageTargetTexture2DOES = mEGLImageTargetTexture2DOES;
        void* const eglImage = image;
        if (glEGLImageTargetTexture2DOES != nullptr) {
            GL_CHECK(glEGLImageTargetTexture2DOES(texture_target, (GLeglImageOES)eglImage));
        } else {
            // The log shows what it would if the call had been made and had failed.
            reportGlError(GL_INVALID_OPERATION, kSourcePath, __LINE__, "%s",
                          "glEGLImageTargetTexture2DOES(texture_target, (GLeglImageOES)eglImage)");
        }
        mEglImageList.push_back(image);
    }
    UPS_LOGD("mTextureMap size=%u", static_cast<uint32_t>(mTextureMap.size()));
}

// clang-format on

// ---- The object ----

Upscaler::Upscaler()
    : mQuadVertices{
              // x, y, u, v
              -1.0f, 1.0f,  0.0f, 1.0f,
              -1.0f, -1.0f, 0.0f, 0.0f,
              1.0f,  -1.0f, 1.0f, 0.0f,
              -1.0f, 1.0f,  0.0f, 1.0f,
              1.0f,  -1.0f, 1.0f, 0.0f,
              1.0f,  1.0f,  1.0f, 1.0f},
      mEasuCon0(4), mEasuCon1(4), mEasuCon2(4), mEasuCon3(4), mSpareCon(4), mCasConst0(4), mCasConst1(4) {
    char level[PROPERTY_VALUE_MAX];
    property_get(kLogLevelProperty, level, "0");
    // std::stoul throws if the value is not a base-16 number; the exception is meant to reach the
    // client.
    setLogLevel(static_cast<uint32_t>(std::stoul(level, nullptr, 16)));

    UPS_LOGD(">> %s", __func__);
    initEGL();
    initOpenGL();
    UPS_LOGD("<< %s", __func__);
}

Upscaler::~Upscaler() {
    UPS_LOGD(">> %s", __func__);
    UPS_LOGD("<< %s", __func__);
}

void Upscaler::resizeBuffer(sp<GraphicBuffer>&, sp<GraphicBuffer>&) {}

// The entry points: member and name of each.
#define EGL_ENTRY_POINTS(X)                                        \
    X(mEGLImageTargetTexture2DOES, "glEGLImageTargetTexture2DOES") \
    X(mEglCreateImageKHR, "eglCreateImageKHR")                     \
    X(mEglDestroyImageKHR, "eglDestroyImageKHR")                   \
    X(mEglCreateSyncKHR, "eglCreateSyncKHR")                       \
    X(mEglDestroySyncKHR, "eglDestroySyncKHR")                     \
    X(mEglWaitSyncKHR, "eglWaitSyncKHR")

bool Upscaler::initEGL() {
    constexpr EGLint kConfigAttribs[] = {EGL_RENDERABLE_TYPE, EGL_OPENGL_ES3_BIT_KHR, EGL_NONE};
    constexpr EGLint kContextAttribs[] = {EGL_CONTEXT_CLIENT_VERSION, 3, EGL_NONE};

    // eglGetError is also logged after steps that worked: the lines trace the EGL error state.
    UPS_LOGD(">> %s", __func__);
    mEGLDisplay = eglGetDisplay(EGL_DEFAULT_DISPLAY);
    UPS_LOGD("%s: eglGetDisplay error code=0x%x", __func__, eglGetError());
    if (mEGLDisplay == EGL_NO_DISPLAY) {
        UPS_LOGE("%s: Failed to get EGL display", __func__);
        return false;
    }

    EGLint major = 0;
    EGLint minor = 0;
    if (!eglInitialize(mEGLDisplay, &major, &minor)) {
        UPS_LOGE("%s: Failed to initialize EGL, error code=0x%x", __func__, eglGetError());
        return false;
    }
    UPS_LOGD("%s: eglInitialize error code=0x%x", __func__, eglGetError());

    // On a platform without surfaces there may be no config. The context is then made without one.
    EGLConfig config = nullptr;
    EGLint configCount = 0;
    if (!eglChooseConfig(mEGLDisplay, kConfigAttribs, &config, 1, &configCount)) {
        UPS_LOGE("%s: Failed to choose EGLConfig, error code=0x%x", __func__, eglGetError());
        return false;
    }
    UPS_LOGD("%s: eglChooseConfig error code=0x%x", __func__, eglGetError());

    mEGLContext = eglCreateContext(mEGLDisplay, config, EGL_NO_CONTEXT, kContextAttribs);
    if (mEGLContext == EGL_NO_CONTEXT) {
        UPS_LOGE("%s: Failed to create EGL context, error code=0x%x", __func__, eglGetError());
        return false;
    }
    UPS_LOGD("%s: create EGL context:0x%x, error code=0x%x", __func__, lowBits(mEGLContext),
             eglGetError());

    if (!eglMakeCurrent(mEGLDisplay, EGL_NO_SURFACE, EGL_NO_SURFACE, mEGLContext)) {
        UPS_LOGE("%s: Failed to make EGL context and surface current, error code=0x%x", __func__,
                 eglGetError());
        return false;
    }
    UPS_LOGD("%s: eglMakeCurrent in create:0x%x, error code=0x%x", __func__, lowBits(mEGLContext),
             eglGetError());

#define FETCH(member, name) member = reinterpret_cast<decltype(member)>(eglGetProcAddress(name));
    EGL_ENTRY_POINTS(FETCH)
#undef FETCH

    UPS_LOGD("<< %s", __func__);
    return true;
}

void Upscaler::destroyEGL() {
    UPS_LOGD(">> %s", __func__);
    if (mEGLContext != EGL_NO_CONTEXT) {
        eglMakeCurrent(mEGLDisplay, EGL_NO_SURFACE, EGL_NO_SURFACE, EGL_NO_CONTEXT);
        UPS_LOGD("%s: eglMakeCurrent in destroy error code=0x%x", __func__, eglGetError());
        UPS_LOGD("%s: Destroy EGL Context :0x%x", __func__, lowBits(mEGLContext));
        eglDestroyContext(mEGLDisplay, mEGLContext);
        UPS_LOGD("%s: eglDestroyContext error code=0x%x", __func__, eglGetError());
    }
    if (mEGLDisplay != EGL_NO_DISPLAY) {
        eglTerminate(mEGLDisplay);
        UPS_LOGD("%s: eglTerminate error code=0x%x", __func__, eglGetError());
    }
    mEGLDisplay = EGL_NO_DISPLAY;
    mEGLContext = EGL_NO_CONTEXT;
    eglReleaseThread();
    UPS_LOGD("%s: eglReleaseThread error code=0x%x", __func__, eglGetError());
    UPS_LOGD("<< %s", __func__);
}

// clang-format off
void Upscaler::initOpenGL() {
    UPS_LOGD(">> %s", __func__);
    if (!mCopyShaderP) {
        UPS_LOGD("%s: start creating copy shader program", __func__);
        mCopyShaderP = std::make_unique<GfxShader>(kFullScreenVertex, kCopyExternalFragment);
        // This program is made together with the copy program; its own slot is not tested.
        mUpscalerShaderP = std::make_unique<GfxShader>(kFullScreenVertex, kCopy2dFragment);
        UPS_LOGD("%s: copy shader program ID in mGfxShaderP: %d", __func__, mCopyShaderP->getID());
        UPS_LOGD("%s: upscaler shader program ID in mGfxShaderP: %d", __func__, mUpscalerShaderP->getID());
    }
    if (!mRgb2hsvShaderP) {
        UPS_LOGD("%s: start creating mRgb2hsvShaderP shader program", __func__);
        UPS_LOGD("start create mRgb2hsvShaderP");
        mRgb2hsvShaderP = std::make_unique<GfxShader>(kFullScreenVertex, kRgb2hsvFragment);
    }
    if (!mEasuShaderP) {
        UPS_LOGD("%s: start creating easu shader program", __func__);
        mEasuShaderP = std::make_unique<GfxShader>(kFullScreenVertex, kEasuFragment);
        UPS_LOGD("%s: easu shader program ID in mGfxShaderP: %d", __func__, mEasuShaderP->getID());
    }
    if (!mRcasShaderP) {
        UPS_LOGD("%s: start creating rcas shader program", __func__);
        mRcasShaderP = std::make_unique<GfxShader>(kFullScreenVertex, kRcasFragment);
        // This logs the EASU program's line and ID a second time, not this program's: log readers
        // match it.
        UPS_LOGD("%s: easu shader program ID in mGfxShaderP: %d", __func__, mEasuShaderP->getID());
    }
#define MAKE_CAS_PROGRAM(slot, fragment)                                                    \
    if (!slot) {                                                                            \
        UPS_LOGD("start create " #slot);                                                    \
        slot = std::make_unique<GfxShader>(kFullScreenVertex, fragment);                    \
        UPS_LOGD("%s: shader program ID in " #slot ": %d", __func__, slot->getID());        \
    }
    MAKE_CAS_PROGRAM(mCasUpscaleShaderP, casUpscaleFragment())
    MAKE_CAS_PROGRAM(mCasTUpscaleShaderP, casTUpscaleFragment())
    MAKE_CAS_PROGRAM(mCasVUpscaleFloatShaderP, casVUpscaleFragment())
    MAKE_CAS_PROGRAM(mCasSharpenShaderP, casSharpenFragment())
#undef MAKE_CAS_PROGRAM

    if (mFrameBufferCopy == 0) GL_CHECK(glGenFramebuffers(1, &mFrameBufferCopy));
    if (mFrameBufferEasu == 0) GL_CHECK(glGenFramebuffers(1, &mFrameBufferEasu));
    if (mFrameBufferRcas == 0) GL_CHECK(glGenFramebuffers(1, &mFrameBufferRcas));
    if (mQuadVAO == 0) GL_CHECK(glGenVertexArrays(1, &mQuadVAO));
    if (mQuadVBO == 0) GL_CHECK(glGenBuffers(1, &mQuadVBO));

    // No shader reads the quad's attributes. They are set up and bound anyway.
    GL_CHECK(glBindVertexArray(mQuadVAO));
    GL_CHECK(glBindBuffer(GL_ARRAY_BUFFER, mQuadVBO));
    // A cast would change the text that the log prints.
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wsign-conversion"
    GL_CHECK(glBufferData(GL_ARRAY_BUFFER, sizeof(float)*mQuadVertices.size(), mQuadVertices.data(), GL_STATIC_DRAW));
#pragma GCC diagnostic pop
    GL_CHECK(glEnableVertexAttribArray(0));
    GL_CHECK(glVertexAttribPointer(0, 2, GL_FLOAT, GL_FALSE, 4 * sizeof(float), (void*)0));
    GL_CHECK(glEnableVertexAttribArray(1));
    GL_CHECK(glVertexAttribPointer(1, 2, GL_FLOAT, GL_FALSE, 4 * sizeof(float), (void*)(2 * sizeof(float))));
    UPS_LOGD("%s: Finished glVertexAttribPointer", __func__);
    UPS_LOGD("<< %s", __func__);
}

void Upscaler::clearOpenGLResources() {
    UPS_LOGD(">> %s", __func__);
    // This is the one GL call without a check.
    for (const auto& entry : mTextureMap) glDeleteTextures(1, &entry.second);
    mTextureMap.clear();
    for (void* image : mEglImageList) {
        if (mEglDestroyImageKHR != nullptr) mEglDestroyImageKHR(mEGLDisplay, image);
        UPS_LOGD("%s: EGL Context: 0x%x, eglDestroyImageKHR error code=0x%x", __func__, lowBits(mEGLContext), eglGetError());
    }
    mEglImageList.clear();

    // The names stay in the members: a cleared object cannot be set up again.
    if (mQuadVAO != 0) GL_CHECK(glDeleteVertexArrays(1, &mQuadVAO));
    if (mQuadVBO != 0) GL_CHECK(glDeleteBuffers(1, &mQuadVBO));
    if (mTextureColorEasu != 0) GL_CHECK(glDeleteTextures(1, &mTextureColorEasu));
    if (mFrameBufferEasu != 0) GL_CHECK(glDeleteFramebuffers(1, &mFrameBufferEasu));
    if (mFrameBufferRcas != 0) GL_CHECK(glDeleteFramebuffers(1, &mFrameBufferRcas));
    if (mTextureColorCopy != 0) GL_CHECK(glDeleteTextures(1, &mTextureColorCopy));
    if (mFrameBufferCopy != 0) GL_CHECK(glDeleteFramebuffers(1, &mFrameBufferCopy));
    UPS_LOGD("<< %s", __func__);
}

// clang-format on

}  // namespace android
