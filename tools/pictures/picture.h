// SPDX-License-Identifier: Apache-2.0
#ifndef UPSCALER_TOOLS_PICTURES_PICTURE_H
#define UPSCALER_TOOLS_PICTURES_PICTURE_H

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace upscale {

/// How many pixels go to a length.
struct Density {
    std::uint32_t x;
    std::uint32_t y;
    bool perMetre;  ///< Otherwise only their ratio counts.
};

/// A text in the form of a PNG chunk.
struct TextChunk {
    std::string type;  ///< "tEXt", "zTXt" or "iTXt"
    std::vector<std::uint8_t> data;
};

/// What a file says about its colours and its density, in the units of PNG. Carried from input to
/// output untouched, since the operations work on the stored values. With it go the metadata.
struct Tags {
    std::optional<int> intent;                              ///< sRGB
    std::optional<std::int32_t> gamma;                      ///< gAMA
    std::optional<std::array<std::int32_t, 8>> primaries;   ///< cHRM
    std::string profileName = "ICC profile";                ///< iCCP; other formats have none
    std::vector<std::uint8_t> profile;                      ///< iCCP, empty if there is none
    std::optional<Density> density;                         ///< pHYs
    std::optional<std::array<std::uint8_t, 4>> codePoints;  ///< cICP
    std::vector<std::uint8_t> exif;                         ///< From its byte order mark on.
    std::vector<std::uint8_t> xmp;                          ///< The packet.
    std::vector<std::uint8_t> iptc;  ///< In Photoshop's image resource blocks.
    std::vector<TextChunk> texts;
};

/// The most bytes that a profile may have.
constexpr std::size_t kLargestProfile = 8u << 20;

/// Whether there is a profile and it is for grey pixels, or for RGB pixels if not `grey`.
inline bool profileFits(const std::vector<std::uint8_t>& profile, bool grey) {
    constexpr std::size_t kColourSpaceAt = 16;
    const std::string space = grey ? "GRAY" : "RGB ";
    return profile.size() >= 128 &&
           std::equal(space.begin(), space.end(), profile.begin() + kColourSpaceAt);
}

/// An 8-bit picture in memory: rows from the top, without gaps, four bytes (R, G, B, A with
/// straight alpha) to a pixel. In a grey picture the three colours are equal and only one is stored
/// in files.
struct Picture {
    static constexpr std::size_t kChannels = 4;
    static constexpr std::uint8_t kOpaque = 255;

    Picture() = default;
    Picture(std::uint32_t w, std::uint32_t h)
        : width(w), height(h), pixels(std::size_t{w} * h * kChannels) {}

    std::size_t rowBytes() const { return std::size_t{width} * kChannels; }
    std::size_t pixelCount() const { return std::size_t{width} * height; }
    std::uint8_t* row(std::size_t y) { return pixels.data() + y * rowBytes(); }
    const std::uint8_t* row(std::size_t y) const { return pixels.data() + y * rowBytes(); }
    std::uint8_t* pixel(std::size_t index) { return pixels.data() + index * kChannels; }
    const std::uint8_t* pixel(std::size_t index) const { return pixels.data() + index * kChannels; }
    std::uint8_t& alpha(std::size_t index) { return pixel(index)[kChannels - 1]; }
    std::uint8_t alpha(std::size_t index) const { return pixel(index)[kChannels - 1]; }

    std::uint32_t width = 0;
    std::uint32_t height = 0;
    bool grey = false;
    std::vector<std::uint8_t> pixels;
    Tags tags;
};

}  // namespace upscale

#endif  // UPSCALER_TOOLS_PICTURES_PICTURE_H
