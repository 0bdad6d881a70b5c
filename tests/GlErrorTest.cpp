// SPDX-License-Identifier: Apache-2.0
#include <GLES3/gl32.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "support/gl_trace.h"
#include "support/log_capture.h"
#include "upscaler/upscaler.h"

namespace android::test {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

TEST(GlErrorTest, Names) {
    EXPECT_STREQ(opengl_errno_name(0), "NO_ERROR");
    EXPECT_STREQ(opengl_errno_name(GL_INVALID_ENUM), "INVALID_ENUM");
    EXPECT_STREQ(opengl_errno_name(GL_INVALID_VALUE), "INVALID_VALUE");
    EXPECT_STREQ(opengl_errno_name(GL_INVALID_OPERATION), "INVALID_OPERATION");
    EXPECT_STREQ(opengl_errno_name(GL_OUT_OF_MEMORY), "OUT_OF_MEMORY");
    EXPECT_STREQ(opengl_errno_name(GL_INVALID_FRAMEBUFFER_OPERATION), "unknown error");
    EXPECT_STREQ(opengl_errno_name(0x0503), "unknown error");
}

TEST(GlErrorTest, NothingPendingNothingWritten) {
    LogCapture log;
    opengl_check_error("path", 7, "glFlush()");
    EXPECT_THAT(log.lines(), IsEmpty());
}

TEST(GlErrorTest, OneCheckReadsOneErrorAndPrintsThatOne) {
    LogCapture log;
    GlTrace trace;
    resizeBufferLogLevel = 0;
    trace.raiseAlways(GL_INVALID_FRAMEBUFFER_OPERATION);
    opengl_check_error("some/path", 7, "glEnable(GL_NONE)");
    EXPECT_EQ(trace.count("glGetError"), 1u);
    ASSERT_EQ(log.lines().size(), 1u);
    EXPECT_EQ(log.lines()[0].priority, 6);
    EXPECT_EQ(log.lines()[0].tag, "Upscaler");
    EXPECT_EQ(log.lines()[0].text,
              "glGetError failed some/path: 7: glEnable(GL_NONE) failed: unknown error \n");
}

}  // namespace
}  // namespace android::test
