// SPDX-License-Identifier: Apache-2.0
#include <gtest/gtest.h>

#include <cmath>
#include <cstdlib>
#include <vector>

#include "tools/video/frame_conversion.h"

namespace {

using namespace upscale;

struct Pixels {
    Pixels(std::size_t width, std::size_t height)
        : stride(width * 4 + 12), bytes(stride * height) {}
    const std::uint8_t* at(std::size_t x, std::size_t y) const {
        return bytes.data() + y * stride + x * 4;
    }
    std::size_t stride;
    std::vector<std::uint8_t> bytes;
};

constexpr Sampling kSamplings[] = {Sampling::Mono, Sampling::Yuv420, Sampling::Yuv422,
                                   Sampling::Yuv444, Sampling::Rgba};

// Smooth, with values that stand for colours.
std::vector<std::uint8_t> waves(const FrameFormat& format) {
    std::vector<std::uint8_t> frame(format.bytes());
    for (unsigned plane = 0; plane < format.planes(); ++plane) {
        const std::size_t width = format.rowBytes(plane);
        for (std::size_t i = 0; i < width * format.rows(plane); ++i) {
            const int wave = std::abs(static_cast<int>(i % width % 64) - 32);
            const int row = static_cast<int>(i / width);
            frame[format.offset(plane) + i] = static_cast<std::uint8_t>(
                    plane == 0 ? 80 + 2 * wave + row : 112 + (wave + row) / 2);
        }
    }
    return frame;
}

TEST(FrameConversionTest, ThereAndBackIsTheSame) {
    // One that zimg takes as it is, one that it takes in parts, ones that have to be made even.
    const std::pair<std::uint32_t, std::uint32_t> kSizes[] = {
            {256, 24}, {3000, 4}, {37, 23}, {2, 3}, {1, 1}};
    for (const Sampling sampling : kSamplings) {
        for (const Range range : {Range::Limited, Range::Full}) {
            for (const auto& [width, height] : kSizes) {
                FrameFormat format{width, height, sampling, Siting::Left, range, Matrix::Bt709};
                const std::vector<std::uint8_t> frame = waves(format);
                std::vector<std::uint8_t> back(frame.size());
                Pixels pixels(width + 4, height + 6);
                FrameDecoder(format, 2, 3)
                        .decode(frame.data(), {pixels.bytes.data(), pixels.stride});
                FrameEncoder(format).encode({pixels.at(2, 3), pixels.stride}, back.data());
                // Sparse chroma is spread and gathered by filters, which round a wave's tips.
                const int allowed = format.chromaShiftX() > 0 ? 1 : 0;
                int worst = 0;
                for (std::size_t i = 0; i < frame.size(); ++i)
                    worst = std::max(worst,
                                     std::abs(frame[i] - back[i]) -
                                             (i < std::size_t{width} * height ? 0 : allowed));
                EXPECT_LE(worst, 0) << static_cast<int>(sampling) << static_cast<int>(range) << " "
                                    << width << "x" << height;
                for (const std::size_t c : {0u, 1u, 2u, 3u}) {
                    EXPECT_EQ(pixels.at(0, 0)[c], pixels.at(2, 3)[c]) << "the border";
                    EXPECT_EQ(pixels.at(width + 3, height + 5)[c],
                              pixels.at(width + 1, height + 2)[c]);
                }
            }
        }
    }
}

TEST(FrameConversionTest, ColoursAreThoseOfMatrixAndRange) {
    const struct {
        Matrix matrix;
        Range range;
        std::uint8_t yuv[3];
        int rgb[3];
    } kRows[] = {
            {Matrix::Bt601, Range::Limited, {16, 128, 128}, {0, 0, 0}},
            {Matrix::Bt601, Range::Full, {16, 128, 128}, {16, 16, 16}},
            {Matrix::Bt601, Range::Limited, {235, 128, 128}, {255, 255, 255}},
            // Red and blue as the standards' equations have them.
            {Matrix::Bt601, Range::Limited, {81, 90, 240}, {254, 0, 0}},
            {Matrix::Bt601, Range::Full, {76, 85, 255}, {254, 0, 0}},
            {Matrix::Bt709, Range::Limited, {63, 102, 240}, {255, 1, 0}},
            {Matrix::Bt2020, Range::Limited, {29, 240, 119}, {0, 0, 255}},
    };
    for (const auto& row : kRows) {
        const FrameFormat format{1, 1, Sampling::Yuv444, Siting::Centre, row.range, row.matrix};
        Pixels pixels(1, 1);
        FrameDecoder(format, 0, 0).decode(row.yuv, {pixels.bytes.data(), pixels.stride});
        for (const std::size_t c : {0u, 1u, 2u})
            EXPECT_NEAR(pixels.at(0, 0)[c], row.rgb[c], 1) << int{row.yuv[0]} << " channel " << c;
        EXPECT_EQ(pixels.at(0, 0)[3], 255);
    }
}

TEST(FrameConversionTest, ChromaLiesWhereItsSitingSays) {
    // Cr rises by 8 from sample to sample: from pixel to pixel by 4, with red.
    for (const auto& [siting, firstX, firstY] : {std::tuple{Siting::Centre, 0.5, 0.5},
                                                 {Siting::Left, 0.0, 0.5},
                                                 {Siting::TopLeft, 0.0, 0.0}}) {
        for (const bool down : {false, true}) {
            const FrameFormat format{32, 32, Sampling::Yuv420, siting, Range::Full, Matrix::Bt601};
            std::vector<std::uint8_t> frame(format.bytes(), 128);
            for (std::size_t i = 0; i < 256; ++i)
                frame[format.offset(2) + i] =
                        static_cast<std::uint8_t>(64 + 8 * (down ? i / 16 : i % 16));
            Pixels pixels(32, 32);
            FrameDecoder(format, 0, 0).decode(frame.data(), {pixels.bytes.data(), pixels.stride});
            const double cr = 64 + 4 * (14 - (down ? firstY : firstX));
            EXPECT_NEAR(pixels.at(14, 14)[0], 128 + 1.402 * (cr - 128), 1.1)
                    << static_cast<int>(siting) << down;
        }
    }
}

}  // namespace
