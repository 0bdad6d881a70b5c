// SPDX-License-Identifier: Apache-2.0
// The vertex shader of every pass, the two copies and the conversion to hue, saturation and value.
#include "upscaler/shaders/glsl.h"
#include "upscaler/shaders/shaders.h"

namespace android {

// Places its vertices by gl_VertexID alone: 0, 1, 2 make one triangle that covers the viewport, and
// 3, 4, 5 cover half of it again with the same values. The quad's attributes are bound, not read.
const char kFullScreenVertex[] = GLSL_VERSION R"glsl(
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

#define GLSL_COPY(SAMPLER)                                  \
    "precision highp float;\n"                              \
    "out highp vec4 fragColor;\n"                           \
    "uniform " SAMPLER                                      \
    " screenTexture;\n"                                     \
    "in highp vec2 v_TexCoord;\n"                           \
    "\n"                                                    \
    "void main() {\n"                                       \
    "    fragColor = texture(screenTexture, v_TexCoord);\n" \
    "}\n"

const char kCopyExternalFragment[] =
        GLSL_VERSION GLSL_EXTERNAL_SAMPLERS GLSL_COPY("samplerExternalOES");

const char kCopy2dFragment[] = GLSL_VERSION GLSL_COPY("sampler2D");

const char kRgb2hsvFragment[] = GLSL_VERSION GLSL_EXTERNAL_SAMPLERS R"glsl(
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
