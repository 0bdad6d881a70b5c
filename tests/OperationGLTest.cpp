// SPDX-License-Identifier: Apache-2.0
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <poll.h>

#include "support/fixture.h"
#include "support/operations.h"

namespace android::test {
namespace {

using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::ElementsAreArray;
using ::testing::IsEmpty;
using ::testing::SizeIs;

class OperationGLTest : public ::testing::TestWithParam<OperationRow> {
  protected:
    void SetUp() override { resizeBufferLogLevel = 0; }
    void TearDown() override { resizeBufferLogLevel = 0; }

    void call(float sharpness = 0.5f) {
        ((*upscaler).*GetParam().call)(src, dst, sharpness, &fence);
    }

    OwnedUpscaler upscaler;
    LogCapture log;
    sp<GraphicBuffer> src = makeBuffer(24, 16);
    sp<GraphicBuffer> dst = makeBuffer(41, 30);
    sp<Fence> fence = Fence::NO_FENCE;
};

TEST_P(OperationGLTest, EmptyBufferIsOneErrorLineAndNothingElse) {
    const std::string line = GetParam().name + ": Invlid srcBuffer or dstBuffer";
    for (sp<GraphicBuffer>* missing : {&src, &dst}) {
        const sp<GraphicBuffer> kept = *missing;
        missing->clear();
        log.clear();
        GlTrace trace;
        call();
        EXPECT_THAT(log.errors(), ElementsAre(line));
        EXPECT_EQ(fence, Fence::NO_FENCE);
        EXPECT_THAT(trace.names(), IsEmpty());
        EXPECT_EQ(trace.count("atrace_get_enabled_tags"), 2u);
        *missing = kept;
    }
    resizeBufferLogLevel = 0x21;
    src.clear();
    log.clear();
    call();
    EXPECT_THAT(log.debug(), ElementsAre(">> " + GetParam().name));
}

TEST_P(OperationGLTest, EveryGlCallIsCheckedWithItsText) {
    call();
    EXPECT_THAT(checkedTexts([&] { call(); }), ElementsAreArray(expectedTexts(GetParam())));
    EXPECT_TRUE(fence->isValid());
}

TEST_P(OperationGLTest, CallsInOrder) {
    call();
    GlTrace trace;
    call();
    EXPECT_THAT(trace.names(), ElementsAreArray(expectedCalls(GetParam())));
    // One check for each GL call, none for the three of EGL.
    EXPECT_EQ(trace.count("glGetError"), trace.names().size() - 3);
    EXPECT_EQ(trace.count("atrace_get_enabled_tags"), GetParam().traceQueries);
    EXPECT_EQ(trace.count("atrace_end_body"), 0u);
    EXPECT_THAT(log.lines(), IsEmpty()) << "quiet with the log level at 0";

    const GlCall sync = trace.named("eglCreateSyncKHR")[0];
    EXPECT_EQ(sync.uintAt(1), 0x3144u);
    EXPECT_EQ(sync.arguments[2], 0u);
    EXPECT_EQ(trace.named("eglDupNativeFenceFDANDROID")[0].arguments[1], sync.result);
    EXPECT_EQ(trace.named("eglDestroySyncKHR")[0].arguments[1], sync.result);
}

TEST_P(OperationGLTest, ProgramsTargetsAndSizesOfEachPass) {
    call();
    GlTrace trace;
    call();
    const auto& passes = GetParam().passes;
    for (size_t i = 0; i < passes.size(); ++i) {
        SCOPED_TRACE(i);
        EXPECT_EQ(trace.named("glUseProgram").at(i).uintAt(0),
                  ((*upscaler).*passes[i].program)->getID());
        const bool atSource = passes[i].size == "src";
        const uint32_t width = (atSource ? src : dst)->getWidth();
        const uint32_t height = (atSource ? src : dst)->getHeight();
        EXPECT_THAT(trace.named("glViewport").at(i).arguments, ElementsAre(0u, 0u, width, height));
        if (passes[i].target != "dstTexture") {
            EXPECT_THAT(trace.named("glTexImage2D").at(i).arguments,
                        ElementsAre(GL_TEXTURE_2D, 0u, GL_RGB, width, height, 0u, GL_RGB,
                                    GL_UNSIGNED_BYTE, 0u));
            const uint64_t name = trace.named("glGenTextures").at(i).result;
            EXPECT_EQ(trace.named("glFramebufferTexture2D").at(i).arguments[3], name);
            // The next pass reads it.
            const auto binds = trace.named("glBindTexture");
            EXPECT_EQ(std::count_if(binds.begin(), binds.end(),
                                    [&](const GlCall& bind) { return bind.arguments[1] == name; }),
                      2);
            EXPECT_EQ(trace.named("glTexParameteri").at(2 * i).uintAt(2),
                      static_cast<uint32_t>(GL_NEAREST));
            EXPECT_EQ(trace.named("glTexParameteri").at(2 * i + 1).uintAt(2),
                      static_cast<uint32_t>(GetParam().magnification == "GL_LINEAR" ? GL_LINEAR
                                                                                    : GL_NEAREST));
        }
    }
    for (const GlCall& clear : trace.named("glClearColor")) {
        for (size_t i = 0; i < 4; ++i)
            EXPECT_EQ(clear.floatAt(i), i < 3 ? 0.1f : 1.0f);
    }
}

TEST_P(OperationGLTest, DebugLinesOfTheFrame) {
    call();
    resizeBufferLogLevel = 0x3F;
    log.clear();
    call(1.25f);
    const std::string& name = GetParam().name;
    std::vector<std::string> lines;
    for (const std::string& line : log.debug()) {
        // The words of imports and of programs have tests of their own.
        if (line.find(name) != std::string::npos) lines.push_back(line);
    }
    EXPECT_THAT(lines, ElementsAre(">> " + name, name + ": sharpness: 1.250000", "<< " + name));
    EXPECT_EQ(log.debug().front(), lines.front());
    EXPECT_EQ(log.debug().back(), lines.back());

    // Directly before the last program is put to use.
    const auto all = log.debug();
    const auto at = std::find(all.begin(), all.end(), name + ": sharpness: 1.250000");
    const GfxShader& last = *((*upscaler).*GetParam().passes.back().program);
    EXPECT_EQ(*(at + 1),
              "use: Start use program of GfxShader, program id: " + std::to_string(last.getID()));

    for (const uint32_t half : {0x20u, 0x01u}) {
        resizeBufferLogLevel = half;
        log.clear();
        call();
        EXPECT_THAT(log.lines(), IsEmpty());
    }
}

TEST_P(OperationGLTest, FenceReplacesTheOldOneAndSignals) {
    sp<Fence> old = new Fence();
    fence = old;
    call();
    EXPECT_NE(fence, old);
    EXPECT_EQ(old->getStrongCount(), 1);
    ASSERT_TRUE(fence->isValid());
    EXPECT_EQ(fence->wait(10000), OK);
    EXPECT_EQ(fence->getStatus(), Fence::Status::Signaled);
}

TEST_P(OperationGLTest, WithoutSyncOrDescriptorTheFenceIsInvalid) {
    struct Row {
        const char* fails;
        const char* line;
    };
    const Row rows[] = {
            {"eglCreateSyncKHR", "syncForReleaseLocked: error creating EGL fence: 0x3004"},
            {"eglDupNativeFenceFDANDROID",
             "syncForReleaseLocked: error dup'ing native fence fd: 0x3004"},
    };
    call();
    for (const Row& row : rows) {
        SCOPED_TRACE(row.fails);
        fence.clear();
        log.clear();
        GlTrace trace;
        trace.failNext(row.fails);
        call();
        ASSERT_NE(fence, nullptr);
        EXPECT_FALSE(fence->isValid());
        EXPECT_THAT(log.lines(), IsEmpty()) << "told at debug level only";
        EXPECT_THAT(trace.names(), ElementsAreArray(expectedCalls(GetParam())))
                << "the frame goes on";

        resizeBufferLogLevel = 0x21;
        trace.failNext(row.fails);
        trace.setEglError(0x3004);
        call();
        EXPECT_THAT(log.debug(), Contains(row.line));
        EXPECT_THAT(log.errors(), IsEmpty());
        resizeBufferLogLevel = 0;
    }
}

INSTANTIATE_TEST_SUITE_P(All, OperationGLTest, ::testing::ValuesIn(operations()),
                         [](const auto& row) { return row.param.name; });

// ---- Uniforms
// -----------------------------------------------------------------------------------------

struct Uniform {
    std::string name;
    int32_t location;
    std::vector<uint32_t> words;
};

std::vector<Uniform> uniformsOf(const GlTrace& trace) {
    std::vector<Uniform> uniforms;
    for (const GlCall& call : trace.calls()) {
        if (call.name == "glGetUniformLocation") {
            uniforms.push_back({call.text, static_cast<int32_t>(call.result), {}});
        } else if (call.name.compare(0, 9, "glUniform") == 0) {
            EXPECT_EQ(call.intAt(0), uniforms.back().location);
            for (size_t i = 1; i < call.arguments.size(); ++i)
                uniforms.back().words.push_back(call.uintAt(i));
        }
    }
    return uniforms;
}

template <typename... Floats>
std::vector<uint32_t> words(Floats... values) {
    std::vector<uint32_t> words;
    for (const float value : {values...}) {
        uint32_t bits;
        std::memcpy(&bits, &value, sizeof(bits));
        words.push_back(bits);
    }
    return words;
}

struct UniformRow {
    const char* operation;
    float sharpness;
    std::vector<Uniform> sent;  // location -1: sent, not read
};

class UniformGLTest : public ::testing::TestWithParam<UniformRow> {};

TEST_P(UniformGLTest, ValuesToTheBit) {
    OwnedUpscaler upscaler;
    sp<GraphicBuffer> src = makeBuffer(24, 16);
    sp<GraphicBuffer> dst = makeBuffer(48, 64);
    sp<Fence> fence;
    GlTrace trace;
    ((*upscaler).*operation(GetParam().operation).call)(src, dst, GetParam().sharpness, &fence);
    const std::vector<Uniform> sent = uniformsOf(trace);
    ASSERT_THAT(sent, SizeIs(GetParam().sent.size()));
    for (size_t i = 0; i < sent.size(); ++i) {
        const Uniform& expected = GetParam().sent[i];
        SCOPED_TRACE(expected.name);
        EXPECT_EQ(sent[i].name, expected.name);
        EXPECT_EQ(sent[i].words, expected.words);
        EXPECT_EQ(sent[i].location == -1, expected.location == -1);
    }
}

const Uniform kSampler = {"screenTexture", 0, {0}};
const Uniform kSizeInfo = {"SizeInfo", 0, words(24.0f, 16.0f, 48.0f, 64.0f)};

std::vector<Uniform> rcas(float scale) {
    return {kSampler, {"sharpness", 0, words(scale)}, kSizeInfo};
}

std::vector<Uniform> casScaling(float peak, uint32_t half) {
    std::vector<uint32_t> const1 = {words(peak)[0], half, words(4.0f)[0], 0};
    return {kSampler,
            kSampler,
            kSizeInfo,
            {"Const0", 0, words(0.5f, 0.25f, -0.25f, -0.375f)},
            {"Const1", 0, const1}};
}

std::vector<Uniform> concat(std::vector<Uniform> first, const std::vector<Uniform>& second) {
    first.insert(first.end(), second.begin(), second.end());
    return first;
}

const UniformRow kUniformRows[] = {
        {"fsrResize", 2.0f,
         concat({kSampler,
                 kSampler,
                 {"vec4_0", 0,
                  words(24.0f * (1.0f / 48.0f), 0.25f, 12.0f * (1.0f / 48.0f) - 0.5f, -0.375f)},
                 {"vec4_1", 0, words(1.0f / 24.0f, 1.0f / 16.0f, 1.0f / 24.0f, -1.0f / 16.0f)},
                 {"vec4_2", 0, words(-1.0f / 24.0f, 2.0f / 16.0f, 1.0f / 24.0f, 2.0f / 16.0f)},
                 {"vec4_3", 0, words(0.0f, 4.0f / 16.0f, 0.0f, 0.0f)},
                 kSizeInfo},
                rcas(0.25f))},
        {"neaResize", -1.0f, concat({kSampler, kSampler}, rcas(2.0f))},
        {"casSharpen",
         1.0f,
         {kSampler,
          kSampler,
          {"SizeInfo", 0, words(48.0f, 64.0f, 48.0f, 64.0f)},
          {"Const0", -1, words(1.0f, 1.0f, 0.0f, 0.0f)},
          {"Const1", 0, {words(-0.125f)[0], 0xB000, words(8.0f)[0], 0}}}},
        {"casResize", 0.0f, casScaling(-0.2f, 0xB266)},
        {"casvUpscale", 9.0f, casScaling(-0.125f, 0xB000)},
        {"casTUpscale", 0.5f, casScaling(-20.0f / 97.5f, 0xB290)},
};

INSTANTIATE_TEST_SUITE_P(All, UniformGLTest, ::testing::ValuesIn(kUniformRows),
                         [](const auto& row) { return std::string(row.param.operation); });

// ---- The fence and the GPU
// ------------------------------------------------------------------------------

TEST(FenceGLTest, TheCallReturnsBeforeTheGpuIsDone) {
    OwnedUpscaler upscaler;
    sp<GraphicBuffer> src = makeBuffer(2048, 2048);
    sp<GraphicBuffer> dst = makeBuffer(4096, 4096);
    sp<Fence> fence;
    fill(src, 0xFF804020);
    upscaler->fsrResize(src, dst, 0.0f, &fence);
    ASSERT_TRUE(fence->isValid());
    EXPECT_EQ(fence->getStatus(), Fence::Status::Unsignaled)
            << "16 million pixels are not drawn that fast";
    ASSERT_EQ(fence->wait(120000), OK);
    pollfd signalled = {fence->get(), POLLIN, 0};
    EXPECT_EQ(poll(&signalled, 1, 0), 1);
    size_t wrong = 0;
    eachPixel(dst, GraphicBuffer::USAGE_SW_READ_OFTEN,
              [&](uint32_t x, uint32_t y, uint32_t& pixel) {
                  if (x > 0 && y > 0 && x < 4095 && y < 4095 && pixel != 0xFF804020) ++wrong;
              });
    EXPECT_EQ(wrong, 0u);
}

// ---- casResize and the texture it does not own
// ----------------------------------------------------------

TEST(StaleTextureGLTest, CasResizeDeletesTheNameThatFsrLeftWhoeverHasItNow) {
    OwnedUpscaler upscaler;
    sp<GraphicBuffer> src = makeBuffer(8, 8);
    sp<GraphicBuffer> dst = makeBuffer(16, 16);
    sp<GraphicBuffer> late = makeBuffer(8, 8);
    sp<Fence> fence;
    uint32_t& stale = (*upscaler).*UpscalerPeer::kTextureColorEasu;
    GlTrace trace;
    upscaler->casResize(src, dst, 0.5f, &fence);
    EXPECT_EQ(trace.named("glDeleteTextures")[0].result, 0u) << "nothing left yet: the name 0";
    upscaler->fsrResize(src, dst, 0.0f, &fence);
    EXPECT_NE(stale, 0u);
    EXPECT_FALSE(glIsTexture(stale));

    // Some drivers give freed names out again (ANGLE), some do not for long (Mesa): here, a buffer
    // imported late has been given the freed name.
    trace.clear();
    upscaler->casSharpen(late, dst, 0.5f, &fence);
    stale = static_cast<uint32_t>(trace.named("glGenTextures")[0].result);
    ASSERT_TRUE(glIsTexture(stale));
    trace.clear();
    upscaler->casResize(src, dst, 0.5f, &fence);
    EXPECT_EQ(trace.named("glDeleteTextures")[0].result, stale);
    EXPECT_FALSE(glIsTexture(stale)) << "the late buffer has lost its texture";

    // The other three never touch it.
    for (const char* name : {"casSharpen", "casvUpscale", "casTUpscale"}) {
        trace.clear();
        ((*upscaler).*operation(name).call)(src, dst, 0.5f, &fence);
        EXPECT_EQ(trace.count("glDeleteTextures"), 1u) << name;
    }
}

}  // namespace
}  // namespace android::test
