// SPDX-License-Identifier: Apache-2.0
// AMD FidelityFX Contrast Adaptive Sharpening: one filter without scaling and three with it. Each
// source has a head, the functions that all sources share, and a filter of its own. The filter of
// the value channel has its own main function; the others share one.
#include <string>

#include "upscaler/shaders/shaders.h"

namespace android {
namespace {

constexpr char kHighp[] = R"glsl(#version 320 es
precision highp int;
precision highp float;
in vec2 v_TexCoord;
)glsl";

constexpr char kMediump[] = R"glsl(#version 320 es
precision highp int;
precision mediump float;
in highp vec2 v_TexCoord;
)glsl";

// The approximations are the published bit tricks. Do not replace them by sqrt or a division.
constexpr char kShared[] = R"glsl(
out highp vec4 OutColor;
uniform highp uvec4 Const0;
uniform highp uvec4 Const1;
uniform sampler2D screenTexture;
uniform highp vec4 SizeInfo;  // [input_width, input_height, output_width, output_height]

vec2 ffxBroadcast2(float value) { return vec2(value, value); }
vec3 ffxBroadcast3(float value) { return vec3(value, value, value); }
vec4 ffxBroadcast4(float value) { return vec4(value, value, value, value); }

// Not clamped: outside the picture the shader uses what the driver returns.
vec3 casLoad(ivec2 position) { return texelFetch(screenTexture, position, 0).rgb; }

float ffxMin3(float x, float y, float z) { return min(x, min(y, z)); }
float ffxMax3(float x, float y, float z) { return max(x, max(y, z)); }
float ffxMin(float x, float y) { return min(x, y); }

// High precision even in the medium variant, where they yield the pixel position.
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

// Runs CAS_FILTER, which the text of the filter defines.
constexpr char kRgbMain[] = R"glsl(
void Sharpen(uvec2 gxy) {
    vec3 c = vec3(0.0);
    CAS_FILTER(c.r, c.g, c.b, gxy, Const0, Const1);
    OutColor = vec4(c, 1);
}

void main() {
    uvec2 gxy = uvec2(v_TexCoord * SizeInfo.zw);
    Sharpen(gxy);
}
)glsl";

// The red and blue amplitudes are computed but not used: the green weight serves all channels.
constexpr char kFilterNoScaling[] = R"glsl(
#define CAS_FILTER casFilterNoScaling

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

    float fG = max(f.g, 0.0);  // See shaders.h.
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

constexpr char kFilterOf12Taps[] = R"glsl(
#define CAS_FILTER casFilterWithScaling
#define thinB 0.03125

