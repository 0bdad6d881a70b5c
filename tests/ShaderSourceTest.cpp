// SPDX-License-Identifier: Apache-2.0
#include "upscaler/shaders/shaders.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <stdlib.h>

#include <fstream>

namespace android {
namespace {

using ::testing::HasSubstr;
using ::testing::Not;
using ::testing::StartsWith;

// What pixels cannot tell: precisions, where an edge of EASU ends to have a direction, and the
// alpha that an RGB target drops.
struct Source {
    const char* name;
    const char* stage;
    std::string text;
    std::vector<const char*> parts;
};

std::vector<Source> sources() {
    const char* const kHigh = "precision highp float;";
    return {
            {"FullScreen", "vert", kFullScreenVertex, {"out highp vec2 v_TexCoord;"}},
            {"CopyExternal", "frag", kCopyExternalFragment, {kHigh}},
            {"Copy2d", "frag", kCopy2dFragment, {kHigh}},
            {"Rgb2hsv", "frag", kRgb2hsvFragment, {kHigh}},
            {"Easu",
             "frag",
             kEasuFragment,
             {kHigh, "dirR < 1.0 / 32768.0;", "vec4(Gamma2Color, 1.0)"}},
            {"Rcas", "frag", kRcasFragment, {kHigh, "uniform highp vec4 SizeInfo;"}},
            {"CasSharpen", "frag", casSharpenFragment(), {kHigh, "in vec2 v_TexCoord;"}},
            {"CasUpscale", "frag", casUpscaleFragment(), {kHigh, "in vec2 v_TexCoord;"}},
            {"CasVUpscale", "frag", casVUpscaleFragment(), {kHigh, "in vec2 v_TexCoord;"}},
            {"CasTUpscale",
             "frag",
             casTUpscaleFragment(),
             {"precision mediump float;", "in highp vec2 v_TexCoord;", "highp vec2 pixelPosition",
              "highp ivec2 finalSamplePosition"}},
    };
}

TEST(ShaderSourceTest, ValidatorTakesEachAsGlslEs320) {
    for (const Source& source : sources()) {
        SCOPED_TRACE(source.name);
        EXPECT_THAT(source.text, StartsWith("#version 320 es\n"));
        for (const char* part : source.parts)
            EXPECT_THAT(source.text, HasSubstr(part));
        EXPECT_THAT(source.text, Not(HasSubstr("$"))) << "a placeholder was left";
        const std::string path = ::testing::TempDir() + source.name + "." + source.stage;
        std::ofstream(path) << source.text;
        EXPECT_EQ(system((std::string(GLSLANG_VALIDATOR) + " " + path).c_str()), 0);
    }
}

}  // namespace
}  // namespace android
