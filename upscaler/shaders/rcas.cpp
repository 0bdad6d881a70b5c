// SPDX-License-Identifier: Apache-2.0
// Robust contrast-adaptive sharpening of AMD FidelityFX Super Resolution 1.0, full precision.
//
// This differs from the published form on purpose: the sharpness is a plain float, both reciprocals
// are exact, and the pixel position comes from the texture coordinate.
#include "upscaler/shaders/shaders.h"

namespace android {

const char kRcasFragment[] = R"glsl(#version 320 es
precision highp float;
precision highp int;

uniform sampler2D screenTexture;
uniform float sharpness;  // 1.0 full strength, halved for each stop
uniform highp vec4 SizeInfo;  // [input_width, input_height, output_width, output_height]
in highp vec2 v_TexCoord;
out highp vec4 OutColor;

float AF1_x(float a) { return a; }
uint AU1_x(uint a) { return a; }
float ARcpF1(float x) { return 1.0 / x; }
float ASatF1(float x) { return clamp(x, 0.0, 1.0); }
float AMax3F1(float x, float y, float z) { return max(x, max(y, z)); }
float AMin3F1(float x, float y, float z) { return min(x, min(y, z)); }

#define FSR_RCAS_LIMIT (0.25 - (1.0 / 16.0))

// Not clamped: outside the picture the shader uses what the driver returns.
vec4 FsrRcasLoadF(ivec2 p) { return texelFetch(screenTexture, p, 0); }

// The hook for an input transform. It does nothing.
void FsrRcasInputF(inout float r, inout float g, inout float b) {}

//     b
//   d e f
//     h
void FsrRcasF(out float pixR, out float pixG, out float pixB, uvec2 ip, float sharpness) {
    ivec2 sp = ivec2(ip);
    vec3 b = FsrRcasLoadF(sp + ivec2(0, -1)).rgb;
    vec3 d = FsrRcasLoadF(sp + ivec2(-1, 0)).rgb;
    vec3 e = FsrRcasLoadF(sp).rgb;
    vec3 f = FsrRcasLoadF(sp + ivec2(1, 0)).rgb;
    vec3 h = FsrRcasLoadF(sp + ivec2(0, 1)).rgb;
    float bR = b.r;
    float bG = b.g;
    float bB = b.b;
    float dR = d.r;
    float dG = d.g;
    float dB = d.b;
    float eR = e.r;
    float eG = e.g;
    float eB = e.b;
    float fR = max(f.r, 0.0);  // See shaders.h.
    float fG = max(f.g, 0.0);
    float fB = max(f.b, 0.0);
    float hR = h.r;
    float hG = h.g;
    float hB = h.b;
    FsrRcasInputF(bR, bG, bB);
    FsrRcasInputF(dR, dG, dB);
    FsrRcasInputF(eR, eG, eB);
    FsrRcasInputF(fR, fG, fB);
    FsrRcasInputF(hR, hG, hB);

    // Luma times two.
    float bL = bB * 0.5 + (bR * 0.5 + bG);
    float dL = dB * 0.5 + (dR * 0.5 + dG);
    float eL = eB * 0.5 + (eR * 0.5 + eG);
    float fL = fB * 0.5 + (fR * 0.5 + fG);
    float hL = hB * 0.5 + (hR * 0.5 + hG);

    // The noise estimate is not applied: denoising stays off.
    float nz = 0.25 * bL + 0.25 * dL + 0.25 * fL + 0.25 * hL - eL;
    nz = ASatF1(abs(nz) * ARcpF1(AMax3F1(AMax3F1(bL, dL, eL), fL, hL) - AMin3F1(AMin3F1(bL, dL, eL), fL, hL)));
    nz = -0.5 * nz + 1.0;

    // Only the neighbours, not the centre. A texel comes first where possible; see shaders.h.
    float mn4R = min(hR, AMin3F1(bR, dR, fR));
    float mn4G = min(hG, AMin3F1(bG, dG, fG));
    float mn4B = min(hB, AMin3F1(bB, dB, fB));
    float mx4R = max(hR, AMax3F1(bR, dR, fR));
    float mx4G = max(hG, AMax3F1(bG, dG, fG));
    float mx4B = max(hB, AMax3F1(bB, dB, fB));

    vec2 peakC = vec2(1.0, -1.0 * 4.0);
    float hitMinR = min(eR, mn4R) * ARcpF1(4.0 * mx4R);
    float hitMinG = min(eG, mn4G) * ARcpF1(4.0 * mx4G);
    float hitMinB = min(eB, mn4B) * ARcpF1(4.0 * mx4B);
    float hitMaxR = (peakC.x - max(eR, mx4R)) * ARcpF1(4.0 * mn4R + peakC.y);
    float hitMaxG = (peakC.x - max(eG, mx4G)) * ARcpF1(4.0 * mn4G + peakC.y);
    float hitMaxB = (peakC.x - max(eB, mx4B)) * ARcpF1(4.0 * mn4B + peakC.y);
    float lobeR = max(-hitMinR, hitMaxR);
    float lobeG = max(-hitMinG, hitMaxG);
    float lobeB = max(-hitMinB, hitMaxB);
    float lobe = max(-FSR_RCAS_LIMIT, min(AMax3F1(lobeR, lobeG, lobeB), 0.0)) * sharpness;

    float rcpL = ARcpF1(4.0 * lobe + 1.0);
    pixR = (lobe * bR + lobe * dR + lobe * hR + lobe * fR + eR) * rcpL;
    pixG = (lobe * bG + lobe * dG + lobe * hG + lobe * fG + eG) * rcpL;
    pixB = (lobe * bB + lobe * dB + lobe * hB + lobe * fB + eB) * rcpL;
}

vec3 RCASPassCommon(uvec2 gxy) {
    vec3 color = vec3(0.0);
    FsrRcasF(color.r, color.g, color.b, gxy, sharpness);
    return color;
}

void main() {
    vec2 gxy = v_TexCoord;
    uvec2 SvPosition = uvec2(gxy.x * SizeInfo[2], gxy.y * SizeInfo[3]);
    OutColor = vec4(RCASPassCommon(SvPosition), 1.0);
}
)glsl";

}  // namespace android
