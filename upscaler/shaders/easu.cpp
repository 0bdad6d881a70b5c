// SPDX-License-Identifier: Apache-2.0
// Edge-adaptive spatial upsampling of AMD FidelityFX Super Resolution 1.0, full precision.
//
// This differs from the published form on purpose: the constants are float uniforms instead of
// packed integers, the reciprocal of the clipping point is exact, and the pixel position comes from
// the texture coordinate.
#include "upscaler/shaders/shaders.h"

namespace android {

const char kEasuFragment[] = R"glsl(#version 320 es
precision highp float;
precision highp int;

uniform sampler2D screenTexture;
uniform vec4 vec4_0;  // input size / output size, half of that - 0.5
uniform vec4 vec4_1;  // the four gather points, in units of the input: first step
uniform vec4 vec4_2;  // second and third
uniform vec4 vec4_3;  // fourth
uniform highp vec4 SizeInfo;  // [input_width, input_height, output_width, output_height]
in vec2 v_TexCoord;
out highp vec4 OutColor;

float AF1_x(float a) { return a; }
uint AU1_x(uint a) { return a; }
float ARcpF1(float x) { return 1.0 / x; }
float ASatF1(float x) { return clamp(x, 0.0, 1.0); }
vec2 AF2_x(float a) { return vec2(a, a); }
vec3 AF3_x(float a) { return vec3(a, a, a); }
vec4 AF4_x(float a) { return vec4(a, a, a, a); }
vec3 AMax3F3(vec3 x, vec3 y, vec3 z) { return max(x, max(y, z)); }
vec3 AMin3F3(vec3 x, vec3 y, vec3 z) { return min(x, min(y, z)); }

vec4 FsrEasuRF(vec2 p) { return textureGather(screenTexture, p, 0); }
vec4 FsrEasuGF(vec2 p) { return textureGather(screenTexture, p, 1); }
vec4 FsrEasuBF(vec2 p) { return textureGather(screenTexture, p, 2); }

// Adds one tap, at `off` from the sampled position, to the sums of colour and weight.
void FsrEasuTapF(inout vec3 aC, inout float aW, vec2 off, vec2 dir, vec2 len, float lob, float clp,
                 vec3 c) {
    vec2 v;
    v.x = (off.x * (dir.x)) + (off.y * dir.y);
    v.y = (off.x * (-dir.y)) + (off.y * dir.x);
    v *= len;
    float d2 = v.x * v.x + v.y * v.y;
    d2 = min(d2, clp);
    float wB = (2.0 / 5.0) * d2 + -1.0;
    float wA = lob * d2 + -1.0;
    wB *= wB;
    wA *= wA;
    wB = (25.0 / 16.0) * wB + -(25.0 / 16.0 - 1.0);
    float w = wB * wA;
    aC += c * w;
    aW += w;
}

// Adds the direction and length of one corner of the bilinear cell, weighted for that corner.
//     a
//   b c d
//     e
void FsrEasuSetF(inout vec2 dir, inout float len, vec2 pp, bool biS, bool biT, bool biU, bool biV,
                 float lA, float lB, float lC, float lD, float lE) {
    float w = 0.0;
    if (biS) w = (1.0 - pp.x) * (1.0 - pp.y);
    if (biT) w = pp.x * (1.0 - pp.y);
    if (biU) w = (1.0 - pp.x) * pp.y;
    if (biV) w = pp.x * pp.y;

    float dc = lD - lC;
    float cb = lC - lB;
    float lenX = max(abs(dc), abs(cb));
    lenX = ARcpF1(lenX);
    float dirX = lD - lB;
    dir.x += dirX * w;
    lenX = ASatF1(abs(dirX) * lenX);
    lenX *= lenX;
    len += lenX * w;

    float ec = lE - lC;
    float ca = lC - lA;
    float lenY = max(abs(ec), abs(ca));
    lenY = ARcpF1(lenY);
    float dirY = lE - lA;
    dir.y += dirY * w;
    lenY = ASatF1(abs(dirY) * lenY);
    lenY *= lenY;
    len += lenY * w;
}

// The twelve taps around f, y growing downwards here as it does in the texture:
//     b c
//   e f g h
//   i j k l
//     n o
void FsrEasuF(out vec3 pix, uvec2 ip, vec4 con0, vec4 con1, vec4 con2, vec4 con3) {
    vec2 pp = vec2(ip) * con0.xy + con0.zw;
    vec2 fp = floor(pp);
    pp -= fp;

    vec2 p0 = fp * con1.xy + con1.zw;
    vec2 p1 = p0 + con2.xy;
    vec2 p2 = p0 + con2.zw;
    vec2 p3 = p0 + con3.xy;
    vec4 bczzR = FsrEasuRF(p0);
    vec4 bczzG = FsrEasuGF(p0);
    vec4 bczzB = FsrEasuBF(p0);
    vec4 ijfeR = FsrEasuRF(p1);
    vec4 ijfeG = FsrEasuGF(p1);
    vec4 ijfeB = FsrEasuBF(p1);
    vec4 klhgR = FsrEasuRF(p2);
    vec4 klhgG = FsrEasuGF(p2);
    vec4 klhgB = FsrEasuBF(p2);
    vec4 zzonR = FsrEasuRF(p3);
    vec4 zzonG = FsrEasuGF(p3);
    vec4 zzonB = FsrEasuBF(p3);

    // Luma times two.
    vec4 bczzL = bczzB * 0.5 + (bczzR * 0.5 + bczzG);
    vec4 ijfeL = ijfeB * 0.5 + (ijfeR * 0.5 + ijfeG);
    vec4 klhgL = klhgB * 0.5 + (klhgR * 0.5 + klhgG);
    vec4 zzonL = zzonB * 0.5 + (zzonR * 0.5 + zzonG);
    float bL = bczzL.x;
    float cL = bczzL.y;
    float iL = ijfeL.x;
    float jL = ijfeL.y;
    float fL = ijfeL.z;
    float eL = ijfeL.w;
    float kL = klhgL.x;
    float lL = klhgL.y;
    float hL = klhgL.z;
    float gL = klhgL.w;
    float oL = zzonL.z;
    float nL = zzonL.w;

    vec2 dir = AF2_x(0.0);
    float len = 0.0;
    FsrEasuSetF(dir, len, pp, true, false, false, false, bL, eL, fL, gL, jL);
    FsrEasuSetF(dir, len, pp, false, true, false, false, cL, fL, gL, hL, kL);
    FsrEasuSetF(dir, len, pp, false, false, true, false, fL, iL, jL, kL, nL);
    FsrEasuSetF(dir, len, pp, false, false, false, true, gL, jL, kL, lL, oL);

    vec2 dir2 = dir * dir;
    float dirR = dir2.x + dir2.y;
    bool zro = dirR < 1.0 / 32768.0;
    dirR = inversesqrt(dirR);
    dirR = zro ? 1.0 : dirR;
    dir.x = zro ? 1.0 : dir.x;
    dir *= AF2_x(dirR);

    len = len * 0.5;
    len *= len;
    float stretch = (dir.x * dir.x + dir.y * dir.y) * ARcpF1(max(abs(dir.x), abs(dir.y)));
    vec2 len2 = vec2(1.0 + (stretch - 1.0) * len, 1.0 + -0.5 * len);
    float lob = 0.5 + ((1.0 / 4.0 - 0.04) - 0.5) * len;
    float clp = ARcpF1(lob);

    // Bounds against ringing, from the four nearest texels. See shaders.h about max(x, 0.0).
    vec3 f = vec3(ijfeR.z, ijfeG.z, ijfeB.z);
    vec3 g = vec3(klhgR.w, klhgG.w, klhgB.w);
    vec3 j = max(vec3(ijfeR.y, ijfeG.y, ijfeB.y), 0.0);
    vec3 k = max(vec3(klhgR.x, klhgG.x, klhgB.x), 0.0);
    vec3 min4 = min(AMin3F3(f, g, j), k);
    vec3 max4 = max(AMax3F3(f, g, j), k);

    vec3 aC = vec3(0.0);
    float aW = 0.0;
    FsrEasuTapF(aC, aW, vec2(0.0, -1.0) - pp, dir, len2, lob, clp, vec3(bczzR.x, bczzG.x, bczzB.x));
    FsrEasuTapF(aC, aW, vec2(1.0, -1.0) - pp, dir, len2, lob, clp, vec3(bczzR.y, bczzG.y, bczzB.y));
    FsrEasuTapF(aC, aW, vec2(-1.0, 1.0) - pp, dir, len2, lob, clp, vec3(ijfeR.x, ijfeG.x, ijfeB.x));
    FsrEasuTapF(aC, aW, vec2(0.0, 1.0) - pp, dir, len2, lob, clp, j);
    FsrEasuTapF(aC, aW, vec2(0.0, 0.0) - pp, dir, len2, lob, clp, f);
    FsrEasuTapF(aC, aW, vec2(-1.0, 0.0) - pp, dir, len2, lob, clp, vec3(ijfeR.w, ijfeG.w, ijfeB.w));
    FsrEasuTapF(aC, aW, vec2(1.0, 1.0) - pp, dir, len2, lob, clp, k);
    FsrEasuTapF(aC, aW, vec2(2.0, 1.0) - pp, dir, len2, lob, clp, vec3(klhgR.y, klhgG.y, klhgB.y));
    FsrEasuTapF(aC, aW, vec2(2.0, 0.0) - pp, dir, len2, lob, clp, vec3(klhgR.z, klhgG.z, klhgB.z));
    FsrEasuTapF(aC, aW, vec2(1.0, 0.0) - pp, dir, len2, lob, clp, g);
    FsrEasuTapF(aC, aW, vec2(1.0, 2.0) - pp, dir, len2, lob, clp, vec3(zzonR.z, zzonG.z, zzonB.z));
    FsrEasuTapF(aC, aW, vec2(0.0, 2.0) - pp, dir, len2, lob, clp, vec3(zzonR.w, zzonG.w, zzonB.w));

    pix = min(max4, max(min4, aC * ARcpF1(aW)));
}

// The name stands for the colour space of a display; no conversion is applied, before or after.
vec4 FidelityFXSuperResolution(uvec2 gxy) {
    vec3 Gamma2Color = vec3(0.0);
    FsrEasuF(Gamma2Color, gxy, vec4_0, vec4_1, vec4_2, vec4_3);
    return vec4(Gamma2Color, 1.0);
}

void main() {
    vec2 gxy = v_TexCoord;
    uvec2 SvPosition = uvec2(gxy.x * SizeInfo[2], gxy.y * SizeInfo[3]);
    OutColor = FidelityFXSuperResolution(SvPosition);
}
)glsl";

}  // namespace android
