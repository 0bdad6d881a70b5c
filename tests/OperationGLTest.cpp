// SPDX-License-Identifier: Apache-2.0
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <poll.h>

#include <cmath>

#include "support/expected.h"
#include "support/fixture.h"
#include "support/operations.h"

namespace android::test {
namespace {

using ::testing::AllOf;
using ::testing::Each;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::SizeIs;
using ::testing::StartsWith;

class OperationGLTest : public LibraryTest, public ::testing::WithParamInterface<OperationRow> {
  protected:
    void call() { ((*upscaler).*GetParam().call)(src, dst, 0.5f, &fence); }

    OwnedUpscaler upscaler;
};

TEST_P(OperationGLTest, EmptyBufferIsOneErrorLineAndNothingElse) {
    for (const uint32_t level : {0u, 0x21u}) {
        resizeBufferLogLevel = level;
        for (sp<GraphicBuffer>* missing : {&src, &dst}) {
            const sp<GraphicBuffer> kept = *missing;
            missing->clear();
            log.clear();
            GlTrace trace;
            call();
            EXPECT_THAT(log.errors(),
                        ElementsAre(GetParam().name + ": Invlid srcBuffer or dstBuffer"));
            EXPECT_EQ(log.debug(), level == 0 ? std::vector<std::string>()
                                              : std::vector{">> " + GetParam().name});
            EXPECT_EQ(fence, Fence::NO_FENCE);
            EXPECT_THAT(trace.names(), IsEmpty());
            EXPECT_EQ(trace.count("atrace_get_enabled_tags"), 2u);
            *missing = kept;
        }
    }
}

// The constants of a pass are computed after the line about the sharpness and before glUseProgram.
// None of them is exact for these sizes and this sharpness.
TEST_P(OperationGLTest, ConstantsComeBeforeTheProgram) {
    call();
    for (const auto& [level, next] : {std::pair(0u, "glUseProgram("), {0x21u, "log(use: Start "}}) {
        resizeBufferLogLevel = level;
        GlTrace trace;
        call();
        std::vector<std::string> following;
        size_t passesWithConstants = 0;
        for (const GlCall& made : trace.calls()) {
            if (made.followsArithmetic) following.push_back(made.text());
            const bool names = made.name == "glGetUniformLocation";
            if (names && made.arguments[1] == "\"SizeInfo\"") ++passesWithConstants;
        }
        EXPECT_THAT(following, AllOf(SizeIs(passesWithConstants), Each(StartsWith(next))));
    }
}

// A NaN passes every clamp. The sharpening weight is then not a number either, and its
// half-precision word is the largest finite one.
TEST_P(OperationGLTest, SharpnessThatIsNotANumberReachesTheShader) {
    GlTrace trace;
    ((*upscaler).*GetParam().call)(src, dst, std::nanf(""), &fence);
    const std::vector<GlCall> scales = trace.named("glUniform1f");
    const std::vector<GlCall> constants = trace.named("glUniform4ui");
    ASSERT_EQ(scales.size() + constants.size() / 2, 1u) << "RCAS's scale, or Const0 and Const1";
    if (!scales.empty()) {
        EXPECT_TRUE(std::isnan(std::stof(scales[0].arguments[1])));
        return;
    }
    const auto word = [&](size_t i) { return std::stoul(constants[1].arguments[1 + i]); };
    EXPECT_GT(word(0) & 0x7FFFFFFF, 0x7F800000u);
    EXPECT_EQ(word(1) & 0xFFFF7FFF, 0x7BFFu);
}

INSTANTIATE_TEST_SUITE_P(All, OperationGLTest, ::testing::ValuesIn(operations()),
                         [](const auto& row) { return row.param.name; });

// ---- The fence and the GPU ----

// Large enough that a fence which signals too early shows on most machines; on a faster one the
// test sees less, but does not fail. TraceGLTest holds that no call waits for the GPU.
TEST(FenceGLTest, SignalsWhenThePictureIsDrawn) {
    OwnedUpscaler upscaler;
    sp<GraphicBuffer> src = makeBuffer(2048, 2048);
    sp<GraphicBuffer> dst = makeBuffer(4096, 4096);
    sp<Fence> fence;
    fill(src, 0xFF804020);
    upscaler->fsrResize(src, dst, 0.0f, &fence);
    ASSERT_TRUE(fence->isValid());
    ASSERT_EQ(fence->wait(120000), OK);
    pollfd signalled = {fence->get(), POLLIN, 0};
    EXPECT_EQ(poll(&signalled, 1, 0), 1);
    size_t wrong = 0;
    eachPixel(dst, kRead, [&](uint32_t x, uint32_t y, uint32_t pixel) {
        if (x > 0 && y > 0 && x < 4095 && y < 4095 && pixel != 0xFF804020) ++wrong;
    });
    EXPECT_EQ(wrong, 0u);
}

// ---- casResize and the texture it does not own ----

TEST(StaleTextureGLTest, CasResizeDeletesTheNameThatFsrLeftWhoeverHasItNow) {
    OwnedUpscaler upscaler;
    sp<GraphicBuffer> src = makeBuffer(8, 8);
    sp<GraphicBuffer> dst = makeBuffer(16, 16);
    sp<GraphicBuffer> late = makeBuffer(8, 8);
    sp<Fence> fence;
    uint32_t& stale = UpscalerPeer::textureColorEasu(*upscaler);
    GlTrace trace;
    upscaler->casResize(src, dst, 0.5f, &fence);
    EXPECT_EQ(trace.named("glDeleteTextures")[0].arguments[1], "0") << "nothing left yet";
    upscaler->fsrResize(src, dst, 0.0f, &fence);
    EXPECT_NE(stale, 0u);
    EXPECT_FALSE(glIsTexture(stale));

    // Some drivers soon give a freed name out again (ANGLE), others do not for a long time (Mesa).
    // The test makes it happen: a buffer that is imported late gets the freed name.
    trace.clear();
    upscaler->casSharpen(late, dst, 0.5f, &fence);
    stale = static_cast<uint32_t>(std::stoul(trace.named("glGenTextures")[0].arguments[1]));
    ASSERT_TRUE(glIsTexture(stale));
    trace.clear();
    upscaler->casResize(src, dst, 0.5f, &fence);
    EXPECT_EQ(trace.named("glDeleteTextures")[0].arguments[1], std::to_string(stale));
    EXPECT_FALSE(glIsTexture(stale)) << "the late buffer has lost its texture";

    // The other operations leave the name alone.
    for (const OperationRow& row : operations()) {
        const Script script = expectedOf(row.name).script(true);
        if (script.count("glDeleteTextures(1, &mTextureColorEasu)") != 0) continue;
        trace.clear();
        ((*upscaler).*row.call)(src, dst, 0.5f, &fence);
        EXPECT_EQ(trace.count("glDeleteTextures"), 1u) << row.name;
    }
}

}  // namespace
}  // namespace android::test
