// SPDX-License-Identifier: Apache-2.0
#include <cstdarg>
#include <cstdio>
#include <memory>
#include <new>

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

void logGlError(GLenum error, const char* path, int line, const char* call) {
    constexpr char kFormat[] = "glGetError failed %s: %d: %s failed: %s \n";
    // __android_log_print cuts a line at this length; __android_log_write does not.
    constexpr int kPrintLimit = 1023;
    const char* const name = errorName(error);
    const int length = snprintf(nullptr, 0, kFormat, path, line, call, name);
    if (length > kPrintLimit) {
        const size_t size = static_cast<size_t>(length) + 1;
        const std::unique_ptr<char[]> text(new (std::nothrow) char[size]);
        if (text != nullptr) {
            snprintf(text.get(), size, kFormat, path, line, call, name);
            __android_log_write(ANDROID_LOG_ERROR, kLogTag, text.get());
            return;
        }
        // There is no memory for the whole line: the line below is cut.
    }
    UPS_LOGE(kFormat, path, line, call, name);
}

}  // namespace

const char* opengl_errno_name(unsigned int error) {
    return errorName(error);
}

void opengl_check_error(const char* path, int line, const char* call) {
    const GLenum error = glGetError();
    if (error != GL_NO_ERROR) logGlError(error, path, line, call);
}

void reportGlError(GLenum error, const char* path, int line, const char* textFormat, ...) {
    char call[512];  // longer than any text of the library's own calls
    va_list arguments;
    va_start(arguments, textFormat);
    vsnprintf(call, sizeof(call), textFormat, arguments);
    va_end(arguments);
    logGlError(error, path, line, call);
}

}  // namespace android
