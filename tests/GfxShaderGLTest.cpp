// SPDX-License-Identifier: Apache-2.0
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "support/fixture.h"

namespace android::test {
namespace {

using ::testing::AllOf;
using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::StartsWith;

class GfxShaderGLTest : public LibraryTest {
  protected:
    OwnedUpscaler context;
};

TEST_F(GfxShaderGLTest, UnknownUniformIsLoggedAndIgnored) {
    const GfxShader shader(kVertex, kFragment);
    shader.use();
    resizeBufferLogLevel = 0x21;
    shader.setInt("absent", 5);
    EXPECT_THAT(log.debug(), Contains("setInt: name: absent, value: 5, value_location: -1"));
    EXPECT_THAT(log.errors(), IsEmpty());
}

TEST_F(GfxShaderGLTest, BrokenFragmentIsLoggedAndKeepsItsName) {
    const GfxShader shader(kVertex, kBroken);
    EXPECT_NE(shader.getID(), 0u);
    EXPECT_THAT(
            log.errors(),
            ElementsAre(AllOf(StartsWith("ERROR:SHADER_COMPILATION_ERROR of type: FRAGMENT \n "),
                              HasSubstr("nonsense")),
                        StartsWith("ERROR:PROGRAM_LINKING_ERROR of type: PROGRAM \n ")));
    for (const LogLine& line : log.lines())
        EXPECT_EQ(line.tag, "Upscaler");
}

TEST_F(GfxShaderGLTest, OnlyTheExactWordProgramAsksForTheLink) {
    GfxShader shader(kVertex, kFragment);
    resizeBufferLogLevel = 0x21;
    shader.checkCompileErrors(shader.getID(), "PROGRAM");
    EXPECT_THAT(log.debug(), ElementsAre("INFO:PROGRAM_LINKING_SUCCESS of type: PROGRAM \n"));
    log.clear();
    GlTrace trace;
    shader.checkCompileErrors(shader.getID(), "program");
    EXPECT_THAT(trace.names(), ElementsAre("glGetShaderiv", "glGetShaderiv", "glGetShaderInfoLog"));
    EXPECT_THAT(log.errors(),
                Contains(StartsWith("ERROR:SHADER_COMPILATION_ERROR of type: program")));
}

TEST_F(GfxShaderGLTest, WithoutContextTheNamesAreZero) {
    eglMakeCurrent(UpscalerPeer::display(*context), EGL_NO_SURFACE, EGL_NO_SURFACE, EGL_NO_CONTEXT);
    resizeBufferLogLevel = 0x21;
    const GfxShader shader(kVertex, kFragment);
    EXPECT_EQ(shader.getID(), 0u);
    EXPECT_THAT(log.debug(), AllOf(Contains("InitShader: Vertex shader create failure"),
                                   Contains("InitShader: Fragment shader create failure"),
                                   Contains("InitShader: Shader program create failure")));
    eglMakeCurrent(UpscalerPeer::display(*context), EGL_NO_SURFACE, EGL_NO_SURFACE,
                   UpscalerPeer::context(*context));
}

}  // namespace
}  // namespace android::test
