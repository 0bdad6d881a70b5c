// SPDX-License-Identifier: Apache-2.0
// AMD FidelityFX Contrast Adaptive Sharpening: one filter without scaling and three with.
//
// The four sources are put together from the texts below. Where a text serves both the green and
// the value channel, "$C" stands for the letter in its names and "$c" for the swizzle.
#include <string>
#include <utility>

#include "upscaler/shaders/glsl.h"
#include "upscaler/shaders/shaders.h"

namespace android {
namespace {

std::string replaceAll(std::string text, const std::string& placeholder, const std::string& with) {
    for (size_t at = 0; (at = text.find(placeholder, at)) != std::string::npos; at += with.size())
        text.replace(at, placeholder.size(), with);
    return text;
}

std::string onChannel(const char* text, const char* letter, const char* swizzle) {
    return replaceAll(replaceAll(text, "$C", letter), "$c", swizzle);
}

constexpr char kHighpHead[] = GLSL_VERSION R"glsl(
precision highp int;
precision highp float;
in vec2 v_TexCoord;
)glsl";

constexpr char kMediumpHead[] = GLSL_VERSION R"glsl(
precision highp int;
precision mediump float;
in highp vec2 v_TexCoord;
)glsl";

// The approximations are the published bit tricks, not to be replaced by sqrt or a division.
constexpr char kShared[] = R"glsl(
out highp vec4 OutColor;
uniform highp uvec4 Const0;
uniform highp uvec4 Const1;
uniform sampler2D screenTexture;
uniform highp vec4 SizeInfo;  // [input_width, input_height, output_width, output_height]

vec2 ffxBroadcast2(float value) { return vec2(value, value); }
vec3 ffxBroadcast3(float value) { return vec3(value, value, value); }
vec4 ffxBroadcast4(float value) { return vec4(value, value, value, value); }

// Not clamped: outside the picture, what the driver returns is used.
vec3 casLoad(ivec2 position) { return texelFetch(screenTexture, position, 0).rgb; }

float ffxMin3(float x, float y, float z) { return min(x, min(y, z)); }
float ffxMax3(float x, float y, float z) { return max(x, max(y, z)); }
float ffxMin(float x, float y) { return min(x, y); }

// High precision in the medium variant too, where the pixel position is made of them.
highp float ffxAsFloat(uint v) { return uintBitsToFloat(v); }
highp vec2 ffxAsFloat(uvec2 v) { return uintBitsToFloat(v); }
uint ffxAsUInt32(float v) { return floatBitsToUint(v); }

float ffxApproximateSqrt(float v) { return ffxAsFloat((ffxAsUInt32(v) >> 1u) + 0x1fbc4639u); }
float ffxApproximateReciprocal(float v) { return ffxAsFloat(0x7ef07ebbu - ffxAsUInt32(v)); }
float ffxApproximateReciprocalMedium(float v) {
    float b = ffxAsFloat(0x7ef19fffu - ffxAsUInt32(v));
    return b * (-b * v + 2.0);
}

float ffxSaturate(float v) { return clamp(v, 0.0, 1.0); }
vec2 ffxSaturate(vec2 v) { return clamp(v, 0.0, 1.0); }
vec3 ffxSaturate(vec3 v) { return clamp(v, 0.0, 1.0); }
vec4 ffxSaturate(vec4 v) { return clamp(v, 0.0, 1.0); }
)glsl";

