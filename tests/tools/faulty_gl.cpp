// SPDX-License-Identifier: Apache-2.0
// Preloaded ahead of the driver: breaks one thing, which the variable FAULTY_GL names.
#include <GLES3/gl32.h>
#include <dlfcn.h>

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
    if (broken("skip-draws")) return;
    if (broken("no-blue")) {
        next<decltype(&glColorMask)>("glColorMask")(GL_TRUE, GL_TRUE, GL_FALSE, GL_TRUE);
    }
    if (broken("gl-error")) mode = GL_INVALID_INDEX;
    next<decltype(&glDrawArrays)>("glDrawArrays")(mode, first, count);
}

__attribute__((visibility("default"))) void glCompileShader(GLuint shader) {
    if (!broken("bad-shaders")) next<decltype(&glCompileShader)>("glCompileShader")(shader);
}

}  // extern "C"
