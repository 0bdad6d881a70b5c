// SPDX-License-Identifier: Apache-2.0
#include "tools/png_file.h"

#include <gmock/gmock.h>
#include <png.h>

#include "folder.h"
#include "png_samples.h"
#include "tools/alpha.h"

namespace {

using testing::HasSubstr;
using upscale::Picture;

constexpr PngKind kKinds[] = {
        {PNG_COLOR_TYPE_GRAY, 1},        {PNG_COLOR_TYPE_GRAY, 2},
        {PNG_COLOR_TYPE_GRAY, 4},        {PNG_COLOR_TYPE_GRAY, 8},
        {PNG_COLOR_TYPE_GRAY, 16},       {PNG_COLOR_TYPE_GRAY, 2, true},
        {PNG_COLOR_TYPE_GRAY, 16, true}, {PNG_COLOR_TYPE_PALETTE, 1},
        {PNG_COLOR_TYPE_PALETTE, 2},     {PNG_COLOR_TYPE_PALETTE, 4},
        {PNG_COLOR_TYPE_PALETTE, 8},     {PNG_COLOR_TYPE_PALETTE, 4, true},
        {PNG_COLOR_TYPE_RGB, 8},         {PNG_COLOR_TYPE_RGB, 16},
        {PNG_COLOR_TYPE_RGB, 8, true},   {PNG_COLOR_TYPE_GRAY_ALPHA, 8},
        {PNG_COLOR_TYPE_GRAY_ALPHA, 16}, {PNG_COLOR_TYPE_RGBA, 8},
        {PNG_COLOR_TYPE_RGBA, 16},
};
constexpr PngKind kAnyKind = {PNG_COLOR_TYPE_RGB, 8};

using PngFileTest = FolderTest;

TEST_F(PngFileTest, EveryKindIsReadAndWrittenToTheBit) {
    for (PngKind kind : kKinds) {
        for (const bool interlaced : {false, true}) {
            kind.interlaced = interlaced;
            // Widths that end within a byte, and one too small for some passes of an interlaced
            // file.
            for (const std::uint32_t width : {1u, 3u, 29u}) {
                SCOPED_TRACE(testing::Message()
                             << "colour type " << kind.colourType << ", depth " << kind.depth
                             << ", tRNS " << kind.transparentColour << ", interlaced " << interlaced
                             << ", width " << width);
                const Picture expected = writeSamplePng("in.png", kind, width, 19);
                const Picture read = loadPng("in.png");
                EXPECT_EQ(read.width, width);
                EXPECT_EQ(read.pixels, expected.pixels);
                EXPECT_EQ(read.grey, expected.grey);
                savePng("out.png", expected);
                EXPECT_EQ(loadPng("out.png").pixels, expected.pixels);
                EXPECT_EQ(storedColourType("out.png"),
                          (expected.grey ? PNG_COLOR_TYPE_GRAY : PNG_COLOR_TYPE_RGB) |
                                  (hasTransparency(expected) ? PNG_COLOR_MASK_ALPHA : 0));
            }
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

TEST_F(PngFileTest, NoPartOfAFileIsTakenForTheWhole) {
    writeSamplePng("whole.png", kAnyKind, 9, 9);
    const std::string whole = readBytes("whole.png");
    for (std::size_t length = 8; length < whole.size(); ++length)
        EXPECT_THAT(reasonOf(whole.substr(0, length)), HasSubstr("in: the file is cut short"));
}

TEST_F(PngFileTest, HugePromisesCostNothing) {
    writeSamplePng("in.png", kAnyKind, 9, 9);
    const std::string small = readBytes("in.png");
    // Memory for it would be 4 TB: without the check, an allocation fails instead.
    EXPECT_THAT(reasonOf(withHeaderSize(small, 1000000, 1000000)), HasSubstr("cut short"));
    EXPECT_THAT(reasonOf(withHeaderSize(small, 0x7fffffff, 1)), HasSubstr("Invalid IHDR"));
    EXPECT_THAT(reasonOf(withHeaderSize(small, 0, 1)), HasSubstr("Invalid IHDR"));
}

}  // namespace
