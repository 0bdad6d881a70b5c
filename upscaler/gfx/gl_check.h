// SPDX-License-Identifier: Apache-2.0
#ifndef UPSCALER_GFX_GL_CHECK_H
#define UPSCALER_GFX_GL_CHECK_H

#include <GLES3/gl32.h>

namespace android {

// Writes the error line for `error` at the given call. The call's text is printf-style, so that a
// text with parts that vary is put together only once there is an error to report.
void reportGlError(GLenum error, const char* path, int line, const char* textFormat, ...)
        __attribute__((format(printf, 4, 5), cold));

}  // namespace android

// Makes a GL call and reads one error at once. The file that uses it defines kSourcePath, the path
// that the log prints. The text is the call as it stands in the source: log readers match it, so
// these lines are fenced off from clang-format, NULL stays NULL, and nothing may wrap GL_CHECK in
// a second macro (that would print GL_TEXTURE_2D as 0x0DE1).
#define GL_CHECK(call) GL_CHECK_AS(call, "%s", #call)

// The same for a call whose text names what its arguments stand for.
#define GL_CHECK_AS(call, ...)                                                     \
    do {                                                                           \
        call;                                                                      \
        if (const GLenum glError = glGetError(); glError != GL_NO_ERROR)           \
            ::android::reportGlError(glError, kSourcePath, __LINE__, __VA_ARGS__); \
    } while (0)

#endif  // UPSCALER_GFX_GL_CHECK_H
