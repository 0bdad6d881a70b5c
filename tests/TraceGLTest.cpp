// SPDX-License-Identifier: Apache-2.0
// Every call that the library makes, with its arguments and its log lines, in order.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstring>
#include <optional>

#include "support/expected.h"
#include "support/fixture.h"
#include "support/operations.h"
#include "upscaler/buffer_key.h"
#include "upscaler/shaders/shaders.h"

namespace android::test {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

uint64_t keyOf(const sp<GraphicBuffer>& buffer) {
    return bufferKey(reinterpret_cast<uintptr_t>(buffer->getNativeBuffer()));
}

// Runs with the debug log on and off. Everything that the object does is compared, from its
// construction on.
class TraceGLTest : public LibraryTest, public ::testing::WithParamInterface<bool> {
  protected:
    TraceGLTest() {
        property_set(kLevelProperty, GetParam() ? "21" : "");
        using Named = std::pair<std::string, sp<GraphicBuffer>>;
        for (const auto& [name, buffer] : {Named("src", src), Named("dst", dst)}) {
            words[name + "Width"] = std::to_string(buffer->getWidth());
            words[name + "Height"] = std::to_string(buffer->getHeight());
            const auto native = reinterpret_cast<uintptr_t>(buffer->getNativeBuffer());
            words[name + "Buffer"] = std::to_string(native);
            words[name + "Key"] = std::to_string(keyOf(buffer));
        }
        construct();
    }

    void construct() {
        upscaler.reset();
        trace.clear();
        upscaler.emplace();
        expect(construction());
    }

    // Compares what has been traced since the last time.
    void expect(const Script& script) {
        EXPECT_TRUE(follows(trace, GetParam() ? script : script.quiet(), words));
        trace.clear();
    }

    GlTrace trace;
    Words words;
    std::optional<OwnedUpscaler> upscaler;
};

INSTANTIATE_TEST_SUITE_P(, TraceGLTest, ::testing::Bool(),
                         [](const auto& row) { return row.param ? "Debug" : "Quiet"; });

TEST_P(TraceGLTest, Construction) {
#define ONE(name, text) +1u
    EXPECT_EQ(construction().count("ID = glCreateProgram()"), 0u UPSCALER_FRAGMENT_SHADERS(ONE))
            << "a program, or the list of shaders, lacks one";
#undef ONE
    EXPECT_EQ(log.lines().empty(), !GetParam());
    for (const LogLine& line : log.lines())
        EXPECT_EQ(line.tag, "Upscaler");
}

TEST_P(TraceGLTest, SecondInitOpenGlRepeatsTheQuadAndMakesWhatHasNoName) {
    (*upscaler)->initOpenGL();
    expect(Script("| >> initOpenGL") + quad());
    float vertices[24];
    const void* stored = glMapBufferRange(GL_ARRAY_BUFFER, 0, sizeof(vertices), GL_MAP_READ_BIT);
    ASSERT_NE(stored, nullptr);
    std::memcpy(vertices, stored, sizeof(vertices));
    glUnmapBuffer(GL_ARRAY_BUFFER);
    EXPECT_THAT(vertices, ElementsAre(-1, 1, 0, 1, -1, -1, 0, 0, 1, -1, 1, 0, -1, 1, 0, 1, 1, -1, 1,
                                      0, 1, 1, 1, 1));

    UpscalerPeer::forgetNames(**upscaler);
    (*upscaler)->initOpenGL();
    expect(Script("| >> initOpenGL") + objects() + quad());
}

TEST_P(TraceGLTest, Operations) {
    for (const OperationRow& row : operations()) {
        const ExpectedOperation& expected = expectedOf(row.name);
        construct();
        for (const bool isHit : {false, true}) {
            SCOPED_TRACE(row.name + (isHit ? " on a hit" : " on a miss"));
            ((**upscaler).*row.call)(src, dst, expected.sharpness, &fence);
            EXPECT_EQ(trace.count("atrace_get_enabled_tags"), expected.traceQueries);
            EXPECT_EQ(trace.count("atrace_end_body"), 0u);
            for (const GlCall& call : trace.named("glGetUniformLocation")) {
                // The shader does not read it, but a driver may keep it.
                const bool unread = row.name == "casSharpen" && call.arguments[1] == "\"Const0\"";
                EXPECT_TRUE(unread || call.result != "-1") << call.text();
            }
            expect(expected.script(isHit));
            for (const sp<GraphicBuffer>& buffer : {src, dst})
                EXPECT_EQ(UpscalerPeer::textures(**upscaler).count(keyOf(buffer)), 1u);
        }
    }
}

TEST_P(TraceGLTest, Teardown) {
    (*upscaler)->fsrResize(src, dst, 2.0f, &fence);
    ASSERT_EQ(fence->wait(10000), OK);
    expect(expectedOf("fsrResize").script(false));
    size_t i = 0;
    for (const auto& entry : UpscalerPeer::textures(**upscaler))
        words["cached" + std::to_string(i++)] = std::to_string(entry.second);
    (*upscaler)->clearOpenGLResources();
    expect(clear(true));
    (*upscaler)->clearOpenGLResources();  // Again, with the stale names.
    expect(clear(false));
    (*upscaler)->destroyEGL();
    expect(destroy(true));
    (*upscaler)->destroyEGL();
    expect(destroy(false));
}

TEST_P(TraceGLTest, DestructorAndResizeBufferTouchNothing) {
    auto other = std::make_unique<Upscaler>();
    other->clearOpenGLResources();
    other->destroyEGL();
    trace.clear();
    sp<GraphicBuffer> none;
    other->resizeBuffer(none, none);
    other->resizeBuffer(src, dst);
    EXPECT_THAT(trace.calls(), IsEmpty());
    other.reset();
    expect(Script("| >> ~Upscaler\n| << ~Upscaler"));
}

}  // namespace
}  // namespace android::test
