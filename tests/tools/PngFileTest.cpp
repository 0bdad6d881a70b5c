// SPDX-License-Identifier: Apache-2.0
#include "tools/png_file.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <png.h>

#include "png_samples.h"
#include "temporary_folder.h"
#include "tools/failure.h"

namespace {

using testing::HasSubstr;
using upscale::Failure;
using upscale::Picture;
using upscale::PngReader;

std::string reasonOf(const std::string& path) {
    try {
        PngReader(path).read();
    } catch (const Failure& failure) {
        return failure.what();
    }
    return "read without a failure";
}

class PngKindTest : public testing::TestWithParam<std::tuple<PngKind, bool>> {};

TEST_P(PngKindTest, ReadsToTheBit) {
    auto [kind, interlaced] = GetParam();
    kind.interlaced = interlaced;
    const TemporaryFolder folder;
    const std::string path = folder.path("in.png");
    // Widths that end within a byte, and one too small for some passes of an interlaced file.
    for (const std::uint32_t width : {1u, 3u, 29u}) {
        const Picture expected = writeSamplePng(path, kind, width, 19);
        PngReader reader(path);
        EXPECT_EQ(reader.width(), width);
        EXPECT_EQ(reader.height(), 19u);
        const Picture read = reader.read();
        EXPECT_EQ(read.pixels, expected.pixels) << width << " wide";
        EXPECT_EQ(read.grey, expected.grey);
    }
}

constexpr PngKind kKinds[] = {
        {"Grey1", PNG_COLOR_TYPE_GRAY, 1, false, false},
        {"Grey2", PNG_COLOR_TYPE_GRAY, 2, false, false},
        {"Grey4", PNG_COLOR_TYPE_GRAY, 4, false, false},
        {"Grey8", PNG_COLOR_TYPE_GRAY, 8, false, false},
        {"Grey16", PNG_COLOR_TYPE_GRAY, 16, false, false},
        {"Grey2Transparent", PNG_COLOR_TYPE_GRAY, 2, true, false},
        {"Grey16Transparent", PNG_COLOR_TYPE_GRAY, 16, true, false},
        {"Palette1", PNG_COLOR_TYPE_PALETTE, 1, false, false},
        {"Palette2", PNG_COLOR_TYPE_PALETTE, 2, false, false},
        {"Palette4", PNG_COLOR_TYPE_PALETTE, 4, false, false},
        {"Palette8", PNG_COLOR_TYPE_PALETTE, 8, false, false},
        {"Palette4Transparent", PNG_COLOR_TYPE_PALETTE, 4, true, false},
        {"Rgb8", PNG_COLOR_TYPE_RGB, 8, false, false},
        {"Rgb16", PNG_COLOR_TYPE_RGB, 16, false, false},
        {"Rgb8Transparent", PNG_COLOR_TYPE_RGB, 8, true, false},
        {"GreyAlpha8", PNG_COLOR_TYPE_GRAY_ALPHA, 8, false, false},
        {"GreyAlpha16", PNG_COLOR_TYPE_GRAY_ALPHA, 16, false, false},
        {"Rgba8", PNG_COLOR_TYPE_RGBA, 8, false, false},
        {"Rgba16", PNG_COLOR_TYPE_RGBA, 16, false, false},
};
INSTANTIATE_TEST_SUITE_P(All, PngKindTest,
                         testing::Combine(testing::ValuesIn(kKinds), testing::Bool()),
                         [](const auto& row) {
                             return std::string(std::get<0>(row.param).name) +
                                    (std::get<1>(row.param) ? "Interlaced" : "");
                         });

constexpr PngKind kAnyKind = kKinds[12];

TEST(PngFileTest, WritesWhatItReads) {
    const TemporaryFolder folder;
    const std::string path = folder.path("out.png");
    for (const bool grey : {false, true}) {
        for (const bool transparent : {false, true}) {
            Picture picture(5, 3);
            picture.grey = grey;
            for (std::size_t i = 0; i < picture.pixelCount(); ++i) {
                for (std::size_t c = 0; c < 3; ++c) {
                    picture.pixel(i)[c] = static_cast<std::uint8_t>(i * 16 + (grey ? 0 : c * 5));
                }
                picture.alpha(i) = static_cast<std::uint8_t>(transparent ? i * 17 : 255);
            }
            picture.tags.gamma = 50000;
            picture.tags.primaries = {31270, 32900, 68000, 32000, 26500, 69000, 15000, 6000};
            savePng(path, picture);
            EXPECT_EQ(storedColourType(path), (grey ? PNG_COLOR_TYPE_GRAY : PNG_COLOR_TYPE_RGB) |
                                                      (transparent ? PNG_COLOR_MASK_ALPHA : 0));
            const Picture read = loadPng(path);
            EXPECT_EQ(read.pixels, picture.pixels);
            EXPECT_EQ(read.tags.gamma, picture.tags.gamma);
            EXPECT_EQ(read.tags.primaries, picture.tags.primaries);
            EXPECT_EQ(read.tags.intent, std::nullopt);
        }
    }
}

TEST(PngFileTest, NoPartOfAFileIsTakenForTheWhole) {
    const TemporaryFolder folder;
    writeSamplePng(folder.path("whole.png"), kAnyKind, 9, 9);
    const std::string whole = readBytes(folder.path("whole.png"));
    const std::string path = folder.path("part.png");
    for (std::size_t length = 8; length < whole.size(); ++length) {
        writeBytes(path, whole.substr(0, length));
        EXPECT_THAT(reasonOf(path), HasSubstr("part.png: the file is cut short")) << length;
    }
}

TEST(PngFileTest, DamageIsFoundOrHarmless) {
    const TemporaryFolder folder;
    const std::string path = folder.path("damaged.png");
    writeSamplePng(path, kAnyKind, 9, 9);
    const Picture picture = loadPng(path);
    const std::string whole = readBytes(path);
    for (std::size_t at = 0; at < whole.size(); ++at) {
        std::string damaged = whole;
        damaged[at] = static_cast<char>(damaged[at] ^ 0x21);
        writeBytes(path, damaged);
        try {
            EXPECT_EQ(loadPng(path).pixels, picture.pixels) << at;
        } catch (const Failure&) {
        }
    }
}

TEST(PngFileTest, HugePromisesCostNothing) {
    const TemporaryFolder folder;
    const std::string path = folder.path("bomb.png");
    writeSamplePng(path, kAnyKind, 9, 9);
    const std::string small = readBytes(path);
    // Memory for it would be 4 TB: without the check, an allocation fails instead.
    writeBytes(path, withHeaderSize(small, 1000000, 1000000));
    EXPECT_EQ(PngReader(path).width(), 1000000u);
    EXPECT_THAT(reasonOf(path), HasSubstr("cut short"));
    writeBytes(path, withHeaderSize(small, 0x7fffffff, 1));
    EXPECT_THAT(reasonOf(path), HasSubstr("Invalid IHDR"));
    writeBytes(path, withHeaderSize(small, 0, 1));
    EXPECT_THAT(reasonOf(path), HasSubstr("Invalid IHDR"));
}

}  // namespace
