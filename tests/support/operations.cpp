// SPDX-License-Identifier: Apache-2.0
#include "support/operations.h"

#include <stdexcept>

namespace android::test {
namespace {

const std::vector<std::string> kEasuUniforms = {"vec4_0", "vec4_1", "vec4_2", "vec4_3", "SizeInfo"};
const std::vector<std::string> kRcasUniforms = {"sharpness", "SizeInfo"};
const std::vector<std::string> kCasUniforms = {"SizeInfo", "Const0", "Const1"};

PassRow copy(UpscalerPeer::Shader program, const char* size) {
    return {program, {}, "mTextureColorCopy", "mFrameBufferCopy", size, "srcTexture"};
}

PassRow upscale(UpscalerPeer::Shader program, std::vector<std::string> uniforms) {
    return {program, std::move(uniforms), "mTextureColorEasu", "mFrameBufferEasu",
            "dst",   "mTextureColorCopy"};
}

PassRow last(UpscalerPeer::Shader program, std::vector<std::string> uniforms, const char* input) {
    return {program, std::move(uniforms), "dstTexture", "mFrameBufferRcas", "dst", input};
}

std::string setterOf(const std::string& uniform) {
    if (uniform == "sharpness") return "glUniform1f(value_location, value)";
    if (uniform == "Const0" || uniform == "Const1")
        return "glUniform4ui(value_location, x, y, z, w)";
    return "glUniform4f(value_location, x, y, z, w)";
}

std::vector<std::string> passTexts(const OperationRow& row, const PassRow& pass) {
    const std::string location = "value_location = glGetUniformLocation(ID, name.c_str())";
    const std::string width = pass.size + "Width";
    const std::string height = pass.size + "Height";
    const std::string bindFrameBuffer =
            "glBindFramebuffer(GL_FRAMEBUFFER, " + pass.frameBuffer + ")";

    std::vector<std::string> texts = {"glUseProgram(ID)", location,
                                      "glUniform1i(value_location, value)"};
    for (const std::string& uniform : pass.uniforms) {
        texts.push_back(location);
        texts.push_back(setterOf(uniform));
    }
    const bool intermediate = pass.target != "dstTexture";
    if (intermediate) texts.push_back("glGenTextures(1, &" + pass.target + ")");
    texts.push_back("glBindTexture(GL_TEXTURE_2D, " + pass.target + ")");
    if (intermediate) {
        texts.push_back("glTexImage2D(GL_TEXTURE_2D, 0, GL_RGB, " + width + ", " + height +
                        ", 0, GL_RGB, GL_UNSIGNED_BYTE, NULL)");
        texts.push_back("glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_MIN_FILTER, GL_NEAREST)");
        texts.push_back("glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_MAG_FILTER, " +
                        row.magnification + ")");
    }
    texts.push_back(bindFrameBuffer);
    texts.push_back("glFramebufferTexture2D(GL_FRAMEBUFFER, GL_COLOR_ATTACHMENT0, GL_TEXTURE_2D, " +
                    pass.target + ", 0)");
    texts.push_back("glViewport(0, 0, " + width + ", " + height + ")");
    texts.push_back(bindFrameBuffer);
    texts.push_back("glDisable(GL_DEPTH_TEST)");
    if (row.clears) {
        texts.push_back("glClearColor(0.1f, 0.1f, 0.1f, 1.0f)");
        texts.push_back("glClear(GL_COLOR_BUFFER_BIT)");
    }
    texts.push_back("glBindVertexArray(mQuadVAO)");
    texts.push_back(pass.input == "srcTexture"
                            ? "glBindTexture(GL_TEXTURE_EXTERNAL_OES, srcTexture)"
                            : "glBindTexture(GL_TEXTURE_2D, " + pass.input + ")");
    texts.push_back("glDrawArrays(GL_TRIANGLES, 0, 6)");
    return texts;
}

// With the EGL calls of the fence by their bare names.
std::vector<std::string> frame(const OperationRow& row) {
    std::vector<std::string> texts = {"glBindTexture(texture_target, texture)",
                                      "glBindTexture(texture_target, texture)"};
    for (const PassRow& pass : row.passes) {
        for (std::string& text : passTexts(row, pass))
            texts.push_back(std::move(text));
    }
    texts.push_back("eglCreateSyncKHR");
    if (row.flushesBeforeDup) texts.push_back("glFlush()");
    texts.push_back("eglDupNativeFenceFDANDROID");
    texts.push_back("eglDestroySyncKHR");
    if (!row.flushesBeforeDup) texts.push_back("glFlush()");
    for (const std::string& name : row.deletes)
        texts.push_back("glDeleteTextures(1, &" + name + ")");
    return texts;
}

}  // namespace

std::ostream& operator<<(std::ostream& out, const OperationRow& row) {
    return out << row.name;
}

const std::vector<OperationRow>& operations() {
    using Peer = UpscalerPeer;
    const std::vector<std::string> copyOnly = {"mTextureColorCopy"};
    const std::vector<std::string> both = {"mTextureColorEasu", "mTextureColorCopy"};
    // clang-format off
    static const std::vector<OperationRow> rows = {
        // name, function, passes, magnification, clears, flushes before the dup, trace queries, deletes
        {"fsrResize", &Upscaler::fsrResize,
         {copy(Peer::kCopyShader, "src"), upscale(Peer::kEasuShader, kEasuUniforms), last(Peer::kRcasShader, kRcasUniforms, "mTextureColorEasu")},
         "GL_LINEAR", true, true, 14, both},
        {"neaResize", &Upscaler::neaResize,
         {copy(Peer::kCopyShader, "src"), upscale(Peer::kUpscalerShader, {}), last(Peer::kRcasShader, kRcasUniforms, "mTextureColorEasu")},
         "GL_NEAREST", false, false, 6, both},
        {"casSharpen", &Upscaler::casSharpen,
         {copy(Peer::kCopyShader, "dst"), last(Peer::kCasSharpenShader, kCasUniforms, "mTextureColorCopy")},
         "GL_LINEAR", false, false, 6, copyOnly},
        {"casResize", &Upscaler::casResize,
         {copy(Peer::kCopyShader, "src"), last(Peer::kCasUpscaleShader, kCasUniforms, "mTextureColorCopy")},
         "GL_NEAREST", false, false, 6, both},
        {"casvUpscale", &Upscaler::casvUpscale,
         {copy(Peer::kRgb2hsvShader, "src"), last(Peer::kCasVUpscaleShader, kCasUniforms, "mTextureColorCopy")},
         "GL_NEAREST", false, false, 6, copyOnly},
        {"casTUpscale", &Upscaler::casTUpscale,
         {copy(Peer::kCopyShader, "src"), last(Peer::kCasTUpscaleShader, kCasUniforms, "mTextureColorCopy")},
         "GL_NEAREST", false, false, 6, copyOnly},
    };
    // clang-format on
    return rows;
}

const OperationRow& operation(const std::string& name) {
    for (const OperationRow& row : operations()) {
        if (row.name == name) return row;
    }
    throw std::invalid_argument(name);
}

std::vector<std::string> expectedTexts(const OperationRow& row) {
    std::vector<std::string> texts;
    for (std::string& text : frame(row)) {
        if (text.compare(0, 3, "egl") != 0) texts.push_back(std::move(text));
    }
    return texts;
}

std::vector<std::string> expectedCalls(const OperationRow& row) {
    std::vector<std::string> names = frame(row);
    for (std::string& text : names) {
        const size_t assigned = text.find(" = ");
        if (assigned != std::string::npos) text.erase(0, assigned + 3);
        text.erase(std::min(text.find('('), text.size()));
    }
    return names;
}

}  // namespace android::test
