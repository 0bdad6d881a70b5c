// SPDX-License-Identifier: Apache-2.0
// One thing fails at a time. The tests hold what is logged, what goes on, and what state is left.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <new>
#include <regex>

#include "support/expected.h"
#include "support/fixture.h"
#include "support/operations.h"

static bool gNothrowNewFails = false;

void* operator new[](size_t size, const std::nothrow_t&) noexcept {
    return gNothrowNewFails ? nullptr : ::operator new[](size);
}

namespace android::test {
namespace {

using ::testing::Contains;
using ::testing::Each;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::Not;
using ::testing::SizeIs;

struct Error {
    GLenum code;
    std::string name;
};

const std::vector<Error> kErrors = {
        {GL_INVALID_ENUM, "INVALID_ENUM"},
        {GL_INVALID_VALUE, "INVALID_VALUE"},
        {GL_INVALID_OPERATION, "INVALID_OPERATION"},
        {GL_OUT_OF_MEMORY, "OUT_OF_MEMORY"},
        {0x0506, "unknown error"},
        {0x0777, "unknown error"},
};

template <typename Work>
std::string callNames(Work work) {
    GlTrace trace;
    work();
    return lines(trace.names());
}

// Does the work once for each error after each checked GL call of the script. Expects one line
// about the error, and the same calls as without it.
template <typename Work>
void expectEachCheckReports(const Script& script, const std::vector<Error>& errors, Work work) {
    static const std::regex ofShaders("Shader|Program|Uniform"), number(": [0-9]+: ");
    const std::vector<std::string> checked = script.checkedCalls();
    const std::string undisturbed = callNames(work);
    for (const Error& error : errors) {
        for (size_t i = 0; i < checked.size(); ++i) {
            SCOPED_TRACE(checked[i] + ", " + error.name);
            LogCapture log;
            GlTrace trace;
            trace.fail("glGetError", i, error.code);
            work();
            ASSERT_EQ(lines(trace.names()), undisturbed);
            const bool isOfShader = std::regex_search(checked[i], ofShaders);
            const std::string line =
                    std::string("glGetError failed multimedia/display/upsservice/upscaler/") +
                    (isOfShader ? "gfx/gfx_shader" : "upscaler") + ": LINE: " + checked[i] +
                    " failed: " + error.name + " \n";
            ASSERT_THAT(log.errors(), SizeIs(1));
            ASSERT_EQ(std::regex_replace(log.errors()[0], number, ": LINE: "), line);
        }
    }
    // A check that the script lacks would read this error.
    GlTrace trace;
    trace.fail("glGetError", checked.size(), GL_INVALID_ENUM);
    work();
    EXPECT_TRUE(trace.isStillToFail("glGetError"));
}

const size_t kPrograms = construction().count("ID = glCreateProgram()");

using FaultGLTest = LibraryTest;

// ---- GL, behind each of its calls ----

TEST_F(FaultGLTest, ClientsHaveTheCheckAndTheNamesToo) {
    EXPECT_STREQ(opengl_errno_name(GL_NO_ERROR), "NO_ERROR");
    for (const auto& error : kErrors)
        EXPECT_EQ(opengl_errno_name(error.code), error.name);
    const OwnedUpscaler upscaler;
    GlTrace trace;
    trace.fail("glGetError", 0, GL_OUT_OF_MEMORY);
    opengl_check_error("some/path", 7, "glFlush()");
    opengl_check_error("some/path", 8, "glFinish()");  // No error is left.
    EXPECT_EQ(trace.count("glGetError"), 2u);
    EXPECT_THAT(log.errors(),
                ElementsAre("glGetError failed some/path: 7: glFlush() failed: OUT_OF_MEMORY \n"));
}

// The client's logger gets the whole line or, without memory for it, as much as fits.
TEST_F(FaultGLTest, ClientsMayCheckCallsOfAnyLength) {
    const OwnedUpscaler upscaler;
    for (const size_t length : {511u, 512u, 965u, 966u, 100000u}) {
        const std::string call(length, 'c'), path(10, 'p');
        for (const bool isShort : {false, true}) {
            log.clear();
            GlTrace trace;
            trace.fail("glGetError", 0, GL_OUT_OF_MEMORY);
            gNothrowNewFails = isShort;
            opengl_check_error(path.c_str(), 7, call.c_str());
            gNothrowNewFails = false;
            std::string line =
                    "glGetError failed " + path + ": 7: " + call + " failed: OUT_OF_MEMORY \n";
            if (isShort) line = line.substr(0, 1023);
            EXPECT_THAT(log.errors(), ElementsAre(line)) << length;
        }
    }
}

TEST_F(FaultGLTest, GlInConstruction) {
    expectEachCheckReports(construction(), {{GL_OUT_OF_MEMORY, "OUT_OF_MEMORY"}}, [] {
        Upscaler upscaler;
        upscaler.destroyEGL();
    });
}

// Every kind of call that a construction makes, with every code. One program is enough for that.
TEST_F(FaultGLTest, GlInAProgramAndInTheQuad) {
    OwnedUpscaler upscaler;
    expectEachCheckReports(program("program"), kErrors, [] { GfxShader(kVertex, kFragment); });
    expectEachCheckReports(objects() + quad(), kErrors, [&] {
        UpscalerPeer::forgetNames(*upscaler);
        upscaler->initOpenGL();
    });
}

TEST_F(FaultGLTest, GlInTeardown) {
    OwnedUpscaler upscaler;
    upscaler->fsrResize(src, dst, 0.0f, &fence);
    upscaler->clearOpenGLResources();
    expectEachCheckReports(clear(false), kErrors, [&] { upscaler->clearOpenGLResources(); });
}

TEST_F(FaultGLTest, GlInAProgramThatDoesNotBuild) {
    OwnedUpscaler upscaler;
    GlTrace trace;
    trace.failAlways("glGetError", GL_INVALID_VALUE);
    GfxShader(kBroken, kBroken);
    EXPECT_THAT(log.errors(),
                Contains(HasSubstr(": glGetShaderInfoLog(shader, InfoLogLength, NULL, "
                                   "&VertexShaderErrorMessage[0]) failed: INVALID_VALUE \n"))
                        .Times(2));
    EXPECT_THAT(log.errors(),
                Contains(HasSubstr(": glGetProgramInfoLog(shader, InfoLogLength, NULL, "
                                   "&ProgramErrorMessage[0]) failed: INVALID_VALUE \n")));
}

class OperationFaultGLTest : public LibraryTest,
                             public ::testing::WithParamInterface<OperationRow> {
  protected:
    void call() { ((*upscaler).*GetParam().call)(src, dst, 0.5f, &fence); }

    OwnedUpscaler upscaler;
};

TEST_P(OperationFaultGLTest, Gl) {
    const auto script = expectedOf(GetParam().name).script;
    call();
    expectEachCheckReports(script(true), kErrors, [&] { call(); });
    EXPECT_TRUE(fence->isValid());
    expectEachCheckReports(script(false), {{GL_INVALID_VALUE, "INVALID_VALUE"}}, [&] {
        src = makeBuffer(kSrcWidth, kSrcHeight);
        dst = makeBuffer(kDstWidth, kDstHeight);
        call();
    });
}

// The lines are debug lines. With the debug log off nothing is written, and the caller gets an
// invalid fence.
TEST_P(OperationFaultGLTest, SyncAndDescriptor) {
    constexpr struct {
        const char* fails;
        const char* line;
    } kRows[] = {
            {"eglCreateSyncKHR", "syncForReleaseLocked: error creating EGL fence: 0x3004"},
            {"eglDupNativeFenceFDANDROID",
             "syncForReleaseLocked: error dup'ing native fence fd: 0x3004"},
    };
    call();
    const std::string undisturbed = callNames([&] { call(); });
    for (const auto& row : kRows) {
        SCOPED_TRACE(row.fails);
        log.clear();
        GlTrace trace;
        trace.fail(row.fails);
        fence.clear();
        call();
        ASSERT_NE(fence, nullptr);
        EXPECT_FALSE(fence->isValid());
        EXPECT_THAT(log.lines(), IsEmpty());
        EXPECT_EQ(lines(trace.names()), undisturbed);

        resizeBufferLogLevel = 0x21;
        trace.fail(row.fails);
        trace.failAlways("eglGetError", 0x3004);
        trace.clear();
        call();
        EXPECT_THAT(log.debug(), Contains(row.line));
        EXPECT_THAT(log.errors(), IsEmpty());
        resizeBufferLogLevel = 0;
    }
    // The result of the destroy is not tested.
    GlTrace trace;
    log.clear();
    trace.fail("eglDestroySyncKHR");
    call();
    EXPECT_TRUE(fence->isValid());
    EXPECT_THAT(log.lines(), IsEmpty());
}

TEST_P(OperationFaultGLTest, Images) {
    for (size_t failing = 0; failing < 2; ++failing) {
        OwnedUpscaler fresh;
        log.clear();
        GlTrace trace;
        trace.fail("eglCreateImageKHR", failing);
        ((*fresh).*GetParam().call)(src, dst, 0.5f, &fence);
        EXPECT_EQ(log.errors().at(0), "get_texture: EGL_NO_IMAGE_KHR");
        EXPECT_TRUE(fence->isValid());
        EXPECT_THAT(UpscalerPeer::textures(*fresh), SizeIs(1));
        EXPECT_THAT(UpscalerPeer::images(*fresh), SizeIs(1));
        EXPECT_EQ(trace.count("glDrawArrays"),
                  expectedOf(GetParam().name).script(true).count("glDrawArrays"))
                << "the passes run regardless";
        // The next call tries again.
        log.clear();
        ((*fresh).*GetParam().call)(src, dst, 0.5f, &fence);
        EXPECT_THAT(UpscalerPeer::textures(*fresh), SizeIs(2));
        EXPECT_THAT(log.errors(), IsEmpty());
    }
}

INSTANTIATE_TEST_SUITE_P(All, OperationFaultGLTest, ::testing::ValuesIn(operations()),
                         [](const auto& row) { return row.param.name; });

// ---- EGL ----

TEST_F(FaultGLTest, EglInConstruction) {
    constexpr struct {
        const char* call;
        const char* line;
        bool displayStays;
        bool contextStays;
    } kRows[] = {
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
    for (const auto& row : kRows) {
        SCOPED_TRACE(row.call);
        log.clear();
        GlTrace trace;
        trace.fail(row.call);
        trace.failAlways("eglGetError", 0x3003);
        OwnedUpscaler upscaler;
        EXPECT_EQ(log.errors().at(0), row.line);
        EXPECT_THAT(log.errors(), Not(Contains(HasSubstr("glGetError"))));
        EXPECT_EQ(trace.count("eglGetProcAddress"), 0u) << "it was the last step";
        EXPECT_EQ(UpscalerPeer::display(*upscaler) != EGL_NO_DISPLAY, row.displayStays);
        EXPECT_EQ(UpscalerPeer::context(*upscaler) != EGL_NO_CONTEXT, row.contextStays);
        // Construction has gone on: no shader compiles and no program links.
        EXPECT_EQ(trace.count("glCreateProgram"), kPrograms);
        EXPECT_THAT(log.errors(), SizeIs(1 + kPrograms * 3));

        fence = Fence::NO_FENCE;
        log.clear();
        upscaler->fsrResize(src, dst, 0.0f, &fence);
        EXPECT_THAT(log.errors(),
                    ElementsAre("get_texture: EGL_NO_IMAGE_KHR", "get_texture: EGL_NO_IMAGE_KHR"));
        EXPECT_NE(fence, Fence::NO_FENCE);
        EXPECT_FALSE(fence->isValid());
    }
}

TEST_F(FaultGLTest, AMissingEntryPointFailsLikeItsCall) {
    struct Row {
        const char* missing;
        const char* error;  // for each buffer; null: none
        bool fenceIsValid;
    };
    // In the order in which they are fetched.
    const Row rows[] = {{"glEGLImageTargetTexture2DOES",
                         ": glEGLImageTargetTexture2DOES(texture_target, (GLeglImageOES)eglImage) "
                         "failed: INVALID_OPERATION \n",
                         true},
                        {"eglCreateImageKHR", "get_texture: EGL_NO_IMAGE_KHR", true},
                        {"eglDestroyImageKHR", nullptr, true},
                        {"eglCreateSyncKHR", nullptr, false},
                        {"eglDestroySyncKHR", nullptr, true},
                        {"eglWaitSyncKHR", nullptr, true}};
    for (size_t at = 0; at < std::size(rows); ++at) {
        const Row& row = rows[at];
        SCOPED_TRACE(row.missing);
        log.clear();
        GlTrace trace;
        trace.fail("eglGetProcAddress", at);
        OwnedUpscaler upscaler;
        EXPECT_EQ(trace.named("eglGetProcAddress").at(at).arguments[0],
                  '"' + std::string(row.missing) + '"');
        upscaler->fsrResize(src, dst, 0.0f, &fence);
        // Drawing with textures that have no image can raise errors of its own.
        const std::string error = row.error == nullptr ? "?" : row.error;
        EXPECT_THAT(log.errors(), Contains(HasSubstr(error)).Times(row.error == nullptr ? 0 : 2));
        if (row.error == nullptr) {
            EXPECT_THAT(log.errors(), IsEmpty());
        }
        ASSERT_NE(fence, nullptr);
        EXPECT_EQ(fence->isValid(), row.fenceIsValid);
        EXPECT_EQ(trace.count("eglDupNativeFenceFDANDROID"), 1u);
    }
}

// Each check logs one line, and nothing worse happens. The next object works.
TEST_F(FaultGLTest, TheContextIsLost) {
    for (const OperationRow& row : operations()) {
        SCOPED_TRACE(row.name);
        Upscaler lost;
        (lost.*row.call)(src, dst, 0.5f, &fence);
        log.clear();
        GlTrace trace;
        trace.loseContext();
        (lost.*row.call)(src, dst, 0.5f, &fence);
        ASSERT_NE(fence, nullptr);
        EXPECT_FALSE(fence->isValid());
        EXPECT_EQ(log.errors().size(), trace.count("glGetError")) << "one line for each check";
        EXPECT_THAT(log.errors(), Each(HasSubstr(" failed: unknown error \n")));
        lost.clearOpenGLResources();
        lost.destroyEGL();
        EXPECT_EQ(UpscalerPeer::context(lost), EGL_NO_CONTEXT);
    }
    eglMakeCurrent(eglGetCurrentDisplay(), EGL_NO_SURFACE, EGL_NO_SURFACE, EGL_NO_CONTEXT);
    log.clear();
    OwnedUpscaler next;
    next->fsrResize(src, dst, 0.0f, &fence);
    EXPECT_EQ(fence->wait(10000), NO_ERROR);
    EXPECT_THAT(log.errors(), IsEmpty());
}

// Every shader is refused. Each program logs its lines, and the object can still be called.
TEST_F(FaultGLTest, TheCompilerRefuses) {
    GlTrace trace;
    trace.failAlways("glCompileShader");
    OwnedUpscaler upscaler;
    EXPECT_THAT(log.errors(), SizeIs(kPrograms * 3));
    upscaler->casResize(src, dst, 0.5f, &fence);
    EXPECT_TRUE(fence->isValid());
    EXPECT_EQ(fence->wait(10000), NO_ERROR);
}

TEST_F(FaultGLTest, TeardownAsksForNoResult) {
    for (const char* call : {"eglDestroyImageKHR", "eglMakeCurrent", "eglDestroyContext",
                             "eglTerminate", "eglReleaseThread"}) {
        SCOPED_TRACE(call);
        Upscaler upscaler;
        upscaler.casSharpen(src, dst, 0.5f, &fence);
        ASSERT_EQ(fence->wait(10000), OK);
        log.clear();
        GlTrace trace;
        trace.fail(call);
        upscaler.clearOpenGLResources();
        upscaler.destroyEGL();
        EXPECT_EQ(trace.count("eglDestroyImageKHR"), 2u);
        EXPECT_EQ(trace.count("eglReleaseThread"), 1u);
        EXPECT_EQ(UpscalerPeer::display(upscaler), EGL_NO_DISPLAY);
        EXPECT_EQ(UpscalerPeer::context(upscaler), EGL_NO_CONTEXT);
        EXPECT_THAT(log.lines(), IsEmpty());
    }
}

}  // namespace
}  // namespace android::test
