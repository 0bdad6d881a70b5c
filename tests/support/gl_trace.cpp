// SPDX-License-Identifier: Apache-2.0
#include "support/gl_trace.h"

#include <EGL/egl.h>
#include <EGL/eglext.h>
#include <GLES3/gl32.h>
// This header uses types of the one above.
#include <GLES2/gl2ext.h>
#include <dlfcn.h>

#include <cfenv>
#include <cstring>
#include <iomanip>
#include <sstream>
#include <tuple>
#include <type_traits>
#include <utility>

namespace android::test {
namespace {

thread_local GlTrace* tActive = nullptr;
thread_local int tDepth = 0;

// Lives while one of the functions below runs.
struct Nested {
    Nested() { ++tDepth; }
    ~Nested() { --tDepth; }
};

// An argument that is a constant of GL or EGL.
struct Enum {
    GLenum value;
    operator GLenum() const { return value; }
};

#define NAMED(constant) \
    { constant, #constant }
// The constants that the library uses. No two have the same value.
constexpr std::pair<GLenum, const char*> kConstants[] = {NAMED(GL_FALSE),
                                                         NAMED(GL_TRUE),
                                                         NAMED(GL_TRIANGLES),
                                                         NAMED(GL_COLOR_BUFFER_BIT),
                                                         NAMED(GL_DEPTH_TEST),
                                                         NAMED(GL_TEXTURE_2D),
                                                         NAMED(GL_UNSIGNED_BYTE),
                                                         NAMED(GL_FLOAT),
                                                         NAMED(GL_RGB),
                                                         NAMED(GL_VERSION),
                                                         NAMED(GL_NEAREST),
                                                         NAMED(GL_LINEAR),
                                                         NAMED(GL_TEXTURE_MAG_FILTER),
                                                         NAMED(GL_TEXTURE_MIN_FILTER),
                                                         NAMED(GL_ARRAY_BUFFER),
                                                         NAMED(GL_STATIC_DRAW),
                                                         NAMED(GL_FRAGMENT_SHADER),
                                                         NAMED(GL_VERTEX_SHADER),
                                                         NAMED(GL_COMPILE_STATUS),
                                                         NAMED(GL_LINK_STATUS),
                                                         NAMED(GL_INFO_LOG_LENGTH),
                                                         NAMED(GL_COLOR_ATTACHMENT0),
                                                         NAMED(GL_FRAMEBUFFER),
                                                         NAMED(GL_TEXTURE_EXTERNAL_OES),
                                                         NAMED(EGL_RENDERABLE_TYPE),
                                                         NAMED(EGL_CONTEXT_CLIENT_VERSION),
                                                         NAMED(EGL_IMAGE_PRESERVED_KHR),
                                                         NAMED(EGL_NATIVE_BUFFER_ANDROID),
                                                         NAMED(EGL_SYNC_NATIVE_FENCE_ANDROID)};
#undef NAMED

// Formats a value as GlCall describes.
template <typename T>
std::string shown(T value) {
    std::ostringstream out;
    if constexpr (std::is_same_v<T, const char*>) {
        out << '"' << value << '"';
    } else if constexpr (std::is_same_v<T, Enum>) {
        for (const auto& [known, name] : kConstants) {
            if (known == value) return name;
        }
        out << "0x" << std::hex << value.value;
    } else if constexpr (std::is_same_v<T, const EGLint*>) {
        if (value == nullptr) return "0";
        for (; *value != EGL_NONE; value += 2)
            out << "{" << shown(Enum{static_cast<GLenum>(value[0])}) << "=" << value[1] << "}";
    } else if constexpr (std::is_same_v<T, GLuint*> || std::is_same_v<T, const GLuint*> ||
                         std::is_same_v<T, EGLConfig*>) {
        return shown(*value);
    } else if constexpr (std::is_pointer_v<T>) {
        out << reinterpret_cast<uintptr_t>(value);
    } else {
        out << std::setprecision(9) << +value;
    }
    return out.str();
}

template <typename Result>
Result failed(intptr_t value) {
    if constexpr (std::is_pointer_v<Result>)
        return reinterpret_cast<Result>(value);
    else
        return static_cast<Result>(value);
}

// Records the call, and makes it or lets it fail.
template <typename Result, typename... Parameters, typename... Arguments>
Result forward(const char* name, Result (*real)(Parameters...), intptr_t usualFailure,
               const std::tuple<Arguments...>& arguments) {
    GlTrace* const trace = tDepth == 0 ? GlTrace::active() : nullptr;
    const bool followsArithmetic = trace != nullptr && GlTrace::takeArithmetic();
    std::optional<intptr_t> failure;
    if (trace != nullptr) failure = trace->failure(name, usualFailure);
    if (real == nullptr) failure = usualFailure;
    const auto make = [&] {
        const Nested nested;
        return failure ? failed<Result>(*failure) : std::apply(real, arguments);
    };
    if (trace == nullptr) return make();
    const auto note = [&](const std::string& result) {
        const auto texts = [](auto... values) {
            return std::vector<std::string>{shown(values)...};
        };
        trace->note({name, std::apply(texts, arguments), result, followsArithmetic});
        GlTrace::takeArithmetic();  // The driver may compute, too.
    };
    if constexpr (std::is_void_v<Result>) {
        make();
        note("");
    } else {
        const Result result = make();
        note(shown(result));
        return result;
    }
}

// The function of this name that would be called without this file.
template <typename Function>
Function next(const char* name) {
    return reinterpret_cast<Function>(dlsym(RTLD_NEXT, name));
}

}  // namespace

GlTrace::GlTrace() {
    takeArithmetic();
    tActive = this;
}
GlTrace::~GlTrace() {
    tActive = nullptr;
}
GlTrace* GlTrace::active() {
    return tActive;
}

bool GlTrace::takeArithmetic() {
    const bool was = std::fetestexcept(FE_INEXACT) != 0;
    std::feclearexcept(FE_INEXACT);
    return was;
}

std::string GlCall::text() const {
    std::string list;
    for (const std::string& argument : arguments)
        list += (list.empty() ? "" : ", ") + argument;
    return name + "(" + list + ")";
}

std::string lines(const std::vector<std::string>& texts) {
    std::string joined;
    for (const std::string& text : texts)
        joined += text + "\n";
    return joined;
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

std::optional<intptr_t> GlTrace::failure(const std::string& name, intptr_t usual) {
    const auto found = mFaults.find(name);
    if (found == mFaults.end()) return mLost ? std::optional(usual) : std::nullopt;
    const Fault fault = found->second;
    if (fault.skip > 0) {
        --found->second.skip;
        return std::nullopt;
    }
    if (!fault.isLasting) mFaults.erase(found);
    return fault.answer.value_or(usual);
}

}  // namespace android::test

using android::test::Enum;
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
// A function that the host provides on this platform.
#define HOOK_HOST(Result, name, failed, parameters, arguments) \
    VISIBLE Result __wrap_##name parameters;                   \
    HOOK_AS(__wrap_##name, #name, Result, failed, parameters, arguments)

// clang-format off
HOOK(GLenum, glGetError, (void), ())
HOOK(const GLubyte*, glGetString, (GLenum name), (Enum{name}))
HOOK(GLuint, glCreateShader, (GLenum type), (Enum{type}))
HOOK(void, glShaderSource, (GLuint shader, GLsizei count, const GLchar* const* string, const GLint* length), (shader, count, string, length))
HOOK(void, glCompileShader, (GLuint shader), (shader))
HOOK(void, glGetShaderiv, (GLuint shader, GLenum pname, GLint* params), (shader, Enum{pname}, params))
HOOK(void, glGetShaderInfoLog, (GLuint shader, GLsizei size, GLsizei* length, GLchar* log), (shader, size, length, log))
HOOK(GLuint, glCreateProgram, (void), ())
HOOK(void, glAttachShader, (GLuint program, GLuint shader), (program, shader))
HOOK(void, glLinkProgram, (GLuint program), (program))
HOOK(void, glGetProgramiv, (GLuint program, GLenum pname, GLint* params), (program, Enum{pname}, params))
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
HOOK(void, glBindBuffer, (GLenum target, GLuint buffer), (Enum{target}, buffer))
HOOK(void, glBufferData, (GLenum target, GLsizeiptr size, const void* data, GLenum usage), (Enum{target}, size, data, Enum{usage}))
HOOK(void, glEnableVertexAttribArray, (GLuint index), (index))
HOOK(void, glVertexAttribPointer, (GLuint index, GLint size, GLenum type, GLboolean normalized, GLsizei stride, const void* pointer), (index, size, Enum{type}, Enum{normalized}, stride, pointer))
HOOK(void, glBindTexture, (GLenum target, GLuint texture), (Enum{target}, texture))
HOOK(void, glTexImage2D, (GLenum target, GLint level, GLint internalformat, GLsizei width, GLsizei height, GLint border, GLenum format, GLenum type, const void* pixels), (Enum{target}, level, Enum{static_cast<GLenum>(internalformat)}, width, height, border, Enum{format}, Enum{type}, pixels))
HOOK(void, glTexParameteri, (GLenum target, GLenum pname, GLint param), (Enum{target}, Enum{pname}, Enum{static_cast<GLenum>(param)}))
HOOK(void, glBindFramebuffer, (GLenum target, GLuint framebuffer), (Enum{target}, framebuffer))
HOOK(void, glFramebufferTexture2D, (GLenum target, GLenum attachment, GLenum textarget, GLuint texture, GLint level), (Enum{target}, Enum{attachment}, Enum{textarget}, texture, level))
HOOK(void, glViewport, (GLint x, GLint y, GLsizei width, GLsizei height), (x, y, width, height))
HOOK(void, glDisable, (GLenum cap), (Enum{cap}))
HOOK(void, glClearColor, (GLfloat red, GLfloat green, GLfloat blue, GLfloat alpha), (red, green, blue, alpha))
HOOK(void, glClear, (GLbitfield mask), (Enum{mask}))
HOOK(void, glDrawArrays, (GLenum mode, GLint first, GLsizei count), (Enum{mode}, first, count))
HOOK(void, glFlush, (void), ())
// The library must never call these.
HOOK(void, glFinish, (void), ())
HOOK(void, glActiveTexture, (GLenum texture), (Enum{texture}))
HOOK(GLenum, glClientWaitSync, (GLsync sync, GLbitfield flags, GLuint64 timeout), (sync, Enum{flags}, timeout))
HOOK(void, glDeleteProgram, (GLuint program), (program))

HOOK(EGLBoolean, eglChooseConfig, (EGLDisplay dpy, const EGLint* attribs, EGLConfig* configs, EGLint size, EGLint* count), (dpy, attribs, configs, size, count))
HOOK(EGLContext, eglCreateContext, (EGLDisplay dpy, EGLConfig config, EGLContext share, const EGLint* attribs), (dpy, config, share, attribs))
HOOK(EGLBoolean, eglMakeCurrent, (EGLDisplay dpy, EGLSurface draw, EGLSurface read, EGLContext context), (dpy, draw, read, context))
HOOK(EGLBoolean, eglDestroyContext, (EGLDisplay dpy, EGLContext context), (dpy, context))
HOOK(EGLBoolean, eglReleaseThread, (void), ())
HOOK_HOST(EGLint, eglGetError, 0, (void), ())
HOOK_HOST(EGLDisplay, eglGetDisplay, 0, (EGLNativeDisplayType id), (id))
HOOK_HOST(EGLBoolean, eglInitialize, 0, (EGLDisplay dpy, EGLint* major, EGLint* minor), (dpy, major, minor))
HOOK_HOST(EGLBoolean, eglTerminate, 0, (EGLDisplay dpy), (dpy))
HOOK_HOST(EGLint, eglDupNativeFenceFDANDROID, -1, (EGLDisplay dpy, EGLSyncKHR sync), (dpy, sync))

HOOK(uint64_t, atrace_get_enabled_tags, (void), ())
HOOK(void, atrace_begin_body, (const char* name), (name))
HOOK(void, atrace_end_body, (void), ())
// clang-format on

using AnyFunction = __eglMustCastToProperFunctionPointerType;
VISIBLE AnyFunction __wrap_eglGetProcAddress(const char* name);

static AnyFunction realEntryPoint(const char* name) {
    static const auto real = next<AnyFunction (*)(const char*)>("__wrap_eglGetProcAddress");
    return real(name);
}

// Functions that the library fetches by name: result, name, parameters, arguments
// clang-format off
#define FETCHED_FUNCTIONS(X) \
    X(void, glEGLImageTargetTexture2DOES, (GLenum target, GLeglImageOES image), (Enum{target}, image)) \
    X(EGLImageKHR, eglCreateImageKHR, (EGLDisplay dpy, EGLContext context, EGLenum target, EGLClientBuffer buffer, const EGLint* attribs), (dpy, context, Enum{target}, buffer, attribs)) \
    X(EGLBoolean, eglDestroyImageKHR, (EGLDisplay dpy, EGLImageKHR image), (dpy, image)) \
    X(EGLSyncKHR, eglCreateSyncKHR, (EGLDisplay dpy, EGLenum type, const EGLint* attribs), (dpy, Enum{type}, attribs)) \
    X(EGLBoolean, eglDestroySyncKHR, (EGLDisplay dpy, EGLSyncKHR sync), (dpy, sync))
// clang-format on

#define HOOK_FETCHED(Result, name, parameters, arguments)                                       \
    static Result EGLAPIENTRY hooked_##name parameters {                                        \
        static const auto real = reinterpret_cast<Result(*) parameters>(realEntryPoint(#name)); \
        return forward(#name, real, 0, std::make_tuple arguments);                              \
    }
FETCHED_FUNCTIONS(HOOK_FETCHED)

AnyFunction __wrap_eglGetProcAddress(const char* name) {
    const AnyFunction fetched =
            forward("eglGetProcAddress", realEntryPoint, 0, std::make_tuple(name));
#define GIVE_HOOKED(Result, function, parameters, arguments)     \
    if (fetched != nullptr && std::strcmp(name, #function) == 0) \
        return reinterpret_cast<AnyFunction>(hooked_##function);
    FETCHED_FUNCTIONS(GIVE_HOOKED)
    return fetched;
}
