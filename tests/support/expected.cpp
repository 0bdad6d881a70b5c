// SPDX-License-Identifier: Apache-2.0
#include "support/expected.h"

#include <algorithm>
#include <iterator>
#include <stdexcept>

namespace android::test {
namespace {

// ---- Programs and their uniforms ----

Script shader(const std::string& stage, const std::string& code, const std::string& title,
              const std::string& type) {
    return Script(R"(
${stage} = glCreateShader(GL_${type}_SHADER)
| InitShader: ${title} shader id: {${stage}}
glShaderSource(${stage}, 1, &${code}ShaderCode, NULL)
glCompileShader(${stage})
let shader = ${stage}
glGetShaderiv(shader, GL_COMPILE_STATUS, &success)
glGetShaderiv(shader, GL_INFO_LOG_LENGTH, &InfoLogLength)
| INFO:SHADER_COMPILATION_SUCCESS of type: ${type} \n
| InitShader: Finish compile ${stage} shader of GfxShader
)",
                  {{"stage", stage}, {"code", code}, {"title", title}, {"type", type}});
}

Script scalar(const std::string& setter, const std::string& call, const std::string& name,
              const std::string& value, const std::string& detail) {
    return Script(R"(
| ${setter}: Start ${setter} of GfxShader, shader program ID: {ID}
let name.c_str() = "${name}"
value_location = glGetUniformLocation(ID, name.c_str())
let value = ${value}
| ${setter}: name: ${name}, value: ${detail}
${call}(value_location, value)
| ${setter}: Finish ${setter} of GfxShader
)",
                  {{"setter", setter},
                   {"call", call},
                   {"name", name},
                   {"value", value},
                   {"detail", detail}});
}

// Log readers match only the words of setFloat's detail line.
Script setFloat(const std::string& name, const std::string& value) {
    return scalar("setFloat", "glUniform1f", name, value, "*");
}

using Vector = std::string[4];

Script vector(const std::string& setter, const std::string& call, const std::string& name,
              const Vector& v, const std::string& detail) {
    return Script(R"(
| >> ${setter}
| ${setter}: Start ${setter} of GfxShader, shader program ID: {ID}
| ${setter}: Start glGetUniformLocation
let name.c_str() = "${name}"
value_location = glGetUniformLocation(ID, name.c_str())
| ${setter}: End glGetUniformLocation
let x = ${x}
let y = ${y}
let z = ${z}
let w = ${w}
| ${setter}: name: ${name}, x: ${detail}
| ${setter}: Start ${call}
${call}(value_location, x, y, z, w)
| ${setter}: End ${call}
| ${setter}: Finish ${setter} of GfxShader
| << ${setter}
)",
                  {{"setter", setter},
                   {"call", call},
                   {"name", name},
                   {"x", v[0]},
                   {"y", v[1]},
                   {"z", v[2]},
                   {"w", v[3]},
                   {"detail", detail}});
}

Script setVec4(const std::string& name, const Vector& v) {
    return vector("setVec4", "glUniform4f", name, v,
                  "{x:f}, y: {y:f}, z: {z:f}, w: {w:f}, value_location: {value_location}");
}

// Log readers match only the words of setUvec4's detail line.
Script setUvec4(const std::string& name, const Vector& v) {
    return vector("setUvec4", "glUniform4ui", name, v, "*");
}

Script use(const std::string& program) {
    return Script(R"(
let ID = ${program}
| use: Start use program of GfxShader, program id: {ID}
glUseProgram(ID)
| use: Finish use program of GfxShader
)",
                  {{"program", program}}) +
           scalar("setInt", "glUniform1i", "screenTexture", "0",
                  "{value}, value_location: {value_location}");
}

// ---- The frame of an operation ----