void casFilterWithScaling(out float pixR, out float pixG, out float pixB, uvec2 samplePosition,
                          uvec4 const0, uvec4 const1) {
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
    vec3 e = casLoad(finalSamplePosition + ivec2(-1, 0));
    vec3 h = casLoad(finalSamplePosition + ivec2(2, 0));
    vec3 n = casLoad(finalSamplePosition + ivec2(0, 2));
    vec3 o = casLoad(finalSamplePosition + ivec2(1, 2));

    // See shaders.h about max(x, 0.0).
    float f0 = max(f.g, 0.0);
    float g0 = max(g.g, 0.0);
    float j0 = max(j.g, 0.0);
    float k0 = max(k.g, 0.0);
    float n0 = max(n.g, 0.0);
    float o0 = max(o.g, 0.0);
    float minimumGreen = ffxMin3(ffxMin3(b.g, e.g, f0), g0, j0);
    float mxfG = ffxMax3(ffxMax3(b.g, e.g, f0), g0, j0);
    float mngG = ffxMin3(ffxMin3(c.g, f0, g0), h.g, k0);
    float mxgG = ffxMax3(ffxMax3(c.g, f0, g0), h.g, k0);
    float mnjG = ffxMin3(ffxMin3(f0, i.g, j0), k0, n0);
    float mxjG = ffxMax3(ffxMax3(f0, i.g, j0), k0, n0);
    float mnkG = ffxMin3(ffxMin3(g0, j0, k0), l.g, o0);
    float mxkG = ffxMax3(ffxMax3(g0, j0, k0), l.g, o0);

    float ampfG = ffxApproximateSqrt(ffxSaturate(ffxMin(minimumGreen, 1.0 - mxfG) * ffxApproximateReciprocal(mxfG)));
    float ampgG = ffxApproximateSqrt(ffxSaturate(ffxMin(mngG, 1.0 - mxgG) * ffxApproximateReciprocal(mxgG)));
    float ampjG = ffxApproximateSqrt(ffxSaturate(ffxMin(mnjG, 1.0 - mxjG) * ffxApproximateReciprocal(mxjG)));
    float ampkG = ffxApproximateSqrt(ffxSaturate(ffxMin(mnkG, 1.0 - mxkG) * ffxApproximateReciprocal(mxkG)));

    float peak = ffxAsFloat(const1.x);
    float wfG = ampfG * peak;
    float wgG = ampgG * peak;
    float wjG = ampjG * peak;
    float wkG = ampkG * peak;

    // Bilinear weights. The more contrast a corner's ring has, the smaller its weight.
    float s = (1.0 - pixelPosition.x) * (1.0 - pixelPosition.y);
    float t = pixelPosition.x * (1.0 - pixelPosition.y);
    float u = (1.0 - pixelPosition.x) * pixelPosition.y;
    float v = pixelPosition.x * pixelPosition.y;
    s *= ffxApproximateReciprocal(thinB + (mxfG - minimumGreen));
    t *= ffxApproximateReciprocal(thinB + (mxgG - mngG));
    u *= ffxApproximateReciprocal(thinB + (mxjG - mnjG));
    v *= ffxApproximateReciprocal(thinB + (mxkG - mnkG));

    float qbeG = wfG * s;
    float qchG = wgG * t;
    float qinG = wjG * u;
    float qloG = wkG * v;
    float qfG = wgG * t + wjG * u + s;
    float qgG = wfG * s + wkG * v + t;
    float qjG = wfG * s + wkG * v + u;
    float qkG = wgG * t + wjG * u + v;
    float rcpWG = ffxApproximateReciprocalMedium(2.0 * (qbeG + qchG + qinG + qloG) + qfG + qgG + qjG + qkG);

    pixR = ffxSaturate(((b.r + e.r) * qbeG + (c.r + h.r) * qchG + (i.r + n.r) * qinG + (l.r + o.r) * qloG +
                         f.r * qfG + g.r * qgG + j.r * qjG + k.r * qkG) * rcpWG);
    pixG = ffxSaturate(((b.g + e.g) * qbeG + (c.g + h.g) * qchG + (i.g + n.g) * qinG + (l.g + o.g) * qloG +
                         f.g * qfG + g.g * qgG + j.g * qjG + k.g * qkG) * rcpWG);
    pixB = ffxSaturate(((b.b + e.b) * qbeG + (c.b + h.b) * qchG + (i.b + n.b) * qinG + (l.b + o.b) * qloG +
                         f.b * qfG + g.b * qgG + j.b * qjG + k.b * qkG) * rcpWG);
}
)glsl";

// The same filter on the value channel alone. Hue and saturation are read through the sampler,
// whose filter is nearest.
constexpr char kFilterOfValue[] = R"glsl(
#define thinB 0.03125

