// SPDX-License-Identifier: Apache-2.0
#include "upscaler/shaders/shaders.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <stdlib.h>

#include <algorithm>
#include <fstream>
#include <iterator>
#include <map>
#include <regex>

namespace android {
namespace {

using ::testing::AllOf;
using ::testing::HasSubstr;
using ::testing::StartsWith;

using Lines = std::vector<std::string>;

Lines operator+(Lines lines, const Lines& more) {
    lines.insert(lines.end(), more.begin(), more.end());
    return lines;
}

struct Source {
    std::string name;
    std::string stage;
    std::string text;
};

std::vector<Source> sources() {
#define FRAGMENT(name, text) {#name, "frag", text},
    return {{"fullScreen", "vert", kFullScreenVertex}, UPSCALER_FRAGMENT_SHADERS(FRAGMENT)};
#undef FRAGMENT
}

// The precision qualifiers of each source, in order, with what they qualify.
const std::map<std::string, Lines>& precisions() {
    static const Lines copy = {"precision highp float;", "highp vec4 fragColor",
                               "highp vec2 v_TexCoord"};
    static const Lines fsr = {"precision highp float;", "precision highp int;"};
    static const Lines highp = {"precision highp int;", "precision highp float;"};
    static const Lines cas = {"highp vec4 OutColor",    "highp uvec4 Const0",
                              "highp uvec4 Const1",     "highp vec4 SizeInfo",
                              "highp float ffxAsFloat", "highp vec2 ffxAsFloat"};
    static const Lines position = {"highp vec2 pixelPosition", "highp vec2 floorPixelPosition",
                                   "highp ivec2 finalSamplePosition"};
    static const std::map<std::string, Lines> rows = {
            {"fullScreen", {"highp vec2 v_TexCoord"}},
            {"copy", copy},
            {"copy2d", copy},
            {"rgb2hsv", {"highp vec4 fragColor", "precision highp float;"}},
            {"easu", fsr + Lines{"highp vec4 SizeInfo", "highp vec4 OutColor"}},
            {"rcas",
             fsr + Lines{"highp vec4 SizeInfo", "highp vec2 v_TexCoord", "highp vec4 OutColor"}},
            {"casSharpen", highp + cas},
            {"cas", highp + cas + position},
            {"casv", highp + cas + position},
            {"cast",
             Lines{"precision highp int;", "precision mediump float;", "highp vec2 v_TexCoord"} +
                     cas + position},
    };
    return rows;
}

// Pixels show few of them: a driver may work at a higher precision than it is asked for.
TEST(ShaderSourceTest, Precisions) {
    const std::regex qualifier(R"((precision )?\b(high|medium|low)p \w+( \w+|;))");
    for (const Source& source : sources()) {
        const std::sregex_iterator begin(source.text.begin(), source.text.end(), qualifier), end;
        Lines found;
        std::transform(begin, end, std::back_inserter(found),
                       [](const auto& m) { return m.str(); });
        EXPECT_EQ(found, precisions().at(source.name)) << source.name;
    }
}

// The threshold below which an edge of EASU has no direction, and the alpha that an RGB target
// drops.
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
