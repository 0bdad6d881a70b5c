// SPDX-License-Identifier: Apache-2.0
#include "support/operations.h"

#include <stdexcept>

namespace android::test {
namespace {

template <typename... Floats>
std::vector<uint32_t> bits(Floats... values) {
    std::vector<uint32_t> all;
    for (const float value : {values...}) {
        uint32_t word;
        std::memcpy(&word, &value, sizeof(word));
        all.push_back(word);
    }
    return all;
}

float asFloat(uint32_t word) {
    float value;
    std::memcpy(&value, &word, sizeof(value));
    return value;
}

const UniformRow kSizeInfo = {"SizeInfo", "setVec4", bits(24.0f, 16.0f, 48.0f, 64.0f)};

const std::vector<UniformRow> kEasuUniforms = {
        {"vec4_0", "setVec4",
         bits(24.0f * (1.0f / 48.0f), 0.25f, 12.0f * (1.0f / 48.0f) - 0.5f, -0.375f)},
        {"vec4_1", "setVec4", bits(1.0f / 24.0f, 1.0f / 16.0f, 1.0f / 24.0f, -1.0f / 16.0f)},
        {"vec4_2", "setVec4", bits(-1.0f / 24.0f, 2.0f / 16.0f, 1.0f / 24.0f, 2.0f / 16.0f)},
        {"vec4_3", "setVec4", bits(0.0f, 4.0f / 16.0f, 0.0f, 0.0f)},
        kSizeInfo,
};

std::vector<UniformRow> rcasUniforms(float scale) {
    return {{"sharpness", "setFloat", bits(scale)}, kSizeInfo};
}

std::vector<UniformRow> casUniforms(float peak, uint32_t half) {
    return {kSizeInfo,
            {"Const0", "setUvec4", bits(0.5f, 0.25f, -0.25f, -0.375f)},
            {"Const1", "setUvec4", {bits(peak)[0], half, bits(4.0f)[0], 0}}};
}

const std::vector<UniformRow> kCasSharpenUniforms = {
        {"SizeInfo", "setVec4", bits(48.0f, 64.0f, 48.0f, 64.0f)},
        {"Const0", "setUvec4", bits(1.0f, 1.0f, 0.0f, 0.0f)},
        {"Const1", "setUvec4", {bits(-0.125f)[0], 0xB000, bits(8.0f)[0], 0}},
};

PassRow copy(const char* program, const char* size) {
    return {program, {}, "mTextureColorCopy", "mFrameBufferCopy", size, "srcTexture"};
}

PassRow upscale(const char* program, std::vector<UniformRow> uniforms) {
    return {program, std::move(uniforms), "mTextureColorEasu", "mFrameBufferEasu",
            "dst",   "mTextureColorCopy"};
}

PassRow last(const char* program, std::vector<UniformRow> uniforms, const char* input) {
    return {program, std::move(uniforms), "dstTexture", "mFrameBufferRcas", "dst", input};
}

std::string uniformText(const UniformRow& uniform) {
    std::string bitList;
    std::string numbers = "*";
    for (const uint32_t word : uniform.bits)
        bitList += (bitList.empty() ? "" : "~") + std::to_string(word);
    if (uniform.setter == std::string("setVec4")) {
        numbers.clear();
        const char* const titles[] = {"", ",~y:~", ",~z:~", ",~w:~"};
        for (size_t i = 0; i < 4; ++i)
            numbers += titles[i] + std::to_string(asFloat(uniform.bits[i]));
        numbers += ",~value_location:~{value_location}";
    }
    const std::string setter = uniform.setter;
    return std::string("include ") + (setter == "setFloat" ? "scalar" : "vector") +
           " setter=" + setter + " uniform=" +
           (setter == "setFloat"  ? "glUniform1f"
            : setter == "setVec4" ? "glUniform4f"
                                  : "glUniform4ui") +
           " name=" + uniform.name + " bits=" + bitList + " numbers=" + numbers + "\n";
}

std::string passText(const OperationRow& row, const PassRow& pass) {
    const bool intermediate = pass.target != "dstTexture";
    std::string text;
    if (!intermediate)
        text += "| " + row.name + ": sharpness: " + std::to_string(row.sharpness) + "\n";
    text += "include use program=" + pass.program + "\n";
    for (const UniformRow& uniform : pass.uniforms)
        text += uniformText(uniform);
    return text + "include pass target=" + pass.target + " frameBuffer=" + pass.frameBuffer +
           " size=" + pass.size + " input=" + pass.input + " inputTarget=" +
           (pass.input == "srcTexture" ? "GL_TEXTURE_EXTERNAL_OES" : "GL_TEXTURE_2D") +
           " filter=" + row.magnification + " intermediate=" + (intermediate ? "1" : "") +
           " clears=" + (row.clears ? "1" : "") + "\n";
}

}  // namespace

std::ostream& operator<<(std::ostream& out, const OperationRow& row) {
    return out << row.name;
}

const std::vector<OperationRow>& operations() {
    // clang-format off
    static const std::vector<OperationRow> rows = {
        // name, function, sharpness, passes, magnification, clears, flushes before the dup, trace queries, deletes mTextureColorEasu
        {"fsrResize", &Upscaler::fsrResize, 2.0f,
         {copy("mCopyShaderP", "src"), upscale("mEasuShaderP", kEasuUniforms), last("mRcasShaderP", rcasUniforms(0.25f), "mTextureColorEasu")},
         "GL_LINEAR", true, true, 14, true},
        {"neaResize", &Upscaler::neaResize, -1.0f,
         {copy("mCopyShaderP", "src"), upscale("mUpscalerShaderP", {}), last("mRcasShaderP", rcasUniforms(2.0f), "mTextureColorEasu")},
         "GL_NEAREST", false, false, 6, true},
        {"casSharpen", &Upscaler::casSharpen, 1.0f,
         {copy("mCopyShaderP", "dst"), last("mCasSharpenShaderP", kCasSharpenUniforms, "mTextureColorCopy")},
         "GL_LINEAR", false, false, 6, false},
        {"casResize", &Upscaler::casResize, 0.0f,
         {copy("mCopyShaderP", "src"), last("mCasUpscaleShaderP", casUniforms(-0.2f, 0xB266), "mTextureColorCopy")},
         "GL_NEAREST", false, false, 6, true},
        {"casvUpscale", &Upscaler::casvUpscale, 9.0f,
         {copy("mRgb2hsvShaderP", "src"), last("mCasVUpscaleFloatShaderP", casUniforms(-0.125f, 0xB000), "mTextureColorCopy")},
         "GL_NEAREST", false, false, 6, false},
        {"casTUpscale", &Upscaler::casTUpscale, 0.5f,
         {copy("mCopyShaderP", "src"), last("mCasTUpscaleShaderP", casUniforms(-20.0f / 97.5f, 0xB290), "mTextureColorCopy")},
         "GL_NEAREST", false, false, 6, false},
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

Script operationScript(const OperationRow& row, Cache cache) {
    const bool miss = cache == Cache::Miss;
    const std::string hitOrMiss = miss ? " miss=1" : " hit=1";
    std::string text = "| >> " + row.name + "\n";
    text += "include import which=src target=GL_TEXTURE_EXTERNAL_OES count=" +
            std::string(miss ? "1" : "2") + hitOrMiss + "\n";
    text += "include import which=dst target=GL_TEXTURE_2D count=2" + hitOrMiss + "\n";
    for (const PassRow& pass : row.passes)
        text += passText(row, pass);
    text += std::string("include fence ") +
            (row.flushesBeforeDup ? "flushesFirst=1" : "flushesLast=1") +
            (row.deletesEasu ? " deletesEasu=1" : "") + "\n";
    return scriptOf(text + "| << " + row.name + "\n");
}

Words wordsOf(Upscaler& upscaler, const sp<GraphicBuffer>& src, const sp<GraphicBuffer>& dst) {
    Words words = UpscalerPeer::words(upscaler);
    words.insert({{"srcWidth", src->getWidth()},
                  {"srcHeight", src->getHeight()},
                  {"dstWidth", dst->getWidth()},
                  {"dstHeight", dst->getHeight()},
                  {"srcBuffer", reinterpret_cast<uintptr_t>(src->getNativeBuffer())},
                  {"dstBuffer", reinterpret_cast<uintptr_t>(dst->getNativeBuffer())}});
    for (const auto& [which, buffer] : {std::make_pair("src", src), std::make_pair("dst", dst)}) {
        const auto& textures = UpscalerPeer::textures(upscaler);
        const auto cached = textures.find(bufferKey(buffer));
        if (cached != textures.end()) words[std::string(which) + "Texture"] = cached->second;
    }
    return words;
}

}  // namespace android::test