// Red and blue amplitudes are worked out and left unused: the green weight serves all channels.
constexpr char kFilterNoScaling[] = R"glsl(
//     b
//   d e f
//     h
void casFilterNoScaling(out float pixR, out float pixG, out float pixB, uvec2 samplePosition,
                        uvec4 const0, uvec4 const1) {
    ivec2 position = ivec2(samplePosition);
    vec3 b = casLoad(position + ivec2(0, -1));
    vec3 d = casLoad(position + ivec2(-1, 0));
    vec3 e = casLoad(position);
    vec3 f = casLoad(position + ivec2(1, 0));
    vec3 h = casLoad(position + ivec2(0, 1));

    float fG = max(f.g, 0.0);  // See glsl.h.
    float hG = max(h.g, 0.0);
    float minimumRed = ffxMin3(ffxMin3(d.r, e.r, f.r), b.r, h.r);
    float minimumGreen = ffxMin3(ffxMin3(d.g, e.g, fG), b.g, hG);
    float minimumBlue = ffxMin3(ffxMin3(d.b, e.b, f.b), b.b, h.b);
    float maximumRed = ffxMax3(ffxMax3(d.r, e.r, f.r), b.r, h.r);
    float maximumGreen = ffxMax3(ffxMax3(d.g, e.g, fG), b.g, hG);
    float maximumBlue = ffxMax3(ffxMax3(d.b, e.b, f.b), b.b, h.b);

    float amplifyRed = ffxSaturate(ffxMin(minimumRed, 1.0 - maximumRed) * ffxApproximateReciprocal(maximumRed));
    float amplifyGreen = ffxSaturate(ffxMin(minimumGreen, 1.0 - maximumGreen) * ffxApproximateReciprocal(maximumGreen));
    float amplifyBlue = ffxSaturate(ffxMin(minimumBlue, 1.0 - maximumBlue) * ffxApproximateReciprocal(maximumBlue));
    amplifyRed = ffxApproximateSqrt(amplifyRed);
    amplifyGreen = ffxApproximateSqrt(amplifyGreen);
    amplifyBlue = ffxApproximateSqrt(amplifyBlue);

    float peak = ffxAsFloat(const1.x);
    vec3 weight = vec3(amplifyRed * peak, amplifyGreen * peak, amplifyBlue * peak);

    float reciprocalWeight = ffxApproximateReciprocalMedium(1.0 + 4.0 * weight.g);
    pixR = ffxSaturate((b.r * weight.g + d.r * weight.g + f.r * weight.g + h.r * weight.g + e.r) * reciprocalWeight);
    pixG = ffxSaturate((b.g * weight.g + d.g * weight.g + f.g * weight.g + h.g * weight.g + e.g) * reciprocalWeight);
    pixB = ffxSaturate((b.b * weight.g + d.b * weight.g + f.b * weight.g + h.b * weight.g + e.b) * reciprocalWeight);
}
)glsl";

constexpr char kScalingHeadRgb[] = R"glsl(
#define thinB 0.03125

void casFilterWithScaling(out float pixR, out float pixG, out float pixB, uvec2 samplePosition,
                          uvec4 const0, uvec4 const1) {)glsl";

constexpr char kScalingHeadValue[] = R"glsl(
#define thinB 0.03125

void casFilterWithScaling(out float pixB, uvec2 samplePosition, uvec4 const0, uvec4 const1) {)glsl";

// The position is high precision in every variant: in the medium one it has to say so.
constexpr char kScalingPosition[] = R"glsl(
    highp vec2 pixelPosition = vec2(samplePosition) * ffxAsFloat(const0.xy) + ffxAsFloat(const0.zw);
    highp vec2 floorPixelPosition = floor(pixelPosition);
    pixelPosition -= floorPixelPosition;
    highp ivec2 finalSamplePosition = ivec2(floorPixelPosition);

    //     b c
    //   e f g h
    //   i j k l
    //     n o
    vec3 b = casLoad(finalSamplePosition + ivec2(0, -1));
    vec3 c = casLoad(finalSamplePosition + ivec2(1, -1));
    vec3 f = casLoad(finalSamplePosition);
    vec3 g = casLoad(finalSamplePosition + ivec2(1, 0));
    vec3 i = casLoad(finalSamplePosition + ivec2(-1, 1));
    vec3 j = casLoad(finalSamplePosition + ivec2(0, 1));
    vec3 k = casLoad(finalSamplePosition + ivec2(1, 1));
    vec3 l = casLoad(finalSamplePosition + ivec2(2, 1));
)glsl";

constexpr char kTapsOf12[] = R"glsl(
    vec3 e = casLoad(finalSamplePosition + ivec2(-1, 0));
    vec3 h = casLoad(finalSamplePosition + ivec2(2, 0));
    vec3 n = casLoad(finalSamplePosition + ivec2(0, 2));
    vec3 o = casLoad(finalSamplePosition + ivec2(1, 2));
)glsl";

// About max(x, 0.0) see glsl.h.
constexpr char kRingsOf12[] = R"glsl(
    float f0 = max(f.$c, 0.0);
    float g0 = max(g.$c, 0.0);
    float j0 = max(j.$c, 0.0);
    float k0 = max(k.$c, 0.0);
    float n0 = max(n.$c, 0.0);
    float o0 = max(o.$c, 0.0);
    float mnf$C = ffxMin3(ffxMin3(b.$c, e.$c, f0), g0, j0);
    float mxf$C = ffxMax3(ffxMax3(b.$c, e.$c, f0), g0, j0);
    float mng$C = ffxMin3(ffxMin3(c.$c, f0, g0), h.$c, k0);
    float mxg$C = ffxMax3(ffxMax3(c.$c, f0, g0), h.$c, k0);
    float mnj$C = ffxMin3(ffxMin3(f0, i.$c, j0), k0, n0);
    float mxj$C = ffxMax3(ffxMax3(f0, i.$c, j0), k0, n0);
    float mnk$C = ffxMin3(ffxMin3(g0, j0, k0), l.$c, o0);
    float mxk$C = ffxMax3(ffxMax3(g0, j0, k0), l.$c, o0);
)glsl";

