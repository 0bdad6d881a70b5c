// SPDX-License-Identifier: Apache-2.0
// The time of each pass alone over that of a copy into a target of the same size. Also the passes
// of fsrResize over the least that any version of it has to do: a copy, twelve bare fetches, five
// bare fetches. Processor time is measured; the drivers' threads take an equal part of it in every
// pass.
#include <benchmark/benchmark.h>

#include <memory>

#include "bench/interleave.h"
#include "upscaler/constants.h"
#include "upscaler/shaders/shaders.h"
#include "upscaler/upscaler.h"

namespace bench {
namespace {

constexpr GLsizei kSrcWidth = 960, kSrcHeight = 540, kDstWidth = 1920, kDstHeight = 1080;

constexpr char kFetchesHead[] = R"glsl(#version 320 es
precision highp float;
precision highp int;
uniform sampler2D screenTexture;
uniform highp vec4 SizeInfo;
in highp vec2 v_TexCoord;
out highp vec4 OutColor;
#define AT(x, y) texelFetch(screenTexture, at + ivec2(x, y), 0).rgb
void main() {
)glsl";

constexpr char kTwelveFetches[] = R"glsl(
    ivec2 at = ivec2(v_TexCoord * SizeInfo.xy - 0.5);
    vec3 sum = AT(0, -1) + AT(1, -1) + AT(-1, 0) + AT(0, 0) + AT(1, 0) + AT(2, 0) +
               AT(-1, 1) + AT(0, 1) + AT(1, 1) + AT(2, 1) + AT(0, 2) + AT(1, 2);
    OutColor = vec4(sum * (1.0 / 12.0), 1.0);
}
)glsl";

constexpr char kFiveFetches[] = R"glsl(
    ivec2 at = ivec2(v_TexCoord * SizeInfo.zw);
    vec3 sum = AT(0, -1) + AT(-1, 0) + AT(0, 0) + AT(1, 0) + AT(0, 1);
    OutColor = vec4(sum * 0.2, 1.0);
}
)glsl";

// The driver's compiler treats both samplers alike, and a 2D texture needs no import.
std::string as2d(std::string text) {
    const std::string external = "samplerExternalOES";
    const size_t at = text.find(external);
    return at == std::string::npos ? text : text.replace(at, external.size(), "sampler2D");
}

GLuint makeTexture(GLsizei width, GLsizei height) {
    std::vector<uint8_t> noise(static_cast<size_t>(width * height * 3));
    uint32_t state = 1;
    for (uint8_t& byte : noise) {
        state = state * 1664525u + 1013904223u;
        byte = static_cast<uint8_t>(state >> 24);
    }
    GLuint texture = 0;
    glGenTextures(1, &texture);
    glBindTexture(GL_TEXTURE_2D, texture);
    glPixelStorei(GL_UNPACK_ALIGNMENT, 1);
    glTexImage2D(GL_TEXTURE_2D, 0, GL_RGB, width, height, 0, GL_RGB, GL_UNSIGNED_BYTE,
                 noise.data());
    glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_MIN_FILTER, GL_NEAREST);
    glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_MAG_FILTER, GL_NEAREST);
    return texture;
}

// The textures that the passes read and write, in the context of an object that is only made for
// it.
class Stage {
  public:
    Stage()
        : mSmall(makeTexture(kSrcWidth, kSrcHeight)), mLarge(makeTexture(kDstWidth, kDstHeight)) {
        for (const bool large : {false, true}) {
            glGenFramebuffers(1, &mTargets[large]);
            glBindFramebuffer(GL_FRAMEBUFFER, mTargets[large]);
            glFramebufferTexture2D(
                    GL_FRAMEBUFFER, GL_COLOR_ATTACHMENT0, GL_TEXTURE_2D,
                    large ? makeTexture(kDstWidth, kDstHeight) : makeTexture(kSrcWidth, kSrcHeight),
                    0);
        }
    }
    ~Stage() {
        mUpscaler->clearOpenGLResources();
        mUpscaler->destroyEGL();
    }

