// SPDX-License-Identifier: Apache-2.0
#include "support/gl_trace.h"

#include <EGL/egl.h>
#include <EGL/eglext.h>
#include <GLES3/gl32.h>
// After the header whose types it uses.
#include <GLES2/gl2ext.h>
#include <dlfcn.h>

#include <atomic>
#include <cstring>
#include <sstream>
#include <tuple>
#include <type_traits>

namespace android::test {
namespace {

thread_local GlTrace* tActive = nullptr;
thread_local int tDepth = 0;

// "3098=3", in hexadecimal.
std::string attributes(const EGLint* list) {
    std::ostringstream text;
    for (; *list != EGL_NONE; list += 2)
        text << std::hex << list[0] << "=" << list[1];
    return text.str();
}

template <typename T>
void add(GlCall& call, T argument) {
    uint64_t bits = 0;
    static_assert(sizeof(argument) <= sizeof(bits), "fits");
    std::memcpy(&bits, &argument, sizeof(argument));
    call.arguments.push_back(bits);
    if constexpr (std::is_same_v<T, const char*>) {
        if (argument != nullptr) call.text = argument;
    } else if constexpr (std::is_same_v<T, const EGLint*>) {
        if (argument != nullptr) call.text = attributes(argument);
    }
}

template <typename T>
uint64_t bitsOf(T value) {
    uint64_t bits = 0;
    std::memcpy(&bits, &value, sizeof(value));
    return bits;
}

// What a glGen or glDelete call made or deleted.
template <typename T>
uint64_t firstName(T argument) {
    if constexpr (std::is_same_v<T, GLuint*> || std::is_same_v<T, const GLuint*>) return *argument;
    return 0;
}

template <typename Result>
Result failure(intptr_t value) {
    if constexpr (std::is_pointer_v<Result>)
        return reinterpret_cast<Result>(value);
    else
        return static_cast<Result>(value);
}

// Notes the call, then makes it or lets it fail.
template <typename Result, typename... Parameters, typename... Arguments>
Result forward(const char* name, Result (*real)(Parameters...), intptr_t failed,
               const std::tuple<Arguments...>& arguments) {
    GlTrace* const trace = tDepth == 0 ? GlTrace::active() : nullptr;
    if (trace == nullptr) {
        if (real == nullptr) return failure<Result>(failed);
        return std::apply(real, arguments);
    }
    GlCall call;
    call.name = name;
    std::apply([&](auto... argument) { (add(call, argument), ...); }, arguments);
    const bool skips = real == nullptr || trace->takeFailure(call);
    ++tDepth;
    if constexpr (std::is_void_v<Result>) {
        if (!skips) std::apply(real, arguments);
        --tDepth;
        if constexpr (sizeof...(Arguments) == 2) call.result = firstName(std::get<1>(arguments));
        trace->note(std::move(call));
    } else {
        const Result result = skips ? failure<Result>(failed) : std::apply(real, arguments);
        --tDepth;
        call.result = bitsOf(result);
        trace->note(std::move(call));
        return result;
    }
}

// The function of this name that would have been called without us.
template <typename Function>
Function next(const char* name) {
    return reinterpret_cast<Function>(dlsym(RTLD_NEXT, name));
}

}  // namespace

GlTrace::GlTrace() {
    tActive = this;
}
GlTrace::~GlTrace() {
    tActive = nullptr;
}
GlTrace* GlTrace::active() {
    return tActive;
}

std::vector<GlCall> GlTrace::named(const std::string& name) const {
    std::vector<GlCall> found;
    for (const GlCall& call : mCalls) {
        if (call.name == name) found.push_back(call);
    }
    return found;
}

std::vector<std::string> GlTrace::names() const {
    std::vector<std::string> names;
    for (const GlCall& call : mCalls) {
        if (call.name != "glGetError" && call.name != "log" &&
            call.name.compare(0, 6, "atrace") != 0)
            names.push_back(call.name);
    }
    return names;
}

bool GlTrace::takeFailure(const GlCall& call) {
    if (mLost) return true;
    if (mFail.empty() || (mFail != call.name && mFail != call.name + ":" + call.text)) return false;
    if (mFailSkip > 0) {
        --mFailSkip;
        return false;
    }
    if (mHowOften == kOnce) mFail.clear();
    return true;
}

bool GlTrace::takeError(unsigned int& error) {
    if (mRaiseAlways != 0) {
        error = mRaiseAlways;
        return true;
    }
    if (mRaise == 0) return false;
    if (mSkip > 0) {
        --mSkip;
        return false;
    }
    error = mRaise;
    mRaise = 0;
    return true;
}

}  // namespace android::test

