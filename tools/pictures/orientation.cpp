// SPDX-License-Identifier: Apache-2.0
#include "pictures/orientation.h"

#include <algorithm>
#include <utility>

namespace upscale {
namespace {

constexpr unsigned kOrientationTag = 0x0112;
constexpr unsigned kImageWidthTag = 0x0100;
constexpr unsigned kImageHeightTag = 0x0101;
constexpr unsigned kXResolutionTag = 0x011a;
constexpr unsigned kYResolutionTag = 0x011b;
constexpr unsigned kPhotoTag = 0x8769;
constexpr unsigned kPixelWidthTag = 0xa002;
constexpr unsigned kPixelHeightTag = 0xa003;
constexpr unsigned kShortType = 3;
constexpr unsigned kLongType = 4;
constexpr std::size_t kEntryBytes = 12;

// Numbers of two and four bytes, in the data's own order; 0 past its end.
struct Numbers {
    const std::uint8_t* data;
    std::size_t size;
    bool bigEndian;

    std::uint32_t at(std::size_t offset, std::size_t bytes) const {
        if (offset > size || size - offset < bytes) return 0;
        std::uint32_t number = 0;
        for (std::size_t i = 0; i < bytes; ++i) {
            number = number << 8 | data[offset + (bigEndian ? i : bytes - 1 - i)];
        }
        return number;
    }
};

bool isExif(const std::uint8_t* data, std::size_t size) {
    return size >= 8 && data[0] == data[1] && (data[0] == 'I' || data[0] == 'M');
}

}  // namespace

int exifOrientation(const std::uint8_t* data, std::size_t size) {
    if (!isExif(data, size)) return 1;
    const Numbers numbers = {data, size, data[0] == 'M'};
    const std::size_t directory = numbers.at(4, 4);
    const std::size_t entries = numbers.at(directory, 2);
    for (std::size_t i = 0; i < entries; ++i) {
        const std::size_t entry = directory + 2 + i * kEntryBytes;
        if (numbers.at(entry, 2) != kOrientationTag) continue;
        const std::uint32_t value = numbers.at(entry + 8, 2);
        const bool valid = numbers.at(entry + 2, 2) == kShortType && value >= 1 && value <= 8;
        return valid ? static_cast<int>(value) : 1;
    }
    return 1;
}

void mendExif(std::vector<std::uint8_t>& data, std::uint32_t width, std::uint32_t height) {
    if (!isExif(data.data(), data.size())) return;
    const Numbers numbers = {data.data(), data.size(), data[0] == 'M'};
    const auto put = [&](std::size_t at, std::uint32_t value, std::size_t bytes) {
        if (at > data.size() || data.size() - at < bytes) return;
        for (std::size_t i = 0; i < bytes; ++i) {
            const std::size_t shift = 8 * (numbers.bigEndian ? bytes - 1 - i : i);
            data[at + i] = static_cast<std::uint8_t>(value >> shift);
        }
    };
    const auto putLong = [&](std::size_t entry, std::uint32_t value) {
        put(entry + 2, kLongType, 2);
        put(entry + 4, 1, 4);
        put(entry + 8, value, 4);
    };
    const int orientation = exifOrientation(data.data(), data.size());
    std::size_t xResolution = 0;  // Where the value is.
    std::size_t yResolution = 0;
    std::size_t directory = numbers.at(4, 4);
    // The first directory, and the one of the photograph, to which it points.
    for (int round = 0; round < 2 && directory != 0; ++round) {
        const std::size_t entries = numbers.at(directory, 2);
        std::size_t next = 0;
        for (std::size_t i = 0; i < entries; ++i) {
            const std::size_t entry = directory + 2 + i * kEntryBytes;
            if (entry + kEntryBytes > data.size()) return;
            switch (numbers.at(entry, 2)) {
                case kOrientationTag:
                    if (numbers.at(entry + 2, 2) == kShortType) put(entry + 8, 1, 2);
                    break;
                case kXResolutionTag:
                    xResolution = entry + 8;
                    break;
                case kYResolutionTag:
                    yResolution = entry + 8;
                    break;
                case kPhotoTag:
                    next = numbers.at(entry + 8, 4);
                    break;
                case kImageWidthTag:
                case kPixelWidthTag:
                    putLong(entry, width);
                    break;
                case kImageHeightTag:
                case kPixelHeightTag:
                    putLong(entry, height);
                    break;
            }
        }
        if (round == 0 && orientation != 1) put(directory + 2 + entries * kEntryBytes, 0, 4);
        directory = next;
    }
    if (turnsSideways(orientation) && xResolution != 0 && yResolution != 0) {
        const std::uint32_t x = numbers.at(xResolution, 4);
        put(xResolution, numbers.at(yResolution, 4), 4);
        put(yResolution, x, 4);
    }
}

Picture upright(Picture picture, int orientation) {
    if (orientation == 1) return picture;
    const bool sideways = turnsSideways(orientation);
    // Where the stored rows and columns begin, seen along the stored axes.
    const bool fromRight =
            orientation == 2 || orientation == 3 || orientation == 7 || orientation == 8;
    const bool fromBottom =
            orientation == 3 || orientation == 4 || orientation == 6 || orientation == 7;
    Picture result(sideways ? picture.height : picture.width,
                   sideways ? picture.width : picture.height);
    std::uint8_t* to = result.pixels.data();
    for (std::size_t y = 0; y < result.height; ++y) {
        for (std::size_t x = 0; x < result.width; ++x, to += Picture::kChannels) {
            std::size_t column = sideways ? y : x;
            std::size_t row = sideways ? x : y;
            if (fromRight) column = picture.width - 1 - column;
            if (fromBottom) row = picture.height - 1 - row;
            std::copy_n(picture.pixel(row * picture.width + column), Picture::kChannels, to);
        }
    }
    return result;
}

}  // namespace upscale