Script import(const std::string& which, const std::string& target, size_t count, bool isHit) {
    const Words values = {{"which", which}, {"target", target}, {"count", std::to_string(count)}};
    Script script(R"(
let texture_target = ${target}
| get_texture: texture_target: ${target}
| get_texture: clientBuffer = {${which}Buffer:p}, client buffer to hash={${which}Key}
)",
                  values);
    if (isHit) {
        script += Script(R"(
| get_texture: clientBuffer buffer is already existed
let texture = ${which}Texture
glBindTexture(texture_target, texture)
)",
                         values);
    } else {
        script += Script(R"(
| get_texture: clientBuffer buffer is not existed
let clientBuffer = ${which}Buffer
eglImage = eglCreateImageKHR(mEGLDisplay, EGL_NO_CONTEXT, EGL_NATIVE_BUFFER_ANDROID, clientBuffer, {EGL_IMAGE_PRESERVED_KHR=1})
let ${which}Image = eglImage
| get_texture: eglCreateImageKHR error code=0x3000
glGenTextures(1, &texture)
let ${which}Texture = texture
glBindTexture(texture_target, texture)
let (GLeglImageOES)eglImage = eglImage
glEGLImageTargetTexture2DOES(texture_target, (GLeglImageOES)eglImage)
)",
                         values);
    }
    return script + Script("| mTextureMap size=${count}", values);
}

Script start(const std::string& operation, bool isHit) {
    return Script("| >> " + operation) +
           import("src", "GL_TEXTURE_EXTERNAL_OES", isHit ? 2 : 1, isHit) +
           import("dst", "GL_TEXTURE_2D", 2, isHit);
}

struct Pass {
    std::string target, frameBuffer, size, inputTarget, input;
    std::string filter;  // of a target that the pass makes; empty if it is the destination
    bool clears;
};

Script draw(const Pass& pass) {
    const Words values = {
            {"target", pass.target}, {"frameBuffer", pass.frameBuffer}, {"size", pass.size},
            {"input", pass.input},   {"inputTarget", pass.inputTarget}, {"filter", pass.filter}};
    Script script;
    if (!pass.filter.empty()) script += Script("glGenTextures(1, &${target})", values);
    script += Script("glBindTexture(GL_TEXTURE_2D, ${target})", values);
    if (!pass.filter.empty()) {
        script += Script(R"(
glTexImage2D(GL_TEXTURE_2D, 0, GL_RGB, ${size}Width, ${size}Height, 0, GL_RGB, GL_UNSIGNED_BYTE, NULL)
glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_MIN_FILTER, GL_NEAREST)
glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_MAG_FILTER, ${filter})
)",
                         values);
    }
    script += Script(R"(
glBindFramebuffer(GL_FRAMEBUFFER, ${frameBuffer})
glFramebufferTexture2D(GL_FRAMEBUFFER, GL_COLOR_ATTACHMENT0, GL_TEXTURE_2D, ${target}, 0)
glViewport(0, 0, ${size}Width, ${size}Height)
glBindFramebuffer(GL_FRAMEBUFFER, ${frameBuffer})
glDisable(GL_DEPTH_TEST)
)",
                     values);
    if (pass.clears) {
        script += Script(R"(
let 0.1f = 0.100000001
let 1.0f = 1
glClearColor(0.1f, 0.1f, 0.1f, 1.0f)
glClear(GL_COLOR_BUFFER_BIT)
)");
    }
    return script + Script(R"(
glBindVertexArray(mQuadVAO)
glBindTexture(${inputTarget}, ${input})
glDrawArrays(GL_TRIANGLES, 0, 6)
)",
                           values);
}

// The first pass: the source, through an external sampler.
Script copy(const std::string& program, const std::string& size, const std::string& filter,
            bool clears = false) {
    return use(program) + draw({"mTextureColorCopy", "mFrameBufferCopy", size,
                                "GL_TEXTURE_EXTERNAL_OES", "srcTexture", filter, clears});
}

// The pass between the copy and RCAS.
Script drawUpscaled(const std::string& filter, bool clears = false) {
    return draw({"mTextureColorEasu", "mFrameBufferEasu", "dst", "GL_TEXTURE_2D",
                 "mTextureColorCopy", filter, clears});
}

// The pass that draws the destination.
Script drawLast(const std::string& input, bool clears = false) {
    return draw({"dstTexture", "mFrameBufferRcas", "dst", "GL_TEXTURE_2D", input, "", clears});
}

enum class Flush { BEFORE_DUP, AFTER_FENCE };

Script end(const std::string& operation, Flush flush, bool deletesEasu) {
    const Script flushed("glFlush()"), none;
    return Script("sync = eglCreateSyncKHR(mEGLDisplay, EGL_SYNC_NATIVE_FENCE_ANDROID, NULL)") +
           (flush == Flush::BEFORE_DUP ? flushed : none) + Script(R"(
eglDupNativeFenceFDANDROID(mEGLDisplay, sync)
eglDestroySyncKHR(mEGLDisplay, sync)
)") + (flush == Flush::AFTER_FENCE ? flushed : none) +
           (deletesEasu ? Script("glDeleteTextures(1, &mTextureColorEasu)") : none) +
           Script("glDeleteTextures(1, &mTextureColorCopy)") + Script("| << " + operation);
}

