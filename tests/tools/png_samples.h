// SPDX-License-Identifier: Apache-2.0
/// @file
/// Pictures to test with, and PNG files of every kind.
#ifndef UPSCALER_TESTS_TOOLS_PNG_SAMPLES_H
#define UPSCALER_TESTS_TOOLS_PNG_SAMPLES_H

#include <algorithm>
#include <array>
#include <cstdint>
#include <string>

#include "tools/picture.h"

using Rgba = std::array<std::uint8_t, 4>;

/// The picture whose pixels are `paint(x, y)`.
template <typename Paint>
upscale::Picture painted(std::uint32_t width, std::uint32_t height, Paint paint) {
    upscale::Picture picture(width, height);
    for (std::uint32_t i = 0; i < picture.pixelCount(); ++i) {
        const Rgba pixel = paint(i % width, i / width);
        std::copy(pixel.begin(), pixel.end(), picture.pixel(i));
    }
    return picture;
}

/// Makes a PNG file of noise with ImageMagick, in the way that its options tell.
void makePng(const std::string& path, const std::string& size, const std::string& options);

/// Writes a picture as the tool does.
void savePng(const std::string& path, const upscale::Picture& picture);
upscale::Picture loadPng(const std::string& path);
/// Reads the bytes of a file, by the name "in".
upscale::Picture loaded(const std::string& bytes);
/// Why the bytes of a file cannot be read; empty if they can.
std::string reasonOf(const std::string& bytes);

/// The colour type in the file's header.
int storedColourType(const std::string& path);

/// Changes the size in the header of a PNG file, given as bytes, with a fitting checksum.
std::string withHeaderSize(std::string png, std::uint32_t width, std::uint32_t height);

#endif  // UPSCALER_TESTS_TOOLS_PNG_SAMPLES_H
