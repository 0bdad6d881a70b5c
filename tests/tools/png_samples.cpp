// SPDX-License-Identifier: Apache-2.0
#include "png_samples.h"

#include <png.h>
#include <zlib.h>

#include <cstdio>
#include <memory>
#include <vector>

#include "folder.h"
#include "tools/failure.h"
#include "tools/png_file.h"

namespace {

using Samples = std::vector<unsigned>;

// The samples that tRNS makes transparent, and the palette entry that it makes half so.
constexpr unsigned kTransparent = 1;

std::size_t coloursOf(const PngKind& kind) {
    return kind.colourType == PNG_COLOR_TYPE_PALETTE || !(kind.colourType & PNG_COLOR_MASK_COLOR)
                   ? 1
                   : 3;
}

// Every value of the small depths, and both bytes of the largest at work.
Samples samplesAt(const PngKind& kind, unsigned x, unsigned y) {
    Samples samples(coloursOf(kind) + (kind.colourType & PNG_COLOR_MASK_ALPHA ? 1 : 0));
    for (unsigned c = 0; c < samples.size(); ++c) {
        const unsigned value = (x * 37 + y * 101 + c * 59) * (kind.depth == 16 ? 263u : 1u);
        // Of the second diagonal's pixels only one sample is that of the transparent colour.
        const bool special = kind.transparentColour && (x == y || (x == y + 1 && c == 0));
        samples[c] = special ? kTransparent : value & ((1u << kind.depth) - 1);
    }
    return samples;
}

png_color paletteEntry(unsigned index) {
    return {static_cast<png_byte>(index * 15), static_cast<png_byte>(255 - index * 9),
            static_cast<png_byte>(index * 71)};
}

Rgba meaningOf(const PngKind& kind, const Samples& samples) {
    const bool special = kind.transparentColour && samples == Samples(samples.size(), kTransparent);
    if (kind.colourType == PNG_COLOR_TYPE_PALETTE) {
        const png_color entry = paletteEntry(samples[0]);
        return {entry.red, entry.green, entry.blue, static_cast<png_byte>(special ? 128 : 255)};
    }
    const unsigned most = (1u << kind.depth) - 1;
    const auto byte = [most](unsigned sample) {
        return static_cast<std::uint8_t>((sample * 255ull + most / 2) / most);
    };
    const std::size_t colours = coloursOf(kind);
    const unsigned alpha = samples.size() > colours ? samples.back() : special ? 0 : most;
    return {byte(samples[0]), byte(samples[colours / 2]), byte(samples[colours - 1]), byte(alpha)};
}

struct CloseFile {
    void operator()(std::FILE* file) const { std::fclose(file); }
};
using File = std::unique_ptr<std::FILE, CloseFile>;

}  // namespace

upscale::Picture writeSamplePng(const std::string& path, const PngKind& kind, std::uint32_t width,
                                std::uint32_t height) {
    std::vector<std::vector<png_byte>> rows(height);
    upscale::Picture expected = painted(width, height, [&](unsigned x, unsigned y) {
        const Samples samples = samplesAt(kind, x, y);
        for (const unsigned sample : samples) {
            if (kind.depth == 16) rows[y].push_back(static_cast<png_byte>(sample >> 8));
            rows[y].push_back(static_cast<png_byte>(sample));
        }
        return meaningOf(kind, samples);
    });
    expected.grey = (kind.colourType & PNG_COLOR_MASK_COLOR) == 0;
    std::vector<png_bytep> rowAddresses;
    for (std::vector<png_byte>& row : rows)
        rowAddresses.push_back(row.data());

    // An error ends the test program: none is expected.
    const File file(std::fopen(path.c_str(), "wb"));
    png_structp png = png_create_write_struct(PNG_LIBPNG_VER_STRING, nullptr, nullptr, nullptr);
    png_infop info = png_create_info_struct(png);
    png_init_io(png, file.get());
    png_set_IHDR(png, info, width, height, kind.depth, kind.colourType,
                 kind.interlaced ? PNG_INTERLACE_ADAM7 : PNG_INTERLACE_NONE,
                 PNG_COMPRESSION_TYPE_DEFAULT, PNG_FILTER_TYPE_DEFAULT);
    if (kind.colourType == PNG_COLOR_TYPE_PALETTE) {
        std::vector<png_color> palette;
        for (unsigned i = 0; i < 1u << kind.depth; ++i)
            palette.push_back(paletteEntry(i));
        png_set_PLTE(png, info, palette.data(), static_cast<int>(palette.size()));
    }
    const png_byte entryAlpha[] = {255, 128};
    const png_color_16 colour = {0, kTransparent, kTransparent, kTransparent, kTransparent};
    if (kind.transparentColour) png_set_tRNS(png, info, entryAlpha, 2, &colour);
    png_set_rows(png, info, rowAddresses.data());
    // Packing takes small samples one a byte.
    png_write_png(png, info, PNG_TRANSFORM_PACKING, nullptr);
    png_destroy_write_struct(&png, &info);
    return expected;
}

void savePng(const std::string& path, const upscale::Picture& picture) {
    const File file(std::fopen(path.c_str(), "wb"));
    upscale::writePng(picture, file.get(), path);
}

upscale::Picture loadPng(const std::string& path) {
    return upscale::openPicture(path)->read();
}

upscale::Picture loaded(const std::string& bytes) {
    writeBytes("in", bytes);
    return loadPng("in");
}

std::string reasonOf(const std::string& bytes) {
    try {
        loaded(bytes);
    } catch (const upscale::Failure& failure) {
        return failure.what();
    }
    return "";
}

int storedColourType(const std::string& path) {
    return readBytes(path).at(25);
}

std::string withHeaderSize(std::string png, std::uint32_t width, std::uint32_t height) {
    const auto put = [&png](std::size_t at, unsigned long value) {
        for (const int shift : {24, 16, 8, 0})
            png.at(at++) = static_cast<char>(value >> shift);
    };
    put(16, width);
    put(20, height);
    // The checksum covers the chunk's type and its 13 bytes.
    put(29, crc32(0, reinterpret_cast<const Bytef*>(png.data()) + 12, 17));
    return png;
}
