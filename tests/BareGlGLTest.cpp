// SPDX-License-Identifier: Apache-2.0
// The bare GL that the benchmarks compare the library with makes the same calls.
#include "bench/bare_gl.h"

#include <gmock/gmock.h>

#include <set>

#include "support/fixture.h"

namespace android::test {
namespace {

// Each call with its arguments, except object names and addresses.
std::string callsOf(const GlTrace& trace) {
    const std::set<std::string> compared = {"glDisable",       "glUniform1i",  "glUniform1f",
                                            "glUniform4f",     "glUniform4ui", "glTexImage2D",
                                            "glTexParameteri", "glViewport",   "glClearColor",
                                            "glClear",         "glDrawArrays"};
    std::vector<std::string> calls;
    for (const GlCall& call : trace.calls()) {
        if (call.name == "glGetError" || call.name.rfind("atrace", 0) == 0) continue;
        std::string text = call.name;
        // The first argument is a target in these, and an object in others.
        const bool isBind = call.name == "glBindTexture" || call.name == "glBindFramebuffer";
        for (size_t i = 0; i < call.arguments.size(); ++i) {
            const bool isText = std::string("\"{").find(call.arguments[i][0]) != std::string::npos;
            if (compared.count(call.name) != 0 || (isBind && i == 0) || isText)
                text += " " + call.arguments[i];
        }
        calls.push_back(text);
    }
    return lines(calls);
}

TEST(BareGlGLTest, MakesTheLibrarysCalls) {
    OwnedUpscaler upscaler;
    bench::BareGl bare;
    sp<GraphicBuffer> src = makeBuffer(24, 16);
    sp<GraphicBuffer> dst = makeBuffer(48, 64);
    for (const bool imported : {false, true}) {
        sp<Fence> fence;
        std::string expected;
        {
            GlTrace trace;
            upscaler->fsrResize(src, dst, 0.3f, &fence);
            expected = callsOf(trace);
        }
        GlTrace trace;
        fence = sp<Fence>(new Fence(bare.fsrResize(src, dst, 0.3f)));
        EXPECT_EQ(callsOf(trace), expected) << (imported ? "" : "the first call, which imports");
    }
}

}  // namespace
}  // namespace android::test