// ---- The operations ----

const Vector kSizes = {"24", "16", "48", "64"};
// The first constant vector of CAS for these sizes.
const Vector kConst0 = {"bits:0.5", "bits:0.25", "bits:-0.25", "bits:-0.375"};

Script rcas(const std::string& scale) {
    return use("mRcasShaderP") + setFloat("sharpness", scale) + setVec4("SizeInfo", kSizes);
}

// At a sharpness of 2 stops.
Script fsrResize(bool isHit) {
    return start("fsrResize", isHit) + copy("mCopyShaderP", "src", "GL_LINEAR", true) +
           use("mEasuShaderP") + setVec4("vec4_0", {"0.5", "0.25", "-0.25", "-0.375"}) +
           setVec4("vec4_1", {"0.0416666679", "0.0625", "0.0416666679", "-0.0625"}) +
           setVec4("vec4_2", {"-0.0416666679", "0.125", "0.0416666679", "0.125"}) +
           setVec4("vec4_3", {"0", "0.25", "0", "0"}) + setVec4("SizeInfo", kSizes) +
           drawUpscaled("GL_LINEAR", true) + Script("| fsrResize: sharpness: 2.000000") +
           rcas("0.25") + drawLast("mTextureColorEasu", true) +
           end("fsrResize", Flush::BEFORE_DUP, true);
}

// At a sharpness of -1 stop.
Script neaResize(bool isHit) {
    return start("neaResize", isHit) + copy("mCopyShaderP", "src", "GL_NEAREST") +
           use("mUpscalerShaderP") + drawUpscaled("GL_NEAREST") +
           Script("| neaResize: sharpness: -1.000000") + rcas("2") + drawLast("mTextureColorEasu") +
           end("neaResize", Flush::AFTER_FENCE, true);
}

// At a sharpness of 1.
Script casSharpen(bool isHit) {
    return start("casSharpen", isHit) + copy("mCopyShaderP", "dst", "GL_LINEAR") +
           Script("| casSharpen: sharpness: 1.000000") + use("mCasSharpenShaderP") +
           setVec4("SizeInfo", {"48", "64", "48", "64"}) +
           setUvec4("Const0", {"bits:1", "bits:1", "bits:0", "bits:0"}) +
           setUvec4("Const1", {"bits:-0.125", "0xB000", "bits:8", "0"}) +
           drawLast("mTextureColorCopy") + end("casSharpen", Flush::AFTER_FENCE, false);
}

// At a sharpness of 0.
Script casResize(bool isHit) {
    return start("casResize", isHit) + copy("mCopyShaderP", "src", "GL_NEAREST") +
           Script("| casResize: sharpness: 0.000000") + use("mCasUpscaleShaderP") +
           setVec4("SizeInfo", kSizes) + setUvec4("Const0", kConst0) +
           setUvec4("Const1", {"bits:-0.200000003", "0xB266", "bits:4", "0"}) +
           drawLast("mTextureColorCopy") + end("casResize", Flush::AFTER_FENCE, true);
}

// At a sharpness of 9, which counts as 1.
Script casvUpscale(bool isHit) {
    return start("casvUpscale", isHit) + copy("mRgb2hsvShaderP", "src", "GL_NEAREST") +
           Script("| casvUpscale: sharpness: 9.000000") + use("mCasVUpscaleFloatShaderP") +
           setVec4("SizeInfo", kSizes) + setUvec4("Const0", kConst0) +
           setUvec4("Const1", {"bits:-0.125", "0xB000", "bits:4", "0"}) +
           drawLast("mTextureColorCopy") + end("casvUpscale", Flush::AFTER_FENCE, false);
}

// At a sharpness of 0.5.
Script casTUpscale(bool isHit) {
    return start("casTUpscale", isHit) + copy("mCopyShaderP", "src", "GL_NEAREST") +
           Script("| casTUpscale: sharpness: 0.500000") + use("mCasTUpscaleShaderP") +
           setVec4("SizeInfo", kSizes) + setUvec4("Const0", kConst0) +
           setUvec4("Const1", {"bits:-0.205128208", "0xB290", "bits:4", "0"}) +
           drawLast("mTextureColorCopy") + end("casTUpscale", Flush::AFTER_FENCE, false);
}