// The rings of f and g take diagonal neighbours, not a cross: so this variant is defined.
//
// Compared as bits, which order as the numbers do where none is negative: at medium precision
// llvmpipe would compare them one by one, for most of the pass's time.
constexpr char kRingsOf8[] = R"glsl(
    int b0 = floatBitsToInt(b.$c);
    int c0 = floatBitsToInt(c.$c);
    int f0 = floatBitsToInt(f.$c);
    int g0 = floatBitsToInt(g.$c);
    int i0 = floatBitsToInt(i.$c);
    int j0 = floatBitsToInt(j.$c);
    int k0 = floatBitsToInt(k.$c);
    int l0 = floatBitsToInt(l.$c);
    float mnf$C = intBitsToFloat(min(min(b0, min(f0, i0)), k0));
    float mxf$C = intBitsToFloat(max(max(b0, max(f0, i0)), k0));
    float mng$C = intBitsToFloat(min(min(c0, min(g0, j0)), l0));
    float mxg$C = intBitsToFloat(max(max(c0, max(g0, j0)), l0));
    float mnj$C = intBitsToFloat(min(min(f0, min(i0, j0)), k0));
    float mxj$C = intBitsToFloat(max(max(f0, max(i0, j0)), k0));
    float mnk$C = intBitsToFloat(min(min(g0, min(j0, k0)), l0));
    float mxk$C = intBitsToFloat(max(max(g0, max(j0, k0)), l0));
)glsl";

constexpr char kRingWeights[] = R"glsl(
    float ampf$C = ffxApproximateSqrt(ffxSaturate(ffxMin(mnf$C, 1.0 - mxf$C) * ffxApproximateReciprocal(mxf$C)));
    float ampg$C = ffxApproximateSqrt(ffxSaturate(ffxMin(mng$C, 1.0 - mxg$C) * ffxApproximateReciprocal(mxg$C)));
    float ampj$C = ffxApproximateSqrt(ffxSaturate(ffxMin(mnj$C, 1.0 - mxj$C) * ffxApproximateReciprocal(mxj$C)));
    float ampk$C = ffxApproximateSqrt(ffxSaturate(ffxMin(mnk$C, 1.0 - mxk$C) * ffxApproximateReciprocal(mxk$C)));

    float peak = ffxAsFloat(const1.x);
    float wf$C = ampf$C * peak;
    float wg$C = ampg$C * peak;
    float wj$C = ampj$C * peak;
    float wk$C = ampk$C * peak;

    // Bilinear, each corner the weaker the more contrast its ring has.
    float s = (1.0 - pixelPosition.x) * (1.0 - pixelPosition.y);
    float t = pixelPosition.x * (1.0 - pixelPosition.y);
    float u = (1.0 - pixelPosition.x) * pixelPosition.y;
    float v = pixelPosition.x * pixelPosition.y;
    s *= ffxApproximateReciprocal(thinB + (mxf$C - mnf$C));
    t *= ffxApproximateReciprocal(thinB + (mxg$C - mng$C));
    u *= ffxApproximateReciprocal(thinB + (mxj$C - mnj$C));
    v *= ffxApproximateReciprocal(thinB + (mxk$C - mnk$C));
)glsl";

constexpr char kTapWeightsOf12[] = R"glsl(
    float qbe$C = wf$C * s;
    float qch$C = wg$C * t;
    float qin$C = wj$C * u;
    float qlo$C = wk$C * v;
    float qf$C = wg$C * t + wj$C * u + s;
    float qg$C = wf$C * s + wk$C * v + t;
    float qj$C = wf$C * s + wk$C * v + u;
    float qk$C = wg$C * t + wj$C * u + v;
    float rcpW$C = ffxApproximateReciprocalMedium(2.0 * (qbe$C + qch$C + qin$C + qlo$C) + qf$C + qg$C + qj$C + qk$C);
)glsl";

// One output channel; "$P" is its letter and "$p" its swizzle.
constexpr char kSumOf12[] = R"glsl(
    pix$P = ffxSaturate(((b.$p + e.$p) * qbe$C + (c.$p + h.$p) * qch$C + (i.$p + n.$p) * qin$C + (l.$p + o.$p) * qlo$C +
                         f.$p * qf$C + g.$p * qg$C + j.$p * qj$C + k.$p * qk$C) * rcpW$C);
)glsl";

