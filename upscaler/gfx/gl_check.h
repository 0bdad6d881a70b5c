// SPDX-License-Identifier: Apache-2.0
#ifndef UPSCALER_GFX_GL_CHECK_H
#define UPSCALER_GFX_GL_CHECK_H

#include <GLES3/gl32.h>

namespace android {

// Writes the error line for `error` at the given call. The call's text is a printf-style format, so
// that a text with variable parts is only built when there is an error to report.
void reportGlError(GLenum error, const char* path, int line, const char* textFormat, ...)
        __attribute__((format(printf, 4, 5), cold));

}  // namespace android

// Makes a GL call and then reads one error. The file that uses it defines kSourcePath, the path
// that the log prints. The text is the call as it is written in the source, and log readers match
// it. So clang-format is off for these lines, NULL stays NULL, and no second macro may wrap
// GL_CHECK: it would print GL_TEXTURE_2D as 0x0DE1.
#define GL_CHECK(call) GL_CHECK_AS(call, "%s", #call)

// The same for a call whose text names what its arguments stand for.
#define GL_CHECK_AS(call, ...)                                                     \
    do {                                                                           \
        call;                                                                      \
        if (const GLenum glError = glGetError(); glError != GL_NO_ERROR)           \
            ::android::reportGlError(glError, kSourcePath, __LINE__, __VA_ARGS__); \
    } while (0)

#endif  // UPSCALER_GFX_GL_CHECK_H
