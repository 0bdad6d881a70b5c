// SPDX-License-Identifier: Apache-2.0
#include "png_samples.h"

#include <png.h>
#include <zlib.h>

#include <cstdio>
#include <vector>

#include "temporary_folder.h"
#include "tools/png_file.h"

namespace {

constexpr std::size_t kHeaderAt = 16;      // of the width, past signature, length and type
constexpr std::size_t kColourTypeAt = 25;  // and depth
constexpr std::size_t kHeaderSumAt = 29;
// The samples that tRNS makes transparent, and the palette entry that it makes half so.
constexpr unsigned kTransparent = 1;

unsigned channelsOf(int colourType) {
    if (colourType == PNG_COLOR_TYPE_PALETTE) return 1;
    return ((colourType & PNG_COLOR_MASK_COLOR) ? 3u : 1u) +
           ((colourType & PNG_COLOR_MASK_ALPHA) ? 1u : 0u);
}

// Every value of the small depths, and both bytes of the largest at work.
unsigned sampleAt(const PngKind& kind, unsigned x, unsigned y, unsigned channel) {
    const unsigned value = (x * 37 + y * 101 + channel * 59) * (kind.depth == 16 ? 263u : 1u);
    const bool plain = channel == 0 && x == y && kind.transparentColour;
    return plain ? kTransparent : value & ((1u << kind.depth) - 1);
}

png_color paletteEntry(unsigned index) {
    return {static_cast<png_byte>(index * 15), static_cast<png_byte>(255 - index * 9),
            static_cast<png_byte>(index * 71)};
}

std::uint8_t toByte(unsigned sample, int depth) {
    const unsigned most = (1u << depth) - 1;
    return static_cast<std::uint8_t>((sample * 255ull + most / 2) / most);
}

void expectPixel(const PngKind& kind, const std::vector<unsigned>& samples, std::uint8_t* pixel) {
    if (kind.colourType == PNG_COLOR_TYPE_PALETTE) {
        const png_color colour = paletteEntry(samples[0]);
        pixel[0] = colour.red;
        pixel[1] = colour.green;
        pixel[2] = colour.blue;
        pixel[3] = kind.transparentColour && samples[0] == kTransparent ? 128 : 255;
        return;
    }
    const bool colour = (kind.colourType & PNG_COLOR_MASK_COLOR) != 0;
    bool transparent = kind.transparentColour;
    for (unsigned c = 0; c < 3; ++c) {
        const unsigned sample = samples[colour ? c : 0];
        pixel[c] = toByte(sample, kind.depth);
        transparent = transparent && sample == kTransparent;
    }
    const bool alpha = (kind.colourType & PNG_COLOR_MASK_ALPHA) != 0;
    pixel[3] = alpha ? toByte(samples.back(), kind.depth) : transparent ? 0 : 255;
}

void putSample(std::vector<png_byte>& row, std::size_t index, unsigned sample, int depth) {
    if (depth == 16) {
        row[index * 2] = static_cast<png_byte>(sample >> 8);
        row[index * 2 + 1] = static_cast<png_byte>(sample);
        return;
    }
    const std::size_t bit = index * static_cast<std::size_t>(depth);
    row[bit / 8] = static_cast<png_byte>(row[bit / 8] |
                                         sample << (8 - static_cast<std::size_t>(depth) - bit % 8));
}

struct CloseFile {
    void operator()(std::FILE* file) const { std::fclose(file); }
};
using File = std::unique_ptr<std::FILE, CloseFile>;

}  // namespace

upscale::Picture writeSamplePng(const std::string& path, const PngKind& kind, std::uint32_t width,
                                std::uint32_t height) {
    const unsigned channels = channelsOf(kind.colourType);
    upscale::Picture expected(width, height);
    expected.grey = (kind.colourType & PNG_COLOR_MASK_COLOR) == 0;
    const std::size_t bits = std::size_t{width} * channels * static_cast<unsigned>(kind.depth);
    std::vector<std::vector<png_byte>> rows(height, std::vector<png_byte>((bits + 7) / 8));
    std::vector<png_bytep> rowAddresses;
    std::vector<unsigned> samples(channels);
    for (std::uint32_t y = 0; y < height; ++y) {
        for (std::uint32_t x = 0; x < width; ++x) {
            for (unsigned c = 0; c < channels; ++c) {
                samples[c] = sampleAt(kind, x, y, c);
                putSample(rows[y], std::size_t{x} * channels + c, samples[c], kind.depth);
            }
            expectPixel(kind, samples, expected.row(y) + std::size_t{x} * 4);
        }
        rowAddresses.push_back(rows[y].data());
    }

    // An error ends the test program: none is expected.
    const File file(std::fopen(path.c_str(), "wb"));
    png_structp png = png_create_write_struct(PNG_LIBPNG_VER_STRING, nullptr, nullptr, nullptr);
    png_infop info = png_create_info_struct(png);
    png_init_io(png, file.get());
    png_set_IHDR(png, info, width, height, kind.depth, kind.colourType,
                 kind.interlaced ? PNG_INTERLACE_ADAM7 : PNG_INTERLACE_NONE,
                 PNG_COMPRESSION_TYPE_DEFAULT, PNG_FILTER_TYPE_DEFAULT);
    png_color palette[256];
    const int entries = kind.depth > 8 ? 0 : 1 << kind.depth;
    for (int i = 0; i < entries; ++i) {
        palette[i] = paletteEntry(static_cast<unsigned>(i));
    }
    if (kind.colourType == PNG_COLOR_TYPE_PALETTE) png_set_PLTE(png, info, palette, entries);
    png_byte entryAlpha[] = {255, 128};
    png_color_16 colour = {0, kTransparent, kTransparent, kTransparent, kTransparent};
    if (kind.transparentColour) png_set_tRNS(png, info, entryAlpha, 2, &colour);
    png_set_rows(png, info, rowAddresses.data());
    png_write_png(png, info, PNG_TRANSFORM_IDENTITY, nullptr);
    png_destroy_write_struct(&png, &info);
    return expected;
}

void savePng(const std::string& path, const upscale::Picture& picture) {
    const File file(std::fopen(path.c_str(), "wb"));
    upscale::writePng(picture, file.get(), path);
}

upscale::Picture loadPng(const std::string& path) {
    return upscale::PngReader(path).read();
}

int storedColourType(const std::string& path) {
    return readBytes(path).at(kColourTypeAt);
}

std::string withHeaderSize(std::string png, std::uint32_t width, std::uint32_t height) {
    const auto put = [&png](std::size_t at, unsigned long value) {
        for (std::size_t i = 0; i < 4; ++i) {
            png.at(at + i) = static_cast<char>(value >> (24 - 8 * i));
        }
    };
    put(kHeaderAt, width);
    put(kHeaderAt + 4, height);
    // Over the chunk's type and data.
    put(kHeaderSumAt, crc32(0, reinterpret_cast<const Bytef*>(png.data()) + kHeaderAt - 4,
                            kHeaderSumAt - kHeaderAt + 4));
    return png;
}