    // A pass of this fragment shader, from the small texture or from the large one.
    std::function<double()> pass(const std::string& fragment, bool fromLarge, bool toLarge = true) {
        const GLuint program = link(as2d(fragment));
        setUniforms(program, fromLarge);
        return [=] {
            glUseProgram(program);
            glBindFramebuffer(GL_FRAMEBUFFER, mTargets[toLarge]);
            glViewport(0, 0, toLarge ? kDstWidth : kSrcWidth, toLarge ? kDstHeight : kSrcHeight);
            glBindTexture(GL_TEXTURE_2D, fromLarge ? mLarge : mSmall);
            return cpuSeconds([] {
                glDrawArrays(GL_TRIANGLES, 0, 6);
                glFinish();
            });
        };
    }

  private:
    static GLuint link(const std::string& fragment) {
        return android::GfxShader(android::kFullScreenVertex, fragment).getID();
    }
    static void setUniforms(GLuint program, bool fromLarge) {
        const auto at = [&](const char* name) { return glGetUniformLocation(program, name); };
        const android::Size out = {static_cast<float>(kDstWidth), static_cast<float>(kDstHeight)};
        const android::Size in = fromLarge ? out
                                           : android::Size{static_cast<float>(kSrcWidth),
                                                           static_cast<float>(kSrcHeight)};
        std::vector<float> con[4] = {std::vector<float>(4), std::vector<float>(4),
                                     std::vector<float>(4), std::vector<float>(4)};
        std::vector<uint32_t> const0(4), const1(4);
        android::setEasuConstants(in, out, con[0], con[1], con[2], con[3]);
        android::setCasConstants(0.5f, {1.0f, 5.0f, 8.0f}, in, out, const0, const1);
        glUseProgram(program);
        for (size_t i = 0; i < 4; ++i)
            glUniform4fv(at(("vec4_" + std::to_string(i)).c_str()), 1, con[i].data());
        glUniform4f(at("SizeInfo"), in.width, in.height, out.width, out.height);
        glUniform1f(at("sharpness"), 0.7f);
        glUniform4uiv(at("Const0"), 1, const0.data());
        glUniform4uiv(at("Const1"), 1, const1.data());
    }

    std::unique_ptr<android::Upscaler> mUpscaler = std::make_unique<android::Upscaler>();
    GLuint mSmall, mLarge;
    GLuint mTargets[2] = {};
};

void passesOverFloor(benchmark::State& state) {
    Stage stage;
    std::vector<Contestant> contestants = {{"", stage.pass(android::kCopy2dFragment, false)}};
    const auto add = [&](const std::string& name, const std::string& fragment) {
        if (name == "copy" || name == "copy2d") return;
        const bool scales = name != "rcas" && name != "casSharpen";
        contestants.push_back({name, stage.pass(fragment, !scales)});
    };
#define ADD(name, text) add(#name, android::text);
    UPSCALER_FRAGMENT_SHADERS(ADD)
#undef ADD
    interleave(state, contestants);
}

void chainsOverFetches(benchmark::State& state) {
    Stage stage;
    const std::string head = kFetchesHead;
    const auto chain = [](std::vector<std::function<double()>> passes) {
        return [=] {
            double sum = 0.0;
            for (const auto& pass : passes)
                sum += pass();
            return sum;
        };
    };
    const auto copy = stage.pass(android::kCopy2dFragment, false, false);
    interleave(state, {
                              {"", chain({copy, stage.pass(head + kTwelveFetches, false),
                                          stage.pass(head + kFiveFetches, true)})},
                              {"fsrResize", chain({copy, stage.pass(android::kEasuFragment, false),
                                                   stage.pass(android::kRcasFragment, true)})},
                              {"casResize",
                               chain({copy, stage.pass(android::casUpscaleFragment(), false)})},
                              {"casTUpscale",
                               chain({copy, stage.pass(android::casTUpscaleFragment(), false)})},
                      });
}

const bool kRegistered = [] {
    for (const auto& [name, run] :
         {std::pair("passes_over_copy/540p_to_1080p", &passesOverFloor),
          std::pair("chain_over_fetches/540p_to_1080p", &chainsOverFetches)}) {
        benchmark::RegisterBenchmark(name, run)->UseManualTime()->Iterations(21)->Unit(
                benchmark::kMillisecond);
    }
    return true;
}();

}  // namespace
}  // namespace bench
