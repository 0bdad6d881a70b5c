// SPDX-License-Identifier: Apache-2.0
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <stdexcept>

#include "support/fixture.h"
#include "support/operations.h"

namespace android::test {
namespace {

using ::testing::AllOf;
using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::ElementsAreArray;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::Not;
using ::testing::SizeIs;
using ::testing::StartsWith;

class LifecycleGLTest : public ::testing::Test {
  protected:
    void SetUp() override { setLevel(""); }
    void TearDown() override {
        setLevel("");
        resizeBufferLogLevel = 0;
    }
    static void setLevel(const char* value) { ASSERT_EQ(property_set(kLevelProperty, value), 0); }

    static std::string hex(const void* handle) {
        char text[16];
        snprintf(text, sizeof(text), "0x%x",
                 static_cast<uint32_t>(reinterpret_cast<uintptr_t>(handle)));
        return text;
    }

    LogCapture log;
};

TEST_F(LifecycleGLTest, LevelIsReadFromThePropertyInBase16) {
    struct Row {
        const char* property;
        uint32_t level;
        bool debug;
    };
    const Row rows[] = {{"", 0, false},
                        {"21", 0x21, true},
                        {"0x21", 0x21, true},
                        {"ff", 0xFF, true},
                        {"20", 0x20, false},
                        {"1", 0x01, false},
                        {"1FFFFFFFE", 0xFFFFFFFE, false}};
    for (const Row& row : rows) {
        SCOPED_TRACE(row.property);
        setLevel(row.property);
        log.clear();
        OwnedUpscaler upscaler;
        EXPECT_EQ(resizeBufferLogLevel, row.level);
        EXPECT_EQ(log.debug().empty(), !row.debug);
        EXPECT_THAT(log.errors(), IsEmpty());
    }
}

TEST_F(LifecycleGLTest, BadPropertyIsTheOneErrorThatReachesTheClient) {
    setLevel("zz");
    EXPECT_THROW(Upscaler(), std::invalid_argument);
    setLevel("10000000000000000");
    EXPECT_THROW(Upscaler(), std::out_of_range);
}

TEST_F(LifecycleGLTest, InitEglTellsEachStep) {
    setLevel("21");
    GlTrace trace;
    OwnedUpscaler upscaler;
    const std::string context = hex(UpscalerPeer::context(*upscaler));
    std::vector<std::string> lines = log.debug();
    ASSERT_THAT(lines, SizeIs(::testing::Gt(8u)));
    lines.resize(9);
    EXPECT_THAT(lines,
                ElementsAre(">> Upscaler", ">> initEGL", "initEGL: eglGetDisplay error code=0x3000",
                            "initEGL: eglInitialize error code=0x3000",
                            "initEGL: eglChooseConfig error code=0x3000",
                            "initEGL: create EGL context:" + context + ", error code=0x3000",
                            "initEGL: eglMakeCurrent in create:" + context + ", error code=0x3000",
                            "<< initEGL", ">> initOpenGL"));
    EXPECT_EQ(log.debug().back(), "<< Upscaler");

    std::vector<std::string> fetched;
    for (const GlCall& call : trace.named("eglGetProcAddress"))
        fetched.push_back(call.text);
    EXPECT_THAT(fetched, ElementsAre("glEGLImageTargetTexture2DOES", "eglCreateImageKHR",
                                     "eglDestroyImageKHR", "eglCreateSyncKHR", "eglDestroySyncKHR",
                                     "eglWaitSyncKHR"));
    EXPECT_EQ(trace.named("eglGetDisplay")[0].arguments[0], 0u) << "the default display";
    EXPECT_EQ(trace.named("eglChooseConfig")[0].uintAt(3), 1u) << "room for one config";
    EXPECT_EQ(trace.named("eglCreateContext")[0].arguments[2], 0u) << "nothing is shared";
    EXPECT_EQ(trace.count("eglMakeCurrent"), 1u);
}

TEST_F(LifecycleGLTest, EachFailureOfInitEglIsTheLastStep) {
    struct Row {
        const char* call;
        const char* line;
        bool displayStays;
        bool contextStays;
    };
    const Row rows[] = {
            {"eglGetDisplay", "initEGL: Failed to get EGL display", false, false},
            {"eglInitialize", "initEGL: Failed to initialize EGL, error code=0x3003", true, false},
            {"eglChooseConfig", "initEGL: Failed to choose EGLConfig, error code=0x3003", true,
             false},
            {"eglCreateContext", "initEGL: Failed to create EGL context, error code=0x3003", true,
             false},
            {"eglMakeCurrent",
             "initEGL: Failed to make EGL context and surface current, error code=0x3003", true,
             true},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.call);
        log.clear();
        GlTrace trace;
        trace.failNext(row.call);
        trace.setEglError(0x3003);
        OwnedUpscaler upscaler;
        ASSERT_THAT(log.errors(), Not(IsEmpty()));
        EXPECT_EQ(log.errors()[0], row.line);
        EXPECT_THAT(log.errors(), Not(Contains(HasSubstr("glGetError"))));
        EXPECT_EQ(trace.count("eglGetProcAddress"), 0u);
        EXPECT_EQ(UpscalerPeer::display(*upscaler) != EGL_NO_DISPLAY, row.displayStays);
        EXPECT_EQ(UpscalerPeer::context(*upscaler) != EGL_NO_CONTEXT, row.contextStays);
        // Construction has gone on: nine programs, each with its vertex and fragment shader and
        // link.
        EXPECT_EQ(trace.count("glCreateProgram"), 9u);
        EXPECT_THAT(log.errors(), SizeIs(1 + 9 * 3));

        // An operation on what there is ends in an invalid fence, not in a crash.
        sp<GraphicBuffer> src = makeBuffer(4, 4);
        sp<GraphicBuffer> dst = makeBuffer(8, 8);
        sp<Fence> fence = Fence::NO_FENCE;
        log.clear();
        upscaler->fsrResize(src, dst, 0.0f, &fence);
        EXPECT_THAT(log.errors(),
                    ElementsAre("get_texture: EGL_NO_IMAGE_KHR", "get_texture: EGL_NO_IMAGE_KHR"));
        ASSERT_NE(fence, nullptr);
        EXPECT_NE(fence, Fence::NO_FENCE);
        EXPECT_FALSE(fence->isValid());
    }
}

TEST_F(LifecycleGLTest, InitOpenGlTellsEachProgram) {
    setLevel("21");
    OwnedUpscaler upscaler;
    const auto id = [&](UpscalerPeer::Shader shader) {
        return std::to_string(((*upscaler).*shader)->getID());
    };
    std::vector<std::string> lines;
    bool inside = false;
    for (const std::string& line : log.debug()) {
        inside |= line == ">> initOpenGL";
        const bool fromShader = line.find("GfxShader:") == 0 || line.find("InitShader:") == 0 ||
                                line.find("INFO:") == 0;
        if (inside && !fromShader) lines.push_back(line);
    }
    using Peer = UpscalerPeer;
    const std::string easu =
            "initOpenGL: easu shader program ID in mGfxShaderP: " + id(Peer::kEasuShader);
    EXPECT_THAT(
            lines,
            ElementsAre(
                    ">> initOpenGL", "initOpenGL: start creating copy shader program",
                    "initOpenGL: copy shader program ID in mGfxShaderP: " + id(Peer::kCopyShader),
                    "initOpenGL: upscaler shader program ID in mGfxShaderP: " +
                            id(Peer::kUpscalerShader),
                    "initOpenGL: start creating mRgb2hsvShaderP shader program",
                    "start create mRgb2hsvShaderP",
                    "initOpenGL: start creating easu shader program", easu,
                    "initOpenGL: start creating rcas shader program", easu,
                    "start create mCasUpscaleShaderP",
                    "initOpenGL: shader program ID in mCasUpscaleShaderP: " +
                            id(Peer::kCasUpscaleShader),
                    "start create mCasTUpscaleShaderP",
                    "initOpenGL: shader program ID in mCasTUpscaleShaderP: " +
                            id(Peer::kCasTUpscaleShader),
                    "start create mCasVUpscaleFloatShaderP",
                    "initOpenGL: shader program ID in mCasVUpscaleFloatShaderP: " +
                            id(Peer::kCasVUpscaleShader),
                    "start create mCasSharpenShaderP",
                    "initOpenGL: shader program ID in mCasSharpenShaderP: " +
                            id(Peer::kCasSharpenShader),
                    "initOpenGL: Finished glVertexAttribPointer", "<< initOpenGL", "<< Upscaler"));
}

const std::vector<std::string> kQuadTexts = {
        "glBindVertexArray(mQuadVAO)",
        "glBindBuffer(GL_ARRAY_BUFFER, mQuadVBO)",
        "glBufferData(GL_ARRAY_BUFFER, sizeof(float)*mQuadVertices.size(), mQuadVertices.data(), "
        "GL_STATIC_DRAW)",
        "glEnableVertexAttribArray(0)",
        "glVertexAttribPointer(0, 2, GL_FLOAT, GL_FALSE, 4 * sizeof(float), (void*)0)",
        "glEnableVertexAttribArray(1)",
        "glVertexAttribPointer(1, 2, GL_FLOAT, GL_FALSE, 4 * sizeof(float), (void*)(2 * "
        "sizeof(float)))",
};

TEST_F(LifecycleGLTest, SecondInitOpenGlOnlyRepeatsTheQuad) {
    OwnedUpscaler upscaler;
    EXPECT_THAT(checkedTexts([&] { upscaler->initOpenGL(); }), ElementsAreArray(kQuadTexts));
    GlTrace trace;
    upscaler->initOpenGL();
    EXPECT_THAT(trace.names(), SizeIs(kQuadTexts.size()));
    const GlCall data = trace.named("glBufferData")[0];
    EXPECT_EQ(data.arguments[1], 96u);
    EXPECT_THAT(trace.named("glVertexAttribPointer")[1].arguments,
                ElementsAre(1u, 2u, GL_FLOAT, 0u, 16u, 8u));
    float quad[24];
    const void* stored = glMapBufferRange(GL_ARRAY_BUFFER, 0, sizeof(quad), GL_MAP_READ_BIT);
    ASSERT_NE(stored, nullptr);
    std::memcpy(quad, stored, sizeof(quad));
    glUnmapBuffer(GL_ARRAY_BUFFER);
    EXPECT_THAT(quad, ElementsAre(-1, 1, 0, 1, -1, -1, 0, 0, 1, -1, 1, 0, -1, 1, 0, 1, 1, -1, 1, 0,
                                  1, 1, 1, 1));
}

TEST_F(LifecycleGLTest, InitOpenGlMakesWhatHasNoName) {
    OwnedUpscaler upscaler;
    std::vector<uint32_t> names;
    for (UpscalerPeer::Name name : UpscalerPeer::kMade)
        names.push_back((*upscaler).*name);
    const auto forget = [&] {
        for (UpscalerPeer::Name name : UpscalerPeer::kMade)
            (*upscaler).*name = 0;
    };
    std::vector<std::string> expected = {
            "glGenFramebuffers(1, &mFrameBufferCopy)", "glGenFramebuffers(1, &mFrameBufferEasu)",
            "glGenFramebuffers(1, &mFrameBufferRcas)", "glGenVertexArrays(1, &mQuadVAO)",
            "glGenBuffers(1, &mQuadVBO)"};
    expected.insert(expected.end(), kQuadTexts.begin(), kQuadTexts.end());
    EXPECT_THAT(checkedTexts([&] {
                    forget();
                    upscaler->initOpenGL();
                }),
                ElementsAreArray(expected));
    for (UpscalerPeer::Name name : UpscalerPeer::kMade)
        EXPECT_NE((*upscaler).*name, 0u);
}

TEST_F(LifecycleGLTest, TwoDCopyProgramComesOnlyWithTheCopyProgram) {
    OwnedUpscaler upscaler;
    ((*upscaler).*UpscalerPeer::kUpscalerShader).reset();
    ((*upscaler).*UpscalerPeer::kRcasShader).reset();
    upscaler->initOpenGL();
    EXPECT_EQ((*upscaler).*UpscalerPeer::kUpscalerShader, nullptr);
    EXPECT_NE((*upscaler).*UpscalerPeer::kRcasShader, nullptr);
}

TEST_F(LifecycleGLTest, ClearDeletesAllAndASecondTimeTheStaleNames) {
    OwnedUpscaler upscaler;
    sp<GraphicBuffer> src = makeBuffer(8, 8);
    sp<GraphicBuffer> dst = makeBuffer(16, 16);
    sp<Fence> fence;
    upscaler->fsrResize(src, dst, 0.0f, &fence);
    ASSERT_EQ(fence->wait(10000), OK);
    std::vector<uint64_t> cached;
    for (const auto& entry : UpscalerPeer::textures(*upscaler))
        cached.push_back(entry.second);
    ASSERT_THAT(cached, SizeIs(2));

    const std::vector<std::string> stale = {"glDeleteVertexArrays", "glDeleteBuffers",
                                            "glDeleteTextures",     "glDeleteFramebuffers",
                                            "glDeleteFramebuffers", "glDeleteTextures",
                                            "glDeleteFramebuffers"};
    std::vector<std::string> first = {"glDeleteTextures", "glDeleteTextures", "eglDestroyImageKHR",
                                      "eglDestroyImageKHR"};
    first.insert(first.end(), stale.begin(), stale.end());
    {
        GlTrace trace;
        upscaler->clearOpenGLResources();
        EXPECT_THAT(trace.names(), ElementsAreArray(first));
        EXPECT_EQ(trace.count("glGetError"), stale.size()) << "the cached textures go unchecked";
        const std::vector<GlCall> deleted = trace.named("glDeleteTextures");
        EXPECT_EQ(deleted[0].result, cached[0]);
        EXPECT_EQ(deleted[1].result, cached[1]);
    }
    EXPECT_THAT(UpscalerPeer::textures(*upscaler), IsEmpty());
    EXPECT_THAT(UpscalerPeer::images(*upscaler), IsEmpty());
    EXPECT_THAT(checkedTexts([&] { upscaler->clearOpenGLResources(); }),
                ElementsAre("glDeleteVertexArrays(1, &mQuadVAO)", "glDeleteBuffers(1, &mQuadVBO)",
                            "glDeleteTextures(1, &mTextureColorEasu)",
                            "glDeleteFramebuffers(1, &mFrameBufferEasu)",
                            "glDeleteFramebuffers(1, &mFrameBufferRcas)",
                            "glDeleteTextures(1, &mTextureColorCopy)",
                            "glDeleteFramebuffers(1, &mFrameBufferCopy)"));
    GlTrace trace;
    upscaler->clearOpenGLResources();
    EXPECT_THAT(trace.names(), ElementsAreArray(stale));
    for (const auto* name : {"eglDestroyImageKHR", "glDeleteProgram"})
        EXPECT_EQ(trace.count(name), 0u);
}

TEST_F(LifecycleGLTest, ClearTellsEachImage) {
    OwnedUpscaler upscaler;
    sp<GraphicBuffer> src = makeBuffer(8, 8);
    sp<GraphicBuffer> dst = makeBuffer(8, 8);
    sp<Fence> fence;
    upscaler->casSharpen(src, dst, 0.0f, &fence);
    resizeBufferLogLevel = 0x21;
    upscaler->clearOpenGLResources();
    const std::string image =
            "clearOpenGLResources: EGL Context: " + hex(UpscalerPeer::context(*upscaler)) +
            ", eglDestroyImageKHR error code=0x3000";
    EXPECT_THAT(log.debug(),
                ElementsAre(">> clearOpenGLResources", image, image, "<< clearOpenGLResources"));
}

TEST_F(LifecycleGLTest, DestroyEglReturnsToTheStartAndIsSafeTwice) {
    Upscaler upscaler;
    upscaler.clearOpenGLResources();
    const std::string context = hex(UpscalerPeer::context(upscaler));
    resizeBufferLogLevel = 0x21;
    GlTrace trace;
    log.clear();
    upscaler.destroyEGL();
    EXPECT_THAT(
            log.debug(),
            ElementsAre(">> destroyEGL", "destroyEGL: eglMakeCurrent in destroy error code=0x3000",
                        "destroyEGL: Destroy EGL Context :" + context,
                        "destroyEGL: eglDestroyContext error code=0x3000",
                        "destroyEGL: eglTerminate error code=0x3000",
                        "destroyEGL: eglReleaseThread error code=0x3000", "<< destroyEGL"));
    EXPECT_EQ(UpscalerPeer::display(upscaler), EGL_NO_DISPLAY);
    EXPECT_EQ(UpscalerPeer::context(upscaler), EGL_NO_CONTEXT);
    resizeBufferLogLevel = 0;
    trace.clear();
    upscaler.destroyEGL();
    EXPECT_THAT(trace.names(), ElementsAre("eglReleaseThread"));
}

TEST_F(LifecycleGLTest, DestructorAndResizeBufferTouchNothing) {
    auto upscaler = std::make_unique<Upscaler>();
    upscaler->clearOpenGLResources();
    upscaler->destroyEGL();
    resizeBufferLogLevel = 0x21;
    GlTrace trace;
    log.clear();
    sp<GraphicBuffer> none;
    upscaler->resizeBuffer(none, none);
    EXPECT_THAT(log.lines(), IsEmpty());
    upscaler.reset();
    EXPECT_THAT(trace.calls(), IsEmpty());
    EXPECT_THAT(log.debug(), ElementsAre(">> ~Upscaler", "<< ~Upscaler"));
}

}  // namespace
}  // namespace android::test
