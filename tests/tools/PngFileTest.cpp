// SPDX-License-Identifier: Apache-2.0
#include "tools/png_file.h"

#include <gmock/gmock.h>
#include <png.h>

#include "command.h"
#include "folder.h"
#include "png_samples.h"
#include "tools/alpha.h"

namespace {

using testing::HasSubstr;
using upscale::Picture;

using PngFileTest = FolderTest;

TEST_F(PngFileTest, EveryKindIsReadAndWrittenToTheBit) {
    const std::string alpha =
            "-alpha set -channel A +noise Random +channel -define png:color-type=";
    const std::string hole = "-fill red -draw 'rectangle 0,0 1,9' -transparent red ";
    const std::string greyHole = "-fill black -draw 'rectangle 0,0 1,9' -transparent black ";
    const std::string grey = "-colorspace gray -define png:color-type=0 -depth ";
    const std::string rgb = "-define png:color-type=2 -depth ";
    const std::string palette = "-define png:color-type=3 -colors ";
    const struct {
        std::string options;
        int type;
        bool transparent;
    } kKinds[] = {
            {grey + "1", PNG_COLOR_TYPE_GRAY, false},
            {grey + "2", PNG_COLOR_TYPE_GRAY, false},
            {grey + "4", PNG_COLOR_TYPE_GRAY, false},
            {grey + "8", PNG_COLOR_TYPE_GRAY, false},
            {grey + "16", PNG_COLOR_TYPE_GRAY, false},
            {grey + "2 " + greyHole, PNG_COLOR_TYPE_GRAY, true},
            {palette + "4", PNG_COLOR_TYPE_PALETTE, false},
            {palette + "256", PNG_COLOR_TYPE_PALETTE, false},
            {"-colors 15 -depth 8 -alpha set -channel A -fx 'i<2?0.5:1' +channel",
             PNG_COLOR_TYPE_PALETTE, true},
            {palette + "16", PNG_COLOR_TYPE_PALETTE, false},
            {rgb + "8", PNG_COLOR_TYPE_RGB, false},
            {rgb + "16", PNG_COLOR_TYPE_RGB, false},
            {rgb + "8 " + hole, PNG_COLOR_TYPE_RGB, true},
            {"-colorspace gray -depth 8 " + alpha + "4", PNG_COLOR_TYPE_GRAY_ALPHA, true},
            {"-colorspace gray -depth 16 " + alpha + "4", PNG_COLOR_TYPE_GRAY_ALPHA, true},
            {"-depth 8 " + alpha + "6", PNG_COLOR_TYPE_RGBA, true},
            {"-depth 16 " + alpha + "6", PNG_COLOR_TYPE_RGBA, true},
    };
    // Widths that end within a byte; the second is too small for some passes of interlacing.
    const std::pair<std::string, std::string> kSizes[] = {{"29x19", ""},
                                                          {"3x19", "-interlace PNG "}};
    for (const auto& kind : kKinds) {
        for (const auto& [size, interlace] : kSizes) {
            SCOPED_TRACE(interlace + kind.options);
            makePng("in.png", size, interlace + kind.options);
            ASSERT_EQ(storedColourType("in.png"), kind.type);
            ASSERT_EQ(shell("convert in.png -depth 16 -endian MSB in.rgba").err, "");
            const std::string deep = readBytes("in.rgba");
            std::vector<std::uint8_t> expected;
            for (std::size_t i = 0; i < deep.size(); i += 2) {
                const int sample = (deep[i] & 0xff) << 8 | (deep[i + 1] & 0xff);
                expected.push_back(static_cast<std::uint8_t>((sample + 128) / 257));
            }
            const Picture read = loadPng("in.png");
            EXPECT_EQ(read.pixels, expected);
            EXPECT_EQ(hasTransparency(read), kind.transparent);
            EXPECT_EQ(read.grey, (kind.type & PNG_COLOR_MASK_COLOR) == 0);
            savePng("out.png", read);
            EXPECT_EQ(loadPng("out.png").pixels, read.pixels);
            EXPECT_EQ(storedColourType("out.png"),
                      (read.grey ? PNG_COLOR_TYPE_GRAY : PNG_COLOR_TYPE_RGB) |
                              (kind.transparent ? PNG_COLOR_MASK_ALPHA : 0));
        }
    }
}

TEST_F(PngFileTest, TagsComeBack) {
    Picture picture(5, 3);
    picture.tags.gamma = 50000;
    picture.tags.primaries = {31270, 32900, 68000, 32000, 26500, 69000, 15000, 6000};
    savePng("out.png", picture);
    const upscale::Tags tags = loadPng("out.png").tags;
    EXPECT_EQ(tags.gamma, picture.tags.gamma);
    EXPECT_EQ(tags.primaries, picture.tags.primaries);
    EXPECT_EQ(tags.intent, std::nullopt);
}

TEST_F(PngFileTest, HugePromisesCostNothing) {
    makePng("in.png", "9x9", "-depth 8");
    const std::string small = readBytes("in.png");
    // Memory for it would be 4 TB: without the check, an allocation fails instead.
    EXPECT_THAT(reasonOf(withHeaderSize(small, 1000000, 1000000)), HasSubstr("cut short"));
    EXPECT_THAT(reasonOf(withHeaderSize(small, 0x7fffffff, 1)), HasSubstr("Invalid IHDR"));
    EXPECT_THAT(reasonOf(withHeaderSize(small, 0, 1)), HasSubstr("Invalid IHDR"));
}

}  // namespace