void casFilterWithScaling(out float pixB, uvec2 samplePosition, uvec4 const0, uvec4 const1) {
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
    vec3 e = casLoad(finalSamplePosition + ivec2(-1, 0));
    vec3 h = casLoad(finalSamplePosition + ivec2(2, 0));
    vec3 n = casLoad(finalSamplePosition + ivec2(0, 2));
    vec3 o = casLoad(finalSamplePosition + ivec2(1, 2));

    // See shaders.h about max(x, 0.0).
    float f0 = max(f.b, 0.0);
    float g0 = max(g.b, 0.0);
    float j0 = max(j.b, 0.0);
    float k0 = max(k.b, 0.0);
    float n0 = max(n.b, 0.0);
    float o0 = max(o.b, 0.0);
    float mnfB = ffxMin3(ffxMin3(b.b, e.b, f0), g0, j0);
    float mxfB = ffxMax3(ffxMax3(b.b, e.b, f0), g0, j0);
    float mngB = ffxMin3(ffxMin3(c.b, f0, g0), h.b, k0);
    float mxgB = ffxMax3(ffxMax3(c.b, f0, g0), h.b, k0);
    float mnjB = ffxMin3(ffxMin3(f0, i.b, j0), k0, n0);
    float mxjB = ffxMax3(ffxMax3(f0, i.b, j0), k0, n0);
    float mnkB = ffxMin3(ffxMin3(g0, j0, k0), l.b, o0);
    float mxkB = ffxMax3(ffxMax3(g0, j0, k0), l.b, o0);

    float ampfB = ffxApproximateSqrt(ffxSaturate(ffxMin(mnfB, 1.0 - mxfB) * ffxApproximateReciprocal(mxfB)));
    float ampgB = ffxApproximateSqrt(ffxSaturate(ffxMin(mngB, 1.0 - mxgB) * ffxApproximateReciprocal(mxgB)));
    float ampjB = ffxApproximateSqrt(ffxSaturate(ffxMin(mnjB, 1.0 - mxjB) * ffxApproximateReciprocal(mxjB)));
    float ampkB = ffxApproximateSqrt(ffxSaturate(ffxMin(mnkB, 1.0 - mxkB) * ffxApproximateReciprocal(mxkB)));

    float peak = ffxAsFloat(const1.x);
    float wfB = ampfB * peak;
    float wgB = ampgB * peak;
    float wjB = ampjB * peak;
    float wkB = ampkB * peak;

    // Bilinear weights. The more contrast a corner's ring has, the smaller its weight.
    float s = (1.0 - pixelPosition.x) * (1.0 - pixelPosition.y);
    float t = pixelPosition.x * (1.0 - pixelPosition.y);
    float u = (1.0 - pixelPosition.x) * pixelPosition.y;
    float v = pixelPosition.x * pixelPosition.y;
    s *= ffxApproximateReciprocal(thinB + (mxfB - mnfB));
    t *= ffxApproximateReciprocal(thinB + (mxgB - mngB));
    u *= ffxApproximateReciprocal(thinB + (mxjB - mnjB));
    v *= ffxApproximateReciprocal(thinB + (mxkB - mnkB));

    float qbeB = wfB * s;
    float qchB = wgB * t;
    float qinB = wjB * u;
    float qloB = wkB * v;
    float qfB = wgB * t + wjB * u + s;
    float qgB = wfB * s + wkB * v + t;
    float qjB = wfB * s + wkB * v + u;
    float qkB = wgB * t + wjB * u + v;
    float rcpWB = ffxApproximateReciprocalMedium(2.0 * (qbeB + qchB + qinB + qloB) + qfB + qgB + qjB + qkB);
    pixB = ffxSaturate(((b.b + e.b) * qbeB + (c.b + h.b) * qchB + (i.b + n.b) * qinB + (l.b + o.b) * qloB +
                         f.b * qfB + g.b * qgB + j.b * qjB + k.b * qkB) * rcpWB);
}

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

constexpr char kFilterOf8Taps[] = R"glsl(
#define CAS_FILTER casFilterWithScaling
#define thinB 0.03125

