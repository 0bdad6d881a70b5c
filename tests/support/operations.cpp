// SPDX-License-Identifier: Apache-2.0
#include "support/operations.h"

#include <stdexcept>

namespace android::test {

std::ostream& operator<<(std::ostream& out, const OperationRow& row) {
    return out << row.name;
}

const std::vector<OperationRow>& operations() {
    static const std::vector<OperationRow> rows = {
            // name, function, sharpness, passes, trace queries
            {"fsrResize", &Upscaler::fsrResize, 2.0f, 3, 14},
            {"neaResize", &Upscaler::neaResize, -1.0f, 3, 6},
            {"casSharpen", &Upscaler::casSharpen, 1.0f, 2, 6},
            {"casResize", &Upscaler::casResize, 0.0f, 2, 6},
            {"casvUpscale", &Upscaler::casvUpscale, 9.0f, 2, 6},
            {"casTUpscale", &Upscaler::casTUpscale, 0.5f, 2, 6},
    };
    return rows;
}

const OperationRow& operation(const std::string& name) {
    for (const OperationRow& row : operations()) {
        if (row.name == name) return row;
    }
    throw std::invalid_argument(name);
}

Script operationScript(const OperationRow& row, Cache cache) {
    return scriptOf("include " + row.name + " cache=" + (cache == Cache::Miss ? "miss" : "hit") +
                    "=1");
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
