// SPDX-License-Identifier: Apache-2.0
// Preloaded ahead of the driver: breaks one thing, which the variable FAULTY_GL names.
#include <EGL/egl.h>
#include <GLES3/gl32.h>
#include <dlfcn.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>

namespace {

bool broken(const char* what) {
    const char* fault = std::getenv("FAULTY_GL");
    return fault && std::strcmp(fault, what) == 0;
}

template <typename Function>
Function next(const char* name) {
    return reinterpret_cast<Function>(dlsym(RTLD_NEXT, name));
}

}  // namespace

extern "C" {

__attribute__((visibility("default"))) void glDrawArrays(GLenum mode, GLint first, GLsizei count) {
    static int draws = 0;  // Two make a picture, by most operations.
    if (broken("skip-draws") || (broken("skip-later-draws") && ++draws > 2)) return;
    if (broken("no-blue")) {
        next<decltype(&glColorMask)>("glColorMask")(GL_TRUE, GL_TRUE, GL_FALSE, GL_TRUE);
    }
    if (broken("gl-error")) mode = GL_INVALID_INDEX;
    next<decltype(&glDrawArrays)>("glDrawArrays")(mode, first, count);
}

__attribute__((visibility("default"))) void glCompileShader(GLuint shader) {
    if (!broken("bad-shaders")) next<decltype(&glCompileShader)>("glCompileShader")(shader);
}

__attribute__((visibility("default"))) void glGetIntegerv(GLenum name, GLint* values) {
    next<decltype(&glGetIntegerv)>("glGetIntegerv")(name, values);
    if (broken("gles-3.1") && name == GL_MINOR_VERSION) *values = 1;
}

__attribute__((visibility("default"))) const GLubyte* glGetString(GLenum name) {
    const GLubyte* real = next<decltype(&glGetString)>("glGetString")(name);
    return broken("no-extensions") && name == GL_EXTENSIONS ? nullptr : real;
}

// The host's, under the names that its clients are linked with.
__attribute__((visibility("default"))) EGLint __wrap_eglDupNativeFenceFDANDROID(EGLDisplay display,
                                                                                void* sync) {
    constexpr char kName[] = "__wrap_eglDupNativeFenceFDANDROID";
    return broken("no-fence") ? -1 : next<EGLint (*)(EGLDisplay, void*)>(kName)(display, sync);
}

// android::Fence::wait
__attribute__((visibility("default"))) int _ZN7android5Fence4waitEi(void* fence, int milliseconds) {
    if (broken("fence-timeout")) return -ETIME;
    if (broken("fence-error")) return -EINVAL;
    return next<int (*)(void*, int)>("_ZN7android5Fence4waitEi")(fence, milliseconds);
}

}  // extern "C"