void casFilterWithScaling(out float pixR, out float pixG, out float pixB, uvec2 samplePosition,
                          uvec4 const0, uvec4 const1) {
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

    // The bits are compared instead of the numbers: without negative numbers the order is the same.
    // At medium precision llvmpipe would compare floats one by one, which takes most of the pass's
    // time.
    int b0 = floatBitsToInt(b.g);
    int c0 = floatBitsToInt(c.g);
    int f0 = floatBitsToInt(f.g);
    int g0 = floatBitsToInt(g.g);
    int i0 = floatBitsToInt(i.g);
    int j0 = floatBitsToInt(j.g);
    int k0 = floatBitsToInt(k.g);
    int l0 = floatBitsToInt(l.g);
    // The rings of f and g have diagonal neighbours, not a cross. That is how this variant is
    // defined.
    float mnfG = intBitsToFloat(min(min(b0, min(f0, i0)), k0));
    float mxfG = intBitsToFloat(max(max(b0, max(f0, i0)), k0));
    float mngG = intBitsToFloat(min(min(c0, min(g0, j0)), l0));
    float mxgG = intBitsToFloat(max(max(c0, max(g0, j0)), l0));
    float mnjG = intBitsToFloat(min(min(f0, min(i0, j0)), k0));
    float mxjG = intBitsToFloat(max(max(f0, max(i0, j0)), k0));
    float mnkG = intBitsToFloat(min(min(g0, min(j0, k0)), l0));
    float mxkG = intBitsToFloat(max(max(g0, max(j0, k0)), l0));

    float ampfG = ffxApproximateSqrt(ffxSaturate(ffxMin(mnfG, 1.0 - mxfG) * ffxApproximateReciprocal(mxfG)));
    float ampgG = ffxApproximateSqrt(ffxSaturate(ffxMin(mngG, 1.0 - mxgG) * ffxApproximateReciprocal(mxgG)));
    float ampjG = ffxApproximateSqrt(ffxSaturate(ffxMin(mnjG, 1.0 - mxjG) * ffxApproximateReciprocal(mxjG)));
    float ampkG = ffxApproximateSqrt(ffxSaturate(ffxMin(mnkG, 1.0 - mxkG) * ffxApproximateReciprocal(mxkG)));

    float peak = ffxAsFloat(const1.x);
    float wfG = ampfG * peak;
    float wgG = ampgG * peak;
    float wjG = ampjG * peak;
    float wkG = ampkG * peak;

    // Bilinear weights. The more contrast a corner's ring has, the smaller its weight.
    float s = (1.0 - pixelPosition.x) * (1.0 - pixelPosition.y);
    float t = pixelPosition.x * (1.0 - pixelPosition.y);
    float u = (1.0 - pixelPosition.x) * pixelPosition.y;
    float v = pixelPosition.x * pixelPosition.y;
    s *= ffxApproximateReciprocal(thinB + (mxfG - mnfG));
    t *= ffxApproximateReciprocal(thinB + (mxgG - mngG));
    u *= ffxApproximateReciprocal(thinB + (mxjG - mnjG));
    v *= ffxApproximateReciprocal(thinB + (mxkG - mnkG));

    float qbG = wfG * s;
    float qcG = wgG * t;
    float qxG = wjG * u;
    float qyG = wkG * v;
    float qfG = qxG + s;
    float qgG = qyG + t;
    float qjG = qcG + qyG + u;
    float qkG = qbG + qxG + v;
    float qiG = qxG + qbG;
    float qlG = qyG + qcG;
    float rcpWG = ffxApproximateReciprocalMedium(((qbG + qcG) + (qfG + qgG)) + ((qiG + qjG) + (qkG + qlG)));

    pixR = ffxSaturate((((b.r * qbG + c.r * qcG) + (f.r * qfG + g.r * qgG)) +
                         ((i.r * qiG + j.r * qjG) + (k.r * qkG + l.r * qlG))) * rcpWG);
    pixG = ffxSaturate((((b.g * qbG + c.g * qcG) + (f.g * qfG + g.g * qgG)) +
                         ((i.g * qiG + j.g * qjG) + (k.g * qkG + l.g * qlG))) * rcpWG);
    pixB = ffxSaturate((((b.b * qbG + c.b * qcG) + (f.b * qfG + g.b * qgG)) +
                         ((i.b * qiG + j.b * qjG) + (k.b * qkG + l.b * qlG))) * rcpWG);
}
)glsl";

}  // namespace

std::string casSharpenFragment() {
    return std::string(kHighp) + kShared + kFilterNoScaling + kRgbMain;
}

std::string casUpscaleFragment() {
    return std::string(kHighp) + kShared + kFilterOf12Taps + kRgbMain;
}

std::string casVUpscaleFragment() {
    return std::string(kHighp) + kShared + kFilterOfValue;
}

std::string casTUpscaleFragment() {
    return std::string(kMediump) + kShared + kFilterOf8Taps + kRgbMain;
}

}  // namespace android
