// SPDX-License-Identifier: Apache-2.0
// Every call that the library makes, with its arguments and its log lines, in order.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstring>
#include <sstream>

#include "support/fixture.h"
#include "support/operations.h"

namespace android::test {
namespace {

using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

// Each trace is taken twice: as it is, and with the debug lines.
constexpr struct {
    const char* property;
    uint32_t level;
    Lines lines;
} kLevels[] = {{"", 0, Lines::None}, {"21", 0x21, Lines::Expected}};

void expectNoneOf(const GlTrace& trace, std::initializer_list<const char*> names) {
    for (const char* name : names)
        EXPECT_EQ(trace.count(name), 0u) << name;
}

using TraceGLTest = LibraryTest;

TEST_F(TraceGLTest, Construction) {
    for (const auto& level : kLevels) {
        property_set(kLevelProperty, level.property);
        log.clear();
        Words words;
        {
            GlTrace trace;
            OwnedUpscaler upscaler;
            EXPECT_TRUE(follows(trace, scriptOf("include construction"), words, level.lines));
            resizeBufferLogLevel = 0;
        }
        EXPECT_EQ(log.lines().empty(), level.lines == Lines::None);
        for (const LogLine& line : log.lines())
            EXPECT_EQ(line.tag, "Upscaler");
    }
}

TEST_F(TraceGLTest, SecondInitOpenGlRepeatsTheQuadAndMakesWhatHasNoName) {
    OwnedUpscaler upscaler;
    for (const auto& level : kLevels) {
        resizeBufferLogLevel = level.level;
        Words words = wordsOf(*upscaler, src, dst);
        GlTrace trace;
        upscaler->initOpenGL();
        EXPECT_TRUE(follows(trace, scriptOf("| >> initOpenGL\ninclude quad"), words, level.lines));
    }
    resizeBufferLogLevel = 0;
    float quad[24];
    const void* stored = glMapBufferRange(GL_ARRAY_BUFFER, 0, sizeof(quad), GL_MAP_READ_BIT);
    ASSERT_NE(stored, nullptr);
    std::memcpy(quad, stored, sizeof(quad));
    glUnmapBuffer(GL_ARRAY_BUFFER);
    EXPECT_THAT(quad, ElementsAre(-1, 1, 0, 1, -1, -1, 0, 0, 1, -1, 1, 0, -1, 1, 0, 1, 1, -1, 1, 0,
                                  1, 1, 1, 1));

    UpscalerPeer::forgetNames(*upscaler);
    Words words;
    GlTrace trace;
    upscaler->initOpenGL();
    EXPECT_TRUE(follows(trace, scriptOf("include objects\ninclude quad"), words, Lines::None));
}

TEST_F(TraceGLTest, Teardown) {
    for (const auto& level : kLevels) {
        Upscaler upscaler;
        upscaler.fsrResize(src, dst, 0.0f, &fence);
        ASSERT_EQ(fence->wait(10000), OK);
        resizeBufferLogLevel = level.level;
        Words words = wordsOf(upscaler, src, dst);
        GlTrace trace;
        upscaler.clearOpenGLResources();
        EXPECT_TRUE(follows(trace, scriptOf("include clear two=1"), words, level.lines));
        trace.clear();
        upscaler.clearOpenGLResources();
        EXPECT_TRUE(follows(trace, scriptOf("include clear"), words, level.lines))
                << "again, with the stale names";
        trace.clear();
        upscaler.destroyEGL();
        EXPECT_TRUE(follows(trace, scriptOf("include destroy made=1"), words, level.lines));
        trace.clear();
        upscaler.destroyEGL();
        EXPECT_TRUE(follows(trace, scriptOf("include destroy"), words, level.lines));
        expectNoneOf(trace, {"glDeleteProgram", "glFinish"});
        resizeBufferLogLevel = 0;
    }
}

TEST_F(TraceGLTest, DestructorAndResizeBufferTouchNothing) {
    auto upscaler = std::make_unique<Upscaler>();
    upscaler->clearOpenGLResources();
    upscaler->destroyEGL();
    resizeBufferLogLevel = 0x21;
    GlTrace trace;
    sp<GraphicBuffer> none;
    upscaler->resizeBuffer(none, none);
    upscaler->resizeBuffer(src, dst);
    EXPECT_THAT(trace.calls(), IsEmpty());
    upscaler.reset();
    Words words;
    EXPECT_TRUE(follows(trace, scriptOf("| >> ~Upscaler\n| << ~Upscaler"), words, Lines::Expected));
}

TEST_F(TraceGLTest, ABuffersKeyIsLogged) {
    OwnedUpscaler upscaler;
    resizeBufferLogLevel = 0x21;
    upscaler->casSharpen(src, dst, 0.5f, &fence);
    for (const sp<GraphicBuffer>& buffer : {src, dst}) {
        std::ostringstream text;
        text << "get_texture: clientBuffer = " << static_cast<void*>(buffer->getNativeBuffer())
             << ", client buffer to hash=" << bufferKey(buffer);
        EXPECT_THAT(log.debug(), Contains(text.str()));
        EXPECT_EQ(UpscalerPeer::textures(*upscaler).count(bufferKey(buffer)), 1u);
    }
}

class OperationTraceGLTest : public LibraryTest,
                             public ::testing::WithParamInterface<OperationRow> {};

TEST_P(OperationTraceGLTest, OnAMissAndOnAHit) {
    for (const auto& level : kLevels) {
        OwnedUpscaler upscaler;
        for (const Cache cache : {Cache::Miss, Cache::Hit}) {
            SCOPED_TRACE(cache == Cache::Miss ? "miss" : "hit");
            resizeBufferLogLevel = level.level;
            log.clear();
            Words words = wordsOf(*upscaler, src, dst);
            GlTrace trace;
            ((*upscaler).*GetParam().call)(src, dst, GetParam().sharpness, &fence);
            EXPECT_TRUE(follows(trace, operationScript(GetParam(), cache), words, level.lines));
            EXPECT_EQ(trace.count("atrace_get_enabled_tags"), GetParam().traceQueries);
            expectNoneOf(trace, {"atrace_end_body", "glFinish", "glClientWaitSync",
                                 "eglMakeCurrent", "glActiveTexture"});
            EXPECT_EQ(log.lines().empty(), level.lines == Lines::None);
            resizeBufferLogLevel = 0;
        }
    }
}

INSTANTIATE_TEST_SUITE_P(All, OperationTraceGLTest, ::testing::ValuesIn(operations()),
                         [](const auto& row) { return row.param.name; });

TEST_F(TraceGLTest, ShadersReadAllThatIsSentButForOneUniform) {
    OwnedUpscaler upscaler;
    const Words words = wordsOf(*upscaler, src, dst);
    for (const OperationRow& row : operations()) {
        std::string program;
        for (const Step& step : operationScript(row, Cache::Hit)) {
            if (step.kind == Step::Let && step.text == "ID") program = step.argument;
            // Not read, but a driver may keep it.
            const bool unread = program == "mCasSharpenShaderP" && step.argument == "Const0";
            if (step.text.find("glGetUniformLocation(") == std::string::npos || unread) continue;
            EXPECT_NE(glGetUniformLocation(static_cast<GLuint>(words.at(program)),
                                           step.argument.c_str()),
                      -1)
                    << program << " " << step.argument;
        }
    }
}

}  // namespace
}  // namespace android::test
