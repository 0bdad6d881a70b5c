// SPDX-License-Identifier: Apache-2.0
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "support/fixture.h"

namespace android::test {
namespace {

using ::testing::AllOf;
using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::ElementsAreArray;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::StartsWith;

const std::string kVertex = "#version 320 es\nvoid main() { gl_Position = vec4(0.0); }\n";
const std::string kFragment =
        "#version 320 es\nprecision highp float;\nout vec4 color;\nuniform int i;\nuniform float "
        "f;\n"
        "uniform vec4 v;\nuniform highp uvec4 u;\n"
        "void main() { color = v + vec4(u) + vec4(f + float(i)); }\n";
const std::string kBroken = "#version 320 es\nvoid main() { nonsense = 1; }\n";

class GfxShaderGLTest : public ::testing::Test {
  protected:
    void SetUp() override { resizeBufferLogLevel = 0; }
    void TearDown() override { resizeBufferLogLevel = 0; }

    std::string id(const GfxShader& shader) const { return std::to_string(shader.getID()); }

    OwnedUpscaler context;
    LogCapture log;
};

TEST_F(GfxShaderGLTest, SettersReachTheProgramInUse) {
    const GfxShader shader(kVertex, kFragment);
    EXPECT_THAT(log.lines(), IsEmpty());
    shader.use();
    shader.setInt("i", -7);
    shader.setFloat("f", 0.75f);
    shader.setVec4("v", 1.0f, 2.0f, 3.0f, 4.0f);
    shader.setUvec4("u", 1, 2, 3, 0xFFFFFFFFu);

    GLint i = 0;
    GLfloat f = 0.0f;
    GLfloat v[4] = {};
    GLuint u[4] = {};
    glGetUniformiv(shader.getID(), glGetUniformLocation(shader.getID(), "i"), &i);
    glGetUniformfv(shader.getID(), glGetUniformLocation(shader.getID(), "f"), &f);
    glGetUniformfv(shader.getID(), glGetUniformLocation(shader.getID(), "v"), v);
    glGetUniformuiv(shader.getID(), glGetUniformLocation(shader.getID(), "u"), u);
    EXPECT_EQ(i, -7);
    EXPECT_EQ(f, 0.75f);
    EXPECT_THAT(v, ElementsAre(1.0f, 2.0f, 3.0f, 4.0f));
    EXPECT_THAT(u, ElementsAre(1u, 2u, 3u, 0xFFFFFFFFu));
}

TEST_F(GfxShaderGLTest, UnknownUniformIsLoggedAndIgnored) {
    const GfxShader shader(kVertex, kFragment);
    shader.use();
    resizeBufferLogLevel = 0x21;
    shader.setInt("absent", 5);
    EXPECT_THAT(log.debug(), Contains("setInt: name: absent, value: 5, value_location: -1"));
    EXPECT_THAT(log.errors(), IsEmpty());
}

TEST_F(GfxShaderGLTest, BrokenFragmentIsLoggedAndKeepsItsName) {
    const GfxShader shader(kVertex, kBroken);
    EXPECT_NE(shader.getID(), 0u);
    EXPECT_THAT(
            log.errors(),
            ElementsAre(AllOf(StartsWith("ERROR:SHADER_COMPILATION_ERROR of type: FRAGMENT \n "),
                              HasSubstr("nonsense")),
                        StartsWith("ERROR:PROGRAM_LINKING_ERROR of type: PROGRAM \n ")));
    for (const LogLine& line : log.lines())
        EXPECT_EQ(line.tag, "Upscaler");
}

TEST_F(GfxShaderGLTest, OnlyTheExactWordProgramAsksForTheLink) {
    GfxShader shader(kVertex, kFragment);
    resizeBufferLogLevel = 0x21;
    shader.checkCompileErrors(shader.getID(), "PROGRAM");
    EXPECT_THAT(log.debug(), ElementsAre("INFO:PROGRAM_LINKING_SUCCESS of type: PROGRAM \n"));
    log.clear();
    GlTrace trace;
    shader.checkCompileErrors(shader.getID(), "program");
    EXPECT_THAT(trace.names(), ElementsAre("glGetShaderiv", "glGetShaderiv", "glGetShaderInfoLog"));
    EXPECT_THAT(log.errors(),
                Contains(StartsWith("ERROR:SHADER_COMPILATION_ERROR of type: program")));
}

TEST_F(GfxShaderGLTest, WithoutContextTheNamesAreZero) {
    eglMakeCurrent(UpscalerPeer::display(*context), EGL_NO_SURFACE, EGL_NO_SURFACE, EGL_NO_CONTEXT);
    resizeBufferLogLevel = 0x21;
    const GfxShader shader(kVertex, kFragment);
    EXPECT_EQ(shader.getID(), 0u);
    EXPECT_THAT(log.debug(), AllOf(Contains("InitShader: Vertex shader create failure"),
                                   Contains("InitShader: Fragment shader create failure"),
                                   Contains("InitShader: Shader program create failure")));
    eglMakeCurrent(UpscalerPeer::display(*context), EGL_NO_SURFACE, EGL_NO_SURFACE,
                   UpscalerPeer::context(*context));
}

TEST_F(GfxShaderGLTest, DebugLinesOfASetUp) {
    resizeBufferLogLevel = 0x21;
    const GfxShader shader(kVertex, kFragment);
    const std::vector<std::string> lines = log.debug();
    ASSERT_EQ(lines.size(), 18u);
    EXPECT_EQ(lines[0], "GfxShader: Start outter constructor of GfxShader");
    EXPECT_EQ(lines[1], "InitShader: Start inner constructor of GfxShader");
    EXPECT_THAT(lines[2], StartsWith("InitShader: GL version : OpenGL ES 3"));
    EXPECT_EQ(lines[3], "InitShader: Vertex shader of GfxShader: " + kVertex);
    EXPECT_EQ(lines[4], "InitShader: Fragment shader of GfxShader: " + kFragment);
    EXPECT_THAT(lines[5], StartsWith("InitShader: Vertex shader id: "));
    EXPECT_EQ(lines[6], "INFO:SHADER_COMPILATION_SUCCESS of type: VERTEX \n");
    EXPECT_EQ(lines[7], "InitShader: Finish compile vertex shader of GfxShader");
    EXPECT_THAT(lines[8], StartsWith("InitShader: Fragment shader id: "));
    EXPECT_EQ(lines[9], "INFO:SHADER_COMPILATION_SUCCESS of type: FRAGMENT \n");
    EXPECT_EQ(lines[10], "InitShader: Finish compile fragment shader of GfxShader");
    EXPECT_EQ(lines[11], "InitShader: shader program ID: " + id(shader));
    EXPECT_EQ(lines[12], "INFO:PROGRAM_LINKING_SUCCESS of type: PROGRAM \n");
    EXPECT_EQ(lines[13], "InitShader: Finish link shader program of GfxShader");
    EXPECT_EQ(lines[14], "InitShader: Finish inner constructor of GfxShader");
    EXPECT_EQ(lines[15],
              "InitShader: Value of shader program ID at the end of Constructor: " + id(shader));
    EXPECT_EQ(lines[16],
              "GfxShader: Value of shader program ID at the end of Constructor: " + id(shader));
    EXPECT_EQ(lines[17], "GfxShader: Finish outter constructor of GfxShader");
}

TEST_F(GfxShaderGLTest, DebugLinesOfTheSetters) {
    const GfxShader shader(kVertex, kFragment);
    const std::string program = id(shader);
    const auto at = [&](const char* name) {
        return std::to_string(glGetUniformLocation(shader.getID(), name));
    };
    resizeBufferLogLevel = 0x21;
    shader.use();
    EXPECT_THAT(log.debug(),
                ElementsAre("use: Start use program of GfxShader, program id: " + program,
                            "use: Finish use program of GfxShader"));
    log.clear();
    shader.setInt("i", 3);
    EXPECT_THAT(log.debug(),
                ElementsAre("setInt: Start setInt of GfxShader, shader program ID: " + program,
                            "setInt: name: i, value: 3, value_location: " + at("i"),
                            "setInt: Finish setInt of GfxShader"));
    log.clear();
    shader.setFloat("f", 0.5f);
    // The numbers of this line are not the float's; only its words are promised.
    EXPECT_THAT(log.debug(),
                ElementsAre("setFloat: Start setFloat of GfxShader, shader program ID: " + program,
                            AllOf(StartsWith("setFloat: name: f, value: "),
                                  HasSubstr(", value_location: ")),
                            "setFloat: Finish setFloat of GfxShader"));
    log.clear();
    shader.setVec4("v", 0.5f, -1.0f, 2.0f, 0.0f);
    EXPECT_THAT(
            log.debug(),
            ElementsAre(">> setVec4",
                        "setVec4: Start setVec4 of GfxShader, shader program ID: " + program,
                        "setVec4: Start glGetUniformLocation", "setVec4: End glGetUniformLocation",
                        "setVec4: name: v, x: 0.500000, y: -1.000000, z: 2.000000, w: 0.000000, "
                        "value_location: " +
                                at("v"),
                        "setVec4: Start glUniform4f", "setVec4: End glUniform4f",
                        "setVec4: Finish setVec4 of GfxShader", "<< setVec4"));
    log.clear();
    shader.setUvec4("u", 1, 2, 3, 4);
    EXPECT_THAT(
            log.debug(),
            ElementsAre(">> setUvec4",
                        "setUvec4: Start setUvec4 of GfxShader, shader program ID: " + program,
                        "setUvec4: Start glGetUniformLocation",
                        "setUvec4: End glGetUniformLocation", StartsWith("setUvec4: name: u, x: "),
                        "setUvec4: Start glUniform4ui", "setUvec4: End glUniform4ui",
                        "setUvec4: Finish setUvec4 of GfxShader", "<< setUvec4"));
}

TEST_F(GfxShaderGLTest, EveryGlCallIsCheckedWithItsText) {
    const std::string status = "glGetShaderiv(shader, GL_COMPILE_STATUS, &success)";
    const std::string length = "glGetShaderiv(shader, GL_INFO_LOG_LENGTH, &InfoLogLength)";
    std::vector<std::string> expected = {
            "vertex = glCreateShader(GL_VERTEX_SHADER)",
            "glShaderSource(vertex, 1, &vShaderCode, NULL)",
            "glCompileShader(vertex)",
            status,
            length,
            "fragment = glCreateShader(GL_FRAGMENT_SHADER)",
            "glShaderSource(fragment, 1, &fShaderCode, NULL)",
            "glCompileShader(fragment)",
            status,
            length,
            "ID = glCreateProgram()",
            "glAttachShader(ID, vertex)",
            "glAttachShader(ID, fragment)",
            "glLinkProgram(ID)",
            "glGetProgramiv(shader, GL_LINK_STATUS, &success)",
            "glGetProgramiv(shader, GL_INFO_LOG_LENGTH, &InfoLogLength)",
            "glDeleteShader(vertex)",
            "glDeleteShader(fragment)",
    };
    EXPECT_THAT(checkedTexts([] { GfxShader(kVertex, kFragment); }), ElementsAreArray(expected));
}

TEST_F(GfxShaderGLTest, InfoLogIsFetchedUnderItsName) {
    const GfxShader broken(kVertex, kBroken);
    log.clear();
    GlTrace trace;
    trace.raiseAlways(GL_INVALID_VALUE);
    GfxShader(kVertex, kBroken);
    EXPECT_THAT(log.errors(),
                Contains(HasSubstr("glGetShaderInfoLog(shader, InfoLogLength, NULL, "
                                   "&VertexShaderErrorMessage[0]) failed: INVALID_VALUE \n")));
    EXPECT_THAT(log.errors(),
                Contains(HasSubstr("glGetProgramInfoLog(shader, InfoLogLength, NULL, "
                                   "&ProgramErrorMessage[0]) failed: INVALID_VALUE \n")));
}

}  // namespace
}  // namespace android::test
