// SPDX-License-Identifier: Apache-2.0
#include "pictures/picture_file.h"

#include <algorithm>
#include <cctype>
#include <limits>
#include <utility>

#include "pictures/input_file.h"
#include "pictures/jpeg_file.h"
#include "pictures/png_file.h"
#include "pictures/webp_file.h"

namespace upscale {

std::unique_ptr<PictureReader> openPicture(const std::string& path) {
    InputFile file(path);
    if (isPng(file.head())) return std::make_unique<PngReader>(std::move(file));
    if (isJpeg(file.head())) return std::make_unique<JpegReader>(file);
    if (isWebP(file.head())) return std::make_unique<WebPReader>(file);
    file.fail("not a PNG, JPEG or WebP file");
}

std::optional<Format> formatNamed(const std::string& name) {
    std::string lower = name;
    std::transform(lower.begin(), lower.end(), lower.begin(),
                   [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
    if (lower == "png") return Format::Png;
    if (lower == "jpg" || lower == "jpeg") return Format::Jpeg;
    if (lower == "webp") return Format::WebP;
    return std::nullopt;
}

std::uint32_t largestSide(Format format) {
    if (format == Format::Jpeg) return kLargestJpegSide;
    if (format == Format::WebP) return kLargestWebPSide;
    return std::numeric_limits<std::int32_t>::max();
}

const char* nameOf(Format format) {
    return format == Format::Jpeg ? "JPEG" : format == Format::WebP ? "WebP" : "PNG";
}

std::string extensionOf(const std::string& path) {
    const std::string file = path.substr(path.rfind('/') + 1);
    const std::size_t dot = file.rfind('.');
    return dot == std::string::npos ? "" : file.substr(dot + 1);
}

const char* usualExtension(Format format) {
    return format == Format::Jpeg ? "jpg" : format == Format::WebP ? "webp" : "png";
}

void writePicture(const Picture& picture, const Encoding& encoding, std::FILE* file,
                  const std::string& name) {
    switch (encoding.format) {
        case Format::Png:
            return writePng(picture, file, name);
        case Format::Jpeg:
            return writeJpeg(picture, encoding.quality.value_or(kDefaultJpegQuality), file, name);
        case Format::WebP:
            return writeWebP(picture, encoding.quality, file, name);
    }
}

}  // namespace upscale
