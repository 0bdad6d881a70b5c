// SPDX-License-Identifier: Apache-2.0
// The vertex shader of every pass, the two copies and the conversion to hue, saturation and value.
#include "upscaler/shaders/shaders.h"

namespace android {

// Places its vertices by gl_VertexID alone: 0, 1 and 2 make one triangle that covers the viewport;
// 3, 4 and 5 cover half of it again with the same values. The quad's attributes are bound but not
// read.
const char kFullScreenVertex[] = R"glsl(#version 320 es
out highp vec2 v_TexCoord;

void main() {
    gl_Position.x = -1.0 + float((gl_VertexID & 1) << 2);
    gl_Position.y = -1.0 + float((gl_VertexID & 2) << 1);
    gl_Position.z = 0.0;
    gl_Position.w = 1.0;
    v_TexCoord.x = (gl_Position.x + 1.0) * 0.5;
    v_TexCoord.y = (gl_Position.y + 1.0) * 0.5;
}
)glsl";

const char kCopyExternalFragment[] = R"glsl(#version 320 es
#extension GL_OES_EGL_image_external_essl3 : enable
precision highp float;
out highp vec4 fragColor;
uniform samplerExternalOES screenTexture;
in highp vec2 v_TexCoord;

void main() {
    fragColor = texture(screenTexture, v_TexCoord);
}
)glsl";

const char kCopy2dFragment[] = R"glsl(#version 320 es
precision highp float;
out highp vec4 fragColor;
uniform sampler2D screenTexture;
in highp vec2 v_TexCoord;

void main() {
    fragColor = texture(screenTexture, v_TexCoord);
}
)glsl";

const char kRgb2hsvFragment[] = R"glsl(#version 320 es
#extension GL_OES_EGL_image_external_essl3 : enable
out highp vec4 fragColor;
precision highp float;
in vec2 v_TexCoord;
uniform samplerExternalOES screenTexture;

// Hue as a fraction of a turn, saturation, value. The epsilon keeps both divisions finite for grey.
vec3 rgb2hsv(vec3 c) {
    vec4 K = vec4(0.0, -1.0 / 3.0, 2.0 / 3.0, -1.0);
    vec4 p = mix(vec4(c.bg, K.wz), vec4(c.gb, K.xy), step(c.b, c.g));
    vec4 q = mix(vec4(p.xyw, c.r), vec4(c.r, p.yzx), step(p.x, c.r));
    float d = q.x - min(q.w, q.y);
    float e = 1.0e-10;
    return vec3(abs(q.z + (q.w - q.y) / (6.0 * d + e)), d / (q.x + e), q.x);
}

void main() {
    vec3 c = texture(screenTexture, v_TexCoord).xyz;
    fragColor = vec4(rgb2hsv(c), 1.0);
}
)glsl";

}  // namespace android