constexpr char kTapWeightsOf8[] = R"glsl(
    float qb$C = wf$C * s;
    float qc$C = wg$C * t;
    float qx$C = wj$C * u;
    float qy$C = wk$C * v;
    float qf$C = qx$C + s;
    float qg$C = qy$C + t;
    float qj$C = qc$C + qy$C + u;
    float qk$C = qb$C + qx$C + v;
    float qi$C = qx$C + qb$C;
    float ql$C = qy$C + qc$C;
    float rcpW$C = ffxApproximateReciprocalMedium(((qb$C + qc$C) + (qf$C + qg$C)) + ((qi$C + qj$C) + (qk$C + ql$C)));
)glsl";

constexpr char kSumOf8[] = R"glsl(
    pix$P = ffxSaturate((((b.$p * qb$C + c.$p * qc$C) + (f.$p * qf$C + g.$p * qg$C)) +
                         ((i.$p * qi$C + j.$p * qj$C) + (k.$p * qk$C + l.$p * ql$C))) * rcpW$C);
)glsl";

constexpr char kFunctionEnd[] = "}\n";

// "$F" is the filter.
constexpr char kMainRgb[] = R"glsl(
void Sharpen(uvec2 gxy) {
    vec3 c = vec3(0.0);
    $F(c.r, c.g, c.b, gxy, Const0, Const1);
    OutColor = vec4(c, 1);
}

void main() {
    uvec2 gxy = uvec2(v_TexCoord * SizeInfo.zw);
    Sharpen(gxy);
}
)glsl";

// Hue and saturation are read through the sampler, whose filter is nearest; only value is scaled.
constexpr char kMainValue[] = R"glsl(
vec3 hsv2rgb(vec3 c) {
    vec4 K = vec4(1.0, 2.0 / 3.0, 1.0 / 3.0, 3.0);
    vec3 p = abs(fract(c.xxx + K.xyz) * 6.0 - K.www);
    return c.z * mix(K.xxx, clamp(p - K.xxx, 0.0, 1.0), c.y);
}

void main() {
    uvec2 gxy = uvec2(v_TexCoord * SizeInfo.zw);
    float scaled_c = 0.0;
    casFilterWithScaling(scaled_c, gxy, Const0, Const1);
    vec3 hsvColor = texture(screenTexture, v_TexCoord).xyz;
    hsvColor.z = scaled_c;
    OutColor = vec4(hsv2rgb(hsvColor), 1);
}
)glsl";

std::string sumInto(const std::string& sum, const char* letter, const char* swizzle) {
    return replaceAll(replaceAll(sum, "$P", letter), "$p", swizzle);
}

std::string sumIntoRgb(const char* text) {
    const std::string sum = onChannel(text, "G", "g");
    return sumInto(sum, "R", "r") + sumInto(sum, "G", "g") + sumInto(sum, "B", "b");
}

std::string weightsOf12(const char* letter, const char* swizzle) {
    return kScalingPosition + std::string(kTapsOf12) + onChannel(kRingsOf12, letter, swizzle) +
           onChannel(kRingWeights, letter, swizzle) + onChannel(kTapWeightsOf12, letter, swizzle);
}

}  // namespace

std::string casSharpenFragment() {
    return std::string(kHighpHead) + kShared + kFilterNoScaling +
           replaceAll(kMainRgb, "$F", "casFilterNoScaling");
}

std::string casUpscaleFragment() {
    return std::string(kHighpHead) + kShared + kScalingHeadRgb +
           replaceAll(weightsOf12("G", "g"), "mnfG", "minimumGreen") + sumIntoRgb(kSumOf12) +
           kFunctionEnd + replaceAll(kMainRgb, "$F", "casFilterWithScaling");
}

std::string casVUpscaleFragment() {
    return std::string(kHighpHead) + kShared + kScalingHeadValue + weightsOf12("B", "b") +
           sumInto(onChannel(kSumOf12, "B", "b"), "B", "b") + kFunctionEnd + kMainValue;
}

std::string casTUpscaleFragment() {
    return std::string(kMediumpHead) + kShared + kScalingHeadRgb + kScalingPosition +
           onChannel(kRingsOf8, "G", "g") + onChannel(kRingWeights, "G", "g") +
           onChannel(kTapWeightsOf8, "G", "g") + sumIntoRgb(kSumOf8) + kFunctionEnd +
           replaceAll(kMainRgb, "$F", "casFilterWithScaling");
}

}  // namespace android
