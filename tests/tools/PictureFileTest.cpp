// SPDX-License-Identifier: Apache-2.0
// JPEG and WebP files, and what goes from one format to another.
#include "tools/picture_file.h"

#include <gmock/gmock.h>

#include <cmath>

#include "folder.h"
#include "png_samples.h"
#include "tools/alpha.h"

namespace {

using testing::HasSubstr;
using upscale::Encoding;
using upscale::Format;
using upscale::Picture;

using PictureFileTest = FolderTest;

constexpr Encoding kPng = {Format::Png, {}};
constexpr Encoding kJpeg = {Format::Jpeg, 95};
constexpr Encoding kWebP = {Format::WebP, {}};

std::string stored(const Picture& picture, const Encoding& encoding) {
    std::FILE* file = std::fopen("stored", "wb");
    upscale::writePicture(picture, encoding, file, "stored");
    std::fclose(file);
    return readBytes("stored");
}

Picture slopes(std::uint32_t width, std::uint32_t height, bool transparent) {
    return painted(width, height, [=](unsigned x, unsigned y) -> Rgba {
        const auto byte = [](unsigned v) { return static_cast<std::uint8_t>(v % 256); };
        return {byte(x * 3), byte(y * 3), byte(x + y), byte(transparent ? x * 7 : 255)};
    });
}

// The JPEG file with an EXIF segment that tells something else and its orientation, in one byte
// order or the other.
std::string turned(const std::string& jpeg, int orientation) {
    const std::string size(
            "\xff\xe1\0\x2e"
            "Exif\0",
            10);
    const std::string big(
            "MM\0*\0\0\0\x08\0\2\1\3\0\3\0\0\0\1\0\6\0\0\1\x12\0\3\0\0\0\1\0?\0\0\0\0\0\0", 38);
    const std::string little(
            "II*\0\x08\0\0\0\2\0\3\1\3\0\1\0\0\0\6\0\0\0\x12\1\3\0\1\0\0\0?\0\0\0\0\0\0\0", 38);
    std::string exif = size + (orientation % 2 == 0 ? big : little);
    exif[exif.find('?')] = static_cast<char>(orientation);
    return jpeg.substr(0, 2) + exif + jpeg.substr(2);
}

TEST_F(PictureFileTest, PixelsSurvive) {
    for (const bool transparent : {false, true}) {
        const Picture picture = slopes(31, 17, transparent);
        EXPECT_EQ(loaded(stored(picture, kWebP)).pixels, picture.pixels);
    }
    Picture picture = slopes(31, 17, false);
    for (const bool grey : {false, true}) {
        if (grey) picture = alphaAsGrey(slopes(31, 17, true));
        for (const Encoding& encoding : {kJpeg, Encoding{Format::WebP, 95}}) {
            const Picture read = loaded(stored(picture, encoding));
            EXPECT_EQ(read.grey, grey && encoding.format == Format::Jpeg);
            ASSERT_EQ(read.pixels.size(), picture.pixels.size());
            double sum = 0;
            for (std::size_t i = 0; i < picture.pixels.size(); ++i)
                sum += std::abs(read.pixels[i] - picture.pixels[i]);
            EXPECT_LT(sum / static_cast<double>(picture.pixels.size()), 3);
        }
    }
}

TEST_F(PictureFileTest, ProfileAndDensityGoAlong) {
    Picture picture = slopes(9, 9, false);
    picture.tags.density = upscale::Density{11811, 5906, true};  // 300 and 150 to an inch
    // More than one segment of a JPEG holds. Not a profile that PNG would take, but for its space.
    picture.tags.profile.assign(100000, 7);
    const std::string space = "RGB ";
    std::copy(space.begin(), space.end(), picture.tags.profile.begin() + 16);
    for (const Encoding& encoding : {kJpeg, kWebP}) {
        const Picture read = loaded(stored(picture, encoding));
        EXPECT_EQ(read.tags.profile, picture.tags.profile);
        EXPECT_EQ(read.tags.density.has_value(), encoding.format == Format::Jpeg);
    }
    const Picture png = loaded(stored(loaded(stored(picture, kJpeg)), kPng));
    ASSERT_TRUE(png.tags.density);
    EXPECT_EQ(png.tags.density->x, 11811u);
    EXPECT_EQ(png.tags.density->y, 5906u);
    picture.grey = true;
    for (const Encoding& encoding : {kPng, kJpeg, kWebP})
        EXPECT_EQ(loaded(stored(picture, encoding)).tags.profile.empty(),
                  encoding.format != Format::WebP)
                << "a profile for other pixels";
}

TEST_F(PictureFileTest, JpegsAreTurnedUpright) {
    constexpr Rgba kCorners[] = {
            {40, 60, 180, 255}, {220, 60, 90, 255}, {40, 200, 90, 255}, {220, 200, 180, 255}};
    Picture picture = painted(32, 16, [&](unsigned x, unsigned y) {
        return kCorners[(x < 16 ? 0 : 1) + (y < 8 ? 0 : 2)];
    });
    picture.tags.density = upscale::Density{11811, 5906, true};
    const std::string jpeg = stored(picture, kJpeg);
    // Which stored corner is then at the top left, top right, bottom left and bottom right.
    constexpr const char* kSeen[] = {"0123", "1032", "3210", "2301",
                                     "0213", "2031", "3120", "1302"};
    for (int orientation = 1; orientation <= 8; ++orientation) {
        SCOPED_TRACE(orientation);
        writeBytes("in", turned(jpeg, orientation));
        const auto reader = upscale::openPicture("in");
        const Picture read = reader->read();
        EXPECT_EQ(read.width, orientation < 5 ? 32u : 16u);
        EXPECT_EQ(read.height, orientation < 5 ? 16u : 32u);
        EXPECT_EQ(reader->width(), read.width);
        EXPECT_EQ(reader->height(), read.height);
        EXPECT_EQ(read.tags.density->x, orientation < 5 ? 11811u : 5906u);
        for (const std::size_t i : {0u, 1u, 2u, 3u}) {
            const std::uint8_t* pixel =
                    read.pixel(i % 2 * (read.width - 1) + i / 2 * (read.height - 1) * read.width);
            const auto corner = static_cast<std::size_t>(kSeen[orientation - 1][i] - '0');
            for (const std::size_t c : {0u, 1u, 2u})
                EXPECT_NEAR(pixel[c], kCorners[corner][c], 6) << i << c;
        }
    }
}

TEST_F(PictureFileTest, NoPartOfAFileIsTakenForTheWhole) {
    for (const Encoding& encoding : {kPng, kJpeg, kWebP, Encoding{Format::WebP, 50}}) {
        const std::string whole = stored(slopes(40, 40, encoding.format == Format::WebP), encoding);
        for (std::size_t length = 12; length < whole.size(); ++length)
            ASSERT_THAT(reasonOf(whole.substr(0, length)), HasSubstr("in: the file is cut short"))
                    << length;
    }
}

TEST_F(PictureFileTest, HugePromisesCostNothing) {
    std::string jpeg = stored(slopes(8, 8, false), kJpeg);
    const std::size_t size = jpeg.find("\xff\xc0") + 5;
    jpeg.replace(size, 4, "\xff\x00\xff\x00", 4);
    EXPECT_THAT(reasonOf(jpeg), HasSubstr("cut short"));
    const std::string fourColours(
            "\xff\xd8\xff\xc0\0\x14\x08\0\x10\0\x10\4\1\x11\0\2\x11\0\3\x11\0\4\x11\0"
            "\xff\xda\0\x0e\4\1\0\2\0\3\0\4\0\0\x3f\0",
            40);
    EXPECT_THAT(reasonOf(fourColours), HasSubstr("CMYK"));
}

}  // namespace
