// SPDX-License-Identifier: Apache-2.0
#include "pictures/formats.h"

#include <algorithm>
#include <cctype>
#include <limits>
#include <utility>

#include "common/listed.h"
#include "pictures/alpha.h"
#include "pictures/codecs.h"
#include "pictures/metadata.h"

namespace upscale {
namespace {

using namespace std::string_view_literals;

constexpr std::uint32_t kAnySide = std::numeric_limits<std::int32_t>::max();

std::string lowerCase(std::string text) {
    std::transform(text.begin(), text.end(), text.begin(),
                   [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
    return text;
}

bool beginsWith(const std::string& head, std::string_view magic) {
    return head.size() >= magic.size() &&
           std::equal(magic.begin(), magic.end(), head.begin(),
                      [](char wanted, char is) { return wanted == '?' || wanted == is; });
}

}  // namespace

// clang-format off
const std::vector<PictureFormat> kPictureFormats = {
    // name  extensions       largest side  alpha  quality     magic                    reader    streams, writer
    {"PNG",  {"png"},         kAnySide,     true,  kNoQuality, {"\x89PNG\r\n\x1a\n"sv}, openPng,  true,  createPng},
    {"JPEG", {"jpg", "jpeg"}, 65500,        false, 90,         {"\xff\xd8\xff"sv},      openJpeg, true,  createJpeg},
    {"WebP", {"webp"},        16383,        true,  kLossless,  {"RIFF????WEBP"sv},      openWebP, false, createWebP},
    {"TIFF", {"tif", "tiff"}, kAnySide,     true,  kNoQuality, {"II*\0"sv, "MM\0*"sv,
                                                                "II+\0"sv, "MM\0+"sv}, openTiff, true,  createTiff},
    {"AVIF", {"avif"},        16384,        true,  80,         {"????ftypavif"sv, "????ftypavis"sv}, openAvif, false, createAvif},
};
// clang-format on

const PictureFormat* formatNamed(const std::string& name) {
    const std::string lower = lowerCase(name);
    for (const PictureFormat& format : kPictureFormats) {
        const auto& extensions = format.extensions;
        if (lower == wordOf(format) ||
            std::find(extensions.begin(), extensions.end(), lower) != extensions.end())
            return &format;
    }
    return nullptr;
}

std::string wordOf(const PictureFormat& format) {
    return lowerCase(format.name);
}

std::string formatNames(const std::string& conjunction) {
    std::vector<std::string> names;
    for (const PictureFormat& format : kPictureFormats) {
        names.push_back(format.name);
    }
    return listed(names, conjunction);
}

std::vector<std::string> formatWords() {
    std::vector<std::string> words;
    for (const PictureFormat& format : kPictureFormats) {
        words.push_back(wordOf(format));
    }
    return words;
}

std::string extensionOf(const std::string& path) {
    const std::string file = path.substr(path.rfind('/') + 1);
    const std::size_t dot = file.rfind('.');
    return dot == std::string::npos ? "" : file.substr(dot + 1);
}

OpenPicture openPicture(const std::string& path) {
    InputFile file(path);
    for (const PictureFormat& format : kPictureFormats) {
        for (const std::string_view magic : format.magic) {
            if (beginsWith(file.head(), magic)) return {&format, format.open(std::move(file))};
        }
    }
    file.fail("not a " + formatNames("or") + " file");
}

std::unique_ptr<PictureWriter> createPicture(PictureHeader header, const PictureFormat& format,
                                             Encoding encoding, std::FILE* file, std::string name) {
    if (!encoding.quality) encoding.quality = format.defaultQuality;
    mendMetadata(header.tags, header.width, header.height);
    return format.create(std::move(header), encoding, file, std::move(name));
}

std::vector<std::string> writePicture(const Picture& picture, const PictureFormat& format,
                                      const Encoding& encoding, std::FILE* file,
                                      const std::string& name) {
    PictureHeader header = {picture.width, picture.height, picture.grey, hasTransparency(picture),
                            picture.tags};
    const auto writer = createPicture(std::move(header), format, encoding, file, name);
    writer->writeRows(picture.pixels.data(), picture.height);
    writer->finish();
    return writer->dropped();
}

}  // namespace upscale
