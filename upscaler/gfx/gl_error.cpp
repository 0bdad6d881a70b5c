// SPDX-License-Identifier: Apache-2.0
#include <cstdarg>
#include <cstdio>

#include "upscaler/gfx/gl_check.h"
#include "upscaler/gfx/log.h"
#include "upscaler/upscaler.h"

namespace android {

uint32_t resizeBufferLogLevel = 0;

namespace {

const char* errorName(GLenum error) {
    switch (error) {
        case GL_NO_ERROR:
            return "NO_ERROR";
        case GL_INVALID_ENUM:
            return "INVALID_ENUM";
        case GL_INVALID_VALUE:
            return "INVALID_VALUE";
        case GL_INVALID_OPERATION:
            return "INVALID_OPERATION";
        case GL_OUT_OF_MEMORY:
            return "OUT_OF_MEMORY";
        default:  // GL_INVALID_FRAMEBUFFER_OPERATION too: log readers know it by this name.
            return "unknown error";
    }
}

}  // namespace

const char* opengl_errno_name(unsigned int error) {
    return errorName(error);
}

void opengl_check_error(const char* path, int line, const char* call) {
    const GLenum error = glGetError();
    if (error != GL_NO_ERROR) reportGlError(error, path, line, "%s", call);
}

void reportGlError(GLenum error, const char* path, int line, const char* textFormat, ...) {
    char call[512];
    va_list arguments;
    va_start(arguments, textFormat);
    vsnprintf(call, sizeof(call), textFormat, arguments);
    va_end(arguments);
    UPS_LOGE("glGetError failed %s: %d: %s failed: %s \n", path, line, call, errorName(error));
}

}  // namespace android