using android::test::forward;
using android::test::GlTrace;
using android::test::next;

#define VISIBLE extern "C" __attribute__((visibility("default")))

// symbol, its name in the trace, result, what a failure returns, parameters, arguments
#define HOOK_AS(symbol, name, Result, failed, parameters, arguments)   \
    VISIBLE Result symbol parameters {                                 \
        static const auto real = next<Result(*) parameters>(#symbol);  \
        return forward(name, real, failed, std::make_tuple arguments); \
    }
#define HOOK(Result, name, parameters, arguments) \
    HOOK_AS(name, #name, Result, 0, parameters, arguments)
// One that the host answers on this platform.
#define HOOK_HOST(Result, name, failed, parameters, arguments) \
    VISIBLE Result __wrap_##name parameters;                   \
    HOOK_AS(__wrap_##name, #name, Result, failed, parameters, arguments)

// clang-format off
HOOK(const GLubyte*, glGetString, (GLenum name), (name))
HOOK(GLuint, glCreateShader, (GLenum type), (type))
HOOK(void, glShaderSource, (GLuint shader, GLsizei count, const GLchar* const* string, const GLint* length), (shader, count, string, length))
HOOK(void, glCompileShader, (GLuint shader), (shader))
HOOK(void, glGetShaderiv, (GLuint shader, GLenum pname, GLint* params), (shader, pname, params))
HOOK(void, glGetShaderInfoLog, (GLuint shader, GLsizei size, GLsizei* length, GLchar* log), (shader, size, length, log))
HOOK(GLuint, glCreateProgram, (void), ())
HOOK(void, glAttachShader, (GLuint program, GLuint shader), (program, shader))
HOOK(void, glLinkProgram, (GLuint program), (program))
HOOK(void, glGetProgramiv, (GLuint program, GLenum pname, GLint* params), (program, pname, params))
HOOK(void, glGetProgramInfoLog, (GLuint program, GLsizei size, GLsizei* length, GLchar* log), (program, size, length, log))
HOOK(void, glDeleteShader, (GLuint shader), (shader))
HOOK(void, glUseProgram, (GLuint program), (program))
HOOK(GLint, glGetUniformLocation, (GLuint program, const GLchar* name), (program, name))
HOOK(void, glUniform1i, (GLint location, GLint v0), (location, v0))
HOOK(void, glUniform1f, (GLint location, GLfloat v0), (location, v0))
HOOK(void, glUniform4f, (GLint location, GLfloat v0, GLfloat v1, GLfloat v2, GLfloat v3), (location, v0, v1, v2, v3))
HOOK(void, glUniform4ui, (GLint location, GLuint v0, GLuint v1, GLuint v2, GLuint v3), (location, v0, v1, v2, v3))
HOOK(void, glGenFramebuffers, (GLsizei n, GLuint* names), (n, names))
HOOK(void, glGenVertexArrays, (GLsizei n, GLuint* names), (n, names))
HOOK(void, glGenBuffers, (GLsizei n, GLuint* names), (n, names))
HOOK(void, glGenTextures, (GLsizei n, GLuint* names), (n, names))
HOOK(void, glDeleteFramebuffers, (GLsizei n, const GLuint* names), (n, names))
HOOK(void, glDeleteVertexArrays, (GLsizei n, const GLuint* names), (n, names))
HOOK(void, glDeleteBuffers, (GLsizei n, const GLuint* names), (n, names))
HOOK(void, glDeleteTextures, (GLsizei n, const GLuint* names), (n, names))
HOOK(void, glBindVertexArray, (GLuint array), (array))
HOOK(void, glBindBuffer, (GLenum target, GLuint buffer), (target, buffer))
HOOK(void, glBufferData, (GLenum target, GLsizeiptr size, const void* data, GLenum usage), (target, size, data, usage))
HOOK(void, glEnableVertexAttribArray, (GLuint index), (index))
HOOK(void, glVertexAttribPointer, (GLuint index, GLint size, GLenum type, GLboolean normalized, GLsizei stride, const void* pointer), (index, size, type, normalized, stride, pointer))
HOOK(void, glBindTexture, (GLenum target, GLuint texture), (target, texture))
HOOK(void, glTexImage2D, (GLenum target, GLint level, GLint internalformat, GLsizei width, GLsizei height, GLint border, GLenum format, GLenum type, const void* pixels), (target, level, internalformat, width, height, border, format, type, pixels))
HOOK(void, glTexParameteri, (GLenum target, GLenum pname, GLint param), (target, pname, param))
HOOK(void, glBindFramebuffer, (GLenum target, GLuint framebuffer), (target, framebuffer))
HOOK(void, glFramebufferTexture2D, (GLenum target, GLenum attachment, GLenum textarget, GLuint texture, GLint level), (target, attachment, textarget, texture, level))
HOOK(void, glViewport, (GLint x, GLint y, GLsizei width, GLsizei height), (x, y, width, height))
HOOK(void, glDisable, (GLenum cap), (cap))
HOOK(void, glClearColor, (GLfloat red, GLfloat green, GLfloat blue, GLfloat alpha), (red, green, blue, alpha))
HOOK(void, glClear, (GLbitfield mask), (mask))
HOOK(void, glDrawArrays, (GLenum mode, GLint first, GLsizei count), (mode, first, count))
HOOK(void, glFlush, (void), ())
// Never to be seen.
HOOK(void, glFinish, (void), ())
HOOK(void, glActiveTexture, (GLenum texture), (texture))
HOOK(GLenum, glClientWaitSync, (GLsync sync, GLbitfield flags, GLuint64 timeout), (sync, flags, timeout))
HOOK(void, glDeleteProgram, (GLuint program), (program))

HOOK(EGLBoolean, eglChooseConfig, (EGLDisplay dpy, const EGLint* attribs, EGLConfig* configs, EGLint size, EGLint* count), (dpy, attribs, configs, size, count))
HOOK(EGLContext, eglCreateContext, (EGLDisplay dpy, EGLConfig config, EGLContext share, const EGLint* attribs), (dpy, config, share, attribs))
HOOK(EGLBoolean, eglMakeCurrent, (EGLDisplay dpy, EGLSurface draw, EGLSurface read, EGLContext context), (dpy, draw, read, context))
HOOK(EGLBoolean, eglDestroyContext, (EGLDisplay dpy, EGLContext context), (dpy, context))
HOOK(EGLBoolean, eglReleaseThread, (void), ())
HOOK_HOST(EGLDisplay, eglGetDisplay, 0, (EGLNativeDisplayType id), (id))
HOOK_HOST(EGLBoolean, eglInitialize, 0, (EGLDisplay dpy, EGLint* major, EGLint* minor), (dpy, major, minor))
HOOK_HOST(EGLBoolean, eglTerminate, 0, (EGLDisplay dpy), (dpy))
HOOK_HOST(EGLint, eglDupNativeFenceFDANDROID, -1, (EGLDisplay dpy, EGLSyncKHR sync), (dpy, sync))

HOOK(uint64_t, atrace_get_enabled_tags, (void), ())
HOOK(void, atrace_begin_body, (const char* name), (name))
HOOK(void, atrace_end_body, (void), ())
// clang-format on

VISIBLE GLenum glGetError(void) {
    static const auto real = next<GLenum (*)()>("glGetError");
    const GLenum pending = forward("glGetError", real, 0, std::make_tuple());
    GLenum raised;
    return GlTrace::active() != nullptr && GlTrace::active()->takeError(raised) ? raised : pending;
}

VISIBLE EGLint __wrap_eglGetError(void);
VISIBLE EGLint __wrap_eglGetError(void) {
    static const auto real = next<EGLint (*)()>("__wrap_eglGetError");
    const EGLint error = forward("eglGetError", real, 0, std::make_tuple());
    const GlTrace* const trace = GlTrace::active();
    return trace != nullptr && trace->eglError() != 0 ? trace->eglError() : error;
}

namespace {

// The entry points that the library fetches by name: name, type, result, parameters, arguments.
#define FETCHED(name, Type, Result, parameters, arguments)                       \
    std::atomic<Type> real_##name{nullptr};                                      \
    Result EGLAPIENTRY hooked_##name parameters {                                \
        return forward(#name, real_##name.load(), 0, std::make_tuple arguments); \
    }

// clang-format off
FETCHED(glEGLImageTargetTexture2DOES, PFNGLEGLIMAGETARGETTEXTURE2DOESPROC, void, (GLenum target, GLeglImageOES image), (target, image))
FETCHED(eglCreateImageKHR, PFNEGLCREATEIMAGEKHRPROC, EGLImageKHR, (EGLDisplay dpy, EGLContext context, EGLenum target, EGLClientBuffer buffer, const EGLint* attribs), (dpy, context, target, buffer, attribs))
FETCHED(eglDestroyImageKHR, PFNEGLDESTROYIMAGEKHRPROC, EGLBoolean, (EGLDisplay dpy, EGLImageKHR image), (dpy, image))
FETCHED(eglCreateSyncKHR, PFNEGLCREATESYNCKHRPROC, EGLSyncKHR, (EGLDisplay dpy, EGLenum type, const EGLint* attribs), (dpy, type, attribs))
FETCHED(eglDestroySyncKHR, PFNEGLDESTROYSYNCKHRPROC, EGLBoolean, (EGLDisplay dpy, EGLSyncKHR sync), (dpy, sync))
// clang-format on

template <typename Function>
__eglMustCastToProperFunctionPointerType hook(__eglMustCastToProperFunctionPointerType fetched,
                                              std::atomic<Function>& real, Function hooked) {
    if (fetched == nullptr) return nullptr;
    real = reinterpret_cast<Function>(fetched);
    return reinterpret_cast<__eglMustCastToProperFunctionPointerType>(hooked);
}

}  // namespace

VISIBLE __eglMustCastToProperFunctionPointerType __wrap_eglGetProcAddress(const char* name);
VISIBLE __eglMustCastToProperFunctionPointerType __wrap_eglGetProcAddress(const char* name) {
    using Fetched = __eglMustCastToProperFunctionPointerType;
    static const auto real = next<Fetched (*)(const char*)>("__wrap_eglGetProcAddress");
    const Fetched fetched = forward("eglGetProcAddress", real, 0, std::make_tuple(name));
#define HOOK_FETCHED(function) \
    if (std::strcmp(name, #function) == 0) return hook(fetched, real_##function, hooked_##function);
    HOOK_FETCHED(glEGLImageTargetTexture2DOES)
    HOOK_FETCHED(eglCreateImageKHR)
    HOOK_FETCHED(eglDestroyImageKHR)
    HOOK_FETCHED(eglCreateSyncKHR)
    HOOK_FETCHED(eglDestroySyncKHR)
    return fetched;
}