const ExpectedOperation kOperations[] = {
        {"fsrResize", 2.0f, 14, fsrResize},    {"neaResize", -1.0f, 6, neaResize},
        {"casSharpen", 1.0f, 6, casSharpen},   {"casResize", 0.0f, 6, casResize},
        {"casvUpscale", 9.0f, 6, casvUpscale}, {"casTUpscale", 0.5f, 6, casTUpscale},
};

}  // namespace

const ExpectedOperation& expectedOf(const std::string& operation) {
    const auto found =
            std::find_if(std::begin(kOperations), std::end(kOperations),
                         [&](const ExpectedOperation& row) { return row.name == operation; });
    if (found == std::end(kOperations)) throw std::out_of_range("no script of " + operation);
    return *found;
}

// ---- The object ----

Script program(const std::string& member) {
    return Script(R"(
| GfxShader: Start outter constructor of GfxShader
| InitShader: Start inner constructor of GfxShader
|!glGetString(GL_VERSION)
| InitShader: GL version : OpenGL ES 3*
| InitShader: Vertex shader of GfxShader: #version 320 es\n*
| InitShader: Fragment shader of GfxShader: #version 320 es\n*
)") + shader("vertex", "v", "Vertex", "VERTEX") +
           shader("fragment", "f", "Fragment", "FRAGMENT") +
           Script(R"(
ID = glCreateProgram()
| InitShader: shader program ID: {ID}
glAttachShader(ID, vertex)
glAttachShader(ID, fragment)
glLinkProgram(ID)
let shader = ID
glGetProgramiv(shader, GL_LINK_STATUS, &success)
glGetProgramiv(shader, GL_INFO_LOG_LENGTH, &InfoLogLength)
| INFO:PROGRAM_LINKING_SUCCESS of type: PROGRAM \n
| InitShader: Finish link shader program of GfxShader
glDeleteShader(vertex)
glDeleteShader(fragment)
| InitShader: Finish inner constructor of GfxShader
| InitShader: Value of shader program ID at the end of Constructor: {ID}
| GfxShader: Value of shader program ID at the end of Constructor: {ID}
| GfxShader: Finish outter constructor of GfxShader
let ${member} = ID
)",
                  {{"member", member}});
}

Script objects() {
    return Script(R"(
glGenFramebuffers(1, &mFrameBufferCopy)
glGenFramebuffers(1, &mFrameBufferEasu)
glGenFramebuffers(1, &mFrameBufferRcas)
glGenVertexArrays(1, &mQuadVAO)
glGenBuffers(1, &mQuadVBO)
)");
}

Script quad() {
    return Script(R"(
glBindVertexArray(mQuadVAO)
glBindBuffer(GL_ARRAY_BUFFER, mQuadVBO)
let sizeof(float)*mQuadVertices.size() = 96
let mQuadVertices.data() = *
glBufferData(GL_ARRAY_BUFFER, sizeof(float)*mQuadVertices.size(), mQuadVertices.data(), GL_STATIC_DRAW)
let 4 * sizeof(float) = 16
let (void*)0 = 0
let (void*)(2 * sizeof(float)) = 8
glEnableVertexAttribArray(0)
glVertexAttribPointer(0, 2, GL_FLOAT, GL_FALSE, 4 * sizeof(float), (void*)0)
glEnableVertexAttribArray(1)
glVertexAttribPointer(1, 2, GL_FLOAT, GL_FALSE, 4 * sizeof(float), (void*)(2 * sizeof(float)))
| initOpenGL: Finished glVertexAttribPointer
| << initOpenGL
)");
}

