// SPDX-License-Identifier: Apache-2.0
#include "pictures/metadata.h"

#include <algorithm>
#include <exception>
#include <exiv2/exiv2.hpp>
#include <mutex>
#include <utility>

#include "pictures/orientation.h"

namespace upscale {
namespace {

// exiv2's parser of XMP is not thread-safe.
std::mutex xmpMutex;

void mendXmp(std::vector<std::uint8_t>& xmp, std::uint32_t width, std::uint32_t height) {
    const std::pair<const char*, std::uint32_t> kValues[] = {
            {"Xmp.tiff.Orientation", 1},          {"Xmp.tiff.ImageWidth", width},
            {"Xmp.tiff.ImageLength", height},     {"Xmp.exif.PixelXDimension", width},
            {"Xmp.exif.PixelYDimension", height},
    };
    const std::lock_guard<std::mutex> lock(xmpMutex);
    try {
        Exiv2::XmpData data;
        if (Exiv2::XmpParser::decode(data, std::string(xmp.begin(), xmp.end())) != 0) return;
        bool changed = false;
        for (const auto& [name, value] : kValues) {
            const auto found = data.findKey(Exiv2::XmpKey(name));
            const std::string text = std::to_string(value);
            if (found == data.end() || found->toString() == text) continue;
            found->setValue(text);
            changed = true;
        }
        std::string packet;
        if (!changed || Exiv2::XmpParser::encode(packet, data) != 0) return;
        xmp.assign(packet.begin(), packet.end());
    } catch (const std::exception&) {
    }
}

}  // namespace

void mendMetadata(Tags& tags, std::uint32_t width, std::uint32_t height) {
    mendExif(tags.exif, width, height);
    if (!tags.xmp.empty()) mendXmp(tags.xmp, width, height);
}

std::string keywordOf(const TextChunk& text) {
    return {text.data.begin(), std::find(text.data.begin(), text.data.end(), 0)};
}

}  // namespace upscale
