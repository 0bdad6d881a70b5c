// SPDX-License-Identifier: Apache-2.0
#include "upscaler/shaders/shaders.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <stdlib.h>

#include <algorithm>
#include <fstream>
#include <iterator>
#include <regex>

namespace android {
namespace {

using ::testing::AllOf;
using ::testing::HasSubstr;
using ::testing::StartsWith;

struct Source {
    const char* name;
    const char* stage;
    std::string text;
    // Each precision qualifier with what it stands at, in order.
    std::vector<std::string> precisions;
};

using Lines = std::vector<std::string>;

Lines operator+(Lines lines, const Lines& more) {
    lines.insert(lines.end(), more.begin(), more.end());
    return lines;
}

std::vector<Source> sources() {
    const Lines copy = {"precision highp float;", "highp vec4 fragColor", "highp vec2 v_TexCoord"};
    const Lines fsr = {"precision highp float;", "precision highp int;"};
    const Lines highp = {"precision highp int;", "precision highp float;"};
    const Lines cas = {"highp vec4 OutColor", "highp uvec4 Const0",     "highp uvec4 Const1",
                       "highp vec4 SizeInfo", "highp float ffxAsFloat", "highp vec2 ffxAsFloat"};
    const Lines position = {"highp vec2 pixelPosition", "highp vec2 floorPixelPosition",
                            "highp ivec2 finalSamplePosition"};
    return {
            {"FullScreen", "vert", kFullScreenVertex, {"highp vec2 v_TexCoord"}},
            {"CopyExternal", "frag", kCopyExternalFragment, copy},
            {"Copy2d", "frag", kCopy2dFragment, copy},
            {"Rgb2hsv",
             "frag",
             kRgb2hsvFragment,
             {"highp vec4 fragColor", "precision highp float;"}},
            {"Easu", "frag", kEasuFragment,
             fsr + Lines{"highp vec4 SizeInfo", "highp vec4 OutColor"}},
            {"Rcas", "frag", kRcasFragment,
             fsr + Lines{"highp vec4 SizeInfo", "highp vec2 v_TexCoord", "highp vec4 OutColor"}},
            {"CasSharpen", "frag", casSharpenFragment(), highp + cas},
            {"CasUpscale", "frag", casUpscaleFragment(), highp + cas + position},
            {"CasVUpscale", "frag", casVUpscaleFragment(), highp + cas + position},
            {"CasTUpscale", "frag", casTUpscaleFragment(),
             Lines{"precision highp int;", "precision mediump float;", "highp vec2 v_TexCoord"} +
                     cas + position},
    };
}

// Few of them can be told from the pixels: a driver is free to work at a higher precision.
TEST(ShaderSourceTest, Precisions) {
    const std::regex qualifier(R"((precision )?\b(high|medium|low)p \w+( \w+|;))");
    for (const Source& source : sources()) {
        const std::sregex_iterator begin(source.text.begin(), source.text.end(), qualifier), end;
        Lines found;
        std::transform(begin, end, std::back_inserter(found),
                       [](const auto& m) { return m.str(); });
        EXPECT_EQ(found, source.precisions) << source.name;
    }
}

// Where an edge of EASU ends to have a direction, and the alpha that an RGB target drops.
TEST(ShaderSourceTest, PartsThatPixelsCannotTell) {
    EXPECT_THAT(kEasuFragment,
                AllOf(HasSubstr("dirR < 1.0 / 32768.0;"), HasSubstr("vec4(Gamma2Color, 1.0)")));
}

TEST(ShaderSourceTest, ValidatorTakesEachAsGlslEs320) {
    for (const Source& source : sources()) {
        SCOPED_TRACE(source.name);
        EXPECT_THAT(source.text, StartsWith("#version 320 es\n"));
        const std::string path = ::testing::TempDir() + source.name + "." + source.stage;
        std::ofstream(path) << source.text;
        EXPECT_EQ(system((std::string(GLSLANG_VALIDATOR) + " " + path).c_str()), 0);
    }
}

}  // namespace
}  // namespace android