Script construction() {
    // EGL_OPENGL_ES3_BIT is 64. mTextureColorEasu is 0 until an operation makes it.
    Script script(R"(
| >> Upscaler
| >> initEGL
mEGLDisplay = eglGetDisplay(EGL_DEFAULT_DISPLAY)
| initEGL: eglGetDisplay error code=0x3000
eglInitialize(mEGLDisplay, &major, &minor)
| initEGL: eglInitialize error code=0x3000
eglChooseConfig(mEGLDisplay, {EGL_RENDERABLE_TYPE=64}, &config, 1, &count)
| initEGL: eglChooseConfig error code=0x3000
mEGLContext = eglCreateContext(mEGLDisplay, config, EGL_NO_CONTEXT, {EGL_CONTEXT_CLIENT_VERSION=3})
| initEGL: create EGL context:{mEGLContext:x}, error code=0x3000
eglMakeCurrent(mEGLDisplay, EGL_NO_SURFACE, EGL_NO_SURFACE, mEGLContext)
| initEGL: eglMakeCurrent in create:{mEGLContext:x}, error code=0x3000
eglGetProcAddress("glEGLImageTargetTexture2DOES")
eglGetProcAddress("eglCreateImageKHR")
eglGetProcAddress("eglDestroyImageKHR")
eglGetProcAddress("eglCreateSyncKHR")
eglGetProcAddress("eglDestroySyncKHR")
eglGetProcAddress("eglWaitSyncKHR")
| << initEGL
| >> initOpenGL
| initOpenGL: start creating copy shader program
)");
    script += program("mCopyShaderP") + program("mUpscalerShaderP") + Script(R"(
| initOpenGL: copy shader program ID in mGfxShaderP: {mCopyShaderP}
| initOpenGL: upscaler shader program ID in mGfxShaderP: {mUpscalerShaderP}
| initOpenGL: start creating mRgb2hsvShaderP shader program
| start create mRgb2hsvShaderP
)") + program("mRgb2hsvShaderP") +
              Script("| initOpenGL: start creating easu shader program") + program("mEasuShaderP") +
              Script(R"(
| initOpenGL: easu shader program ID in mGfxShaderP: {mEasuShaderP}
| initOpenGL: start creating rcas shader program
)") + program("mRcasShaderP");
    // The EASU program's ID is logged a second time.
    script += Script("| initOpenGL: easu shader program ID in mGfxShaderP: {mEasuShaderP}");
    for (const std::string slot : {"mCasUpscaleShaderP", "mCasTUpscaleShaderP",
                                   "mCasVUpscaleFloatShaderP", "mCasSharpenShaderP"}) {
        script += Script("| start create " + slot) + program(slot) +
                  Script("| initOpenGL: shader program ID in " + slot + ": {" + slot + "}");
    }
    return script + objects() + Script("let mTextureColorEasu = 0") + quad() +
           Script("| << Upscaler");
}

Script clear(bool hasBuffers) {
    Script script("| >> clearOpenGLResources");
    if (hasBuffers) {
        script += Script(R"(
!glDeleteTextures(1, &cached0)
!glDeleteTextures(1, &cached1)
eglDestroyImageKHR(mEGLDisplay, srcImage)
| clearOpenGLResources: EGL Context: {mEGLContext:x}, eglDestroyImageKHR error code=0x3000
eglDestroyImageKHR(mEGLDisplay, dstImage)
| clearOpenGLResources: EGL Context: {mEGLContext:x}, eglDestroyImageKHR error code=0x3000
)");
    }
    return script + Script(R"(
glDeleteVertexArrays(1, &mQuadVAO)
glDeleteBuffers(1, &mQuadVBO)
glDeleteTextures(1, &mTextureColorEasu)
glDeleteFramebuffers(1, &mFrameBufferEasu)
glDeleteFramebuffers(1, &mFrameBufferRcas)
glDeleteTextures(1, &mTextureColorCopy)
glDeleteFramebuffers(1, &mFrameBufferCopy)
| << clearOpenGLResources
)");
}

Script destroy(bool isMade) {
    Script script("| >> destroyEGL");
    if (isMade) {
        script += Script(R"(
eglMakeCurrent(mEGLDisplay, EGL_NO_SURFACE, EGL_NO_SURFACE, EGL_NO_CONTEXT)
| destroyEGL: eglMakeCurrent in destroy error code=0x3000
| destroyEGL: Destroy EGL Context :{mEGLContext:x}
eglDestroyContext(mEGLDisplay, mEGLContext)
| destroyEGL: eglDestroyContext error code=0x3000
eglTerminate(mEGLDisplay)
| destroyEGL: eglTerminate error code=0x3000
)");
    }
    return script + Script(R"(
eglReleaseThread()
| destroyEGL: eglReleaseThread error code=0x3000
| << destroyEGL
)");
}

}  // namespace android::test
