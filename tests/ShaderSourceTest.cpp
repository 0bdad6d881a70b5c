// SPDX-License-Identifier: Apache-2.0
#include "upscaler/shaders/shaders.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <stdlib.h>

#include <fstream>
#include <functional>

namespace android {
namespace {

using ::testing::HasSubstr;
using ::testing::Not;
using ::testing::StartsWith;

struct Source {
    const char* name;
    const char* stage;
    std::function<std::string()> text;
    std::vector<const char*> declares;
};

const Source kSources[] = {
        {"FullScreen",
         "vert",
         [] { return std::string(kFullScreenVertex); },
         {"out highp vec2 v_TexCoord;"}},
        {"CopyExternal",
         "frag",
         [] { return std::string(kCopyExternalFragment); },
         {"uniform samplerExternalOES screenTexture;", "precision highp float;"}},
        {"Copy2d",
         "frag",
         [] { return std::string(kCopy2dFragment); },
         {"uniform sampler2D screenTexture;", "precision highp float;"}},
        {"Rgb2hsv",
         "frag",
         [] { return std::string(kRgb2hsvFragment); },
         {"uniform samplerExternalOES screenTexture;", "vec3 rgb2hsv(vec3 c)"}},
        {"Easu",
         "frag",
         [] { return std::string(kEasuFragment); },
         // The last two are what pixels cannot tell: where an edge ends to have a direction, and
         // the alpha that an RGB target drops.
         {"uniform sampler2D screenTexture;", "uniform vec4 vec4_0;", "uniform vec4 vec4_3;",
          "uniform highp vec4 SizeInfo;", "dirR < 1.0 / 32768.0;", "vec4(Gamma2Color, 1.0)"}},
        {"Rcas",
         "frag",
         [] { return std::string(kRcasFragment); },
         {"uniform sampler2D screenTexture;", "uniform float sharpness;",
          "uniform highp vec4 SizeInfo;"}},
        {"CasSharpen",
         "frag",
         casSharpenFragment,
         {"precision highp float;", "in vec2 v_TexCoord;", "casFilterNoScaling"}},
        {"CasUpscale",
         "frag",
         casUpscaleFragment,
         {"precision highp float;", "in vec2 v_TexCoord;", "minimumGreen"}},
        {"CasVUpscale",
         "frag",
         casVUpscaleFragment,
         {"precision highp float;", "in vec2 v_TexCoord;", "hsv2rgb", "rcpWB"}},
        {"CasTUpscale",
         "frag",
         casTUpscaleFragment,
         {"precision mediump float;", "in highp vec2 v_TexCoord;", "highp vec2 pixelPosition",
          "highp ivec2 finalSamplePosition"}},
};

class ShaderSourceTest : public ::testing::TestWithParam<Source> {};

TEST_P(ShaderSourceTest, ValidatorTakesItAsGlslEs320) {
    const Source& source = GetParam();
    const std::string text = source.text();
    EXPECT_THAT(text, StartsWith("#version 320 es\n"));
    for (const char* declaration : source.declares)
        EXPECT_THAT(text, HasSubstr(declaration));
    EXPECT_THAT(text, Not(HasSubstr("$"))) << "a placeholder was left";

    const std::string path = ::testing::TempDir() + source.name + "." + source.stage;
    std::ofstream(path) << text;
    const std::string command = std::string(GLSLANG_VALIDATOR) + " " + path;
    EXPECT_EQ(system(command.c_str()), 0) << text;
}

INSTANTIATE_TEST_SUITE_P(All, ShaderSourceTest, ::testing::ValuesIn(kSources),
                         [](const auto& row) { return row.param.name; });

TEST(ShaderSourceTest, CasFamilySharesItsHelpersToTheLetter) {
    const auto shared = [](const std::string& text) {
        const size_t begin = text.find("out highp vec4 OutColor;");
        const size_t end = text.find("vec4 ffxSaturate(vec4 v)");
        return text.substr(begin, end - begin);
    };
    const std::string expected = shared(casSharpenFragment());
    EXPECT_THAT(expected, HasSubstr("uniform highp uvec4 Const0;\nuniform highp uvec4 Const1;\n"
                                    "uniform sampler2D screenTexture;\n"));
    EXPECT_EQ(shared(casUpscaleFragment()), expected);
    EXPECT_EQ(shared(casVUpscaleFragment()), expected);
    EXPECT_EQ(shared(casTUpscaleFragment()), expected);
}

}  // namespace
}  // namespace android
