// SPDX-License-Identifier: Apache-2.0
// Files of each format, and what goes from one to another.
#include "tools/pictures/formats.h"

#include <gmock/gmock.h>
#include <png.h>
#include <zlib.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <limits>
#include <optional>
#include <string>
#include <vector>

#include "fuzz/memory_file.h"
#include "painted.h"
#include "tools/common/failure.h"
#include "tools/pictures/alpha.h"
#include "tools/pictures/orientation.h"

namespace {

using testing::HasSubstr;
using upscale::formatNamed;
using upscale::Picture;
using upscale::PictureFormat;

struct Encoding {
    const char* format;
    std::optional<int> quality;
    bool lossless;
    bool grey;                         // Whether the format has grey pictures,
    bool density;                      // and a density.
    std::vector<std::string> dropped;  // Of the metadata.
};
// What each format keeps.
const Encoding kEncodings[] = {
        {"png", {}, true, true, true, {}},
        {"jpeg", 95, false, true, true, {"texts"}},
        {"webp", {}, true, false, false, {"IPTC data", "texts"}},
        {"webp", 95, false, false, false, {"IPTC data", "texts"}},
        {"tiff", {}, true, true, true, {"EXIF data", "texts"}},
        {"avif", 95, false, true, false, {"IPTC data", "texts"}},
};
const Encoding& kPng = kEncodings[0];
const Encoding& kJpeg = kEncodings[1];

std::string readAll(std::FILE* file) {
    std::string bytes;
    char part[4096];
    while (const std::size_t size = std::fread(part, 1, sizeof(part), file))
        bytes.append(part, size);
    return bytes;
}

std::string stored(const Picture& picture, const Encoding& encoding) {
    std::FILE* file = std::tmpfile();
    const PictureFormat& format = *formatNamed(encoding.format);
    upscale::writePicture(picture, format, {encoding.quality}, file, "stored");
    std::rewind(file);
    const std::string bytes = readAll(file);
    std::fclose(file);
    return bytes;
}

Picture loaded(const std::string& bytes) {
    const auto* data = reinterpret_cast<const std::uint8_t*>(bytes.data());
    return upscale::openPicture(memoryFile(data, bytes.size())).reader->read();
}

// Why the bytes of a file cannot be read; empty if they can.
std::string reasonOf(const std::string& bytes) {
    try {
        loaded(bytes);
    } catch (const upscale::Failure& failure) {
        return failure.what();
    }
    return "";
}

Picture slopes(std::uint32_t width, std::uint32_t height, bool transparent) {
    return painted(width, height, [=](unsigned x, unsigned y) -> Rgba {
        const auto byte = [](unsigned v) { return static_cast<std::uint8_t>(v % 256); };
        return {byte(x * 3), byte(y * 3), byte(x + y), byte(transparent ? x * 7 : 255)};
    });
}

// What a shell's command writes to standard output.
std::string output(const std::string& command) {
    std::FILE* pipe = popen(command.c_str(), "r");
    const std::string bytes = readAll(pipe);
    EXPECT_EQ(pclose(pipe), 0) << command;
    return bytes;
}

// In the header of a PNG file.
int colourType(const std::string& png) {
    return png.at(25);
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

// What convert makes of a file, reduced as the readers do.
std::vector<std::uint8_t> converted(const std::string& make) {
    const std::string deep = output(make + "| convert - -depth 16 -endian MSB rgba:-");
    std::vector<std::uint8_t> pixels;
    for (std::size_t i = 0; i < deep.size(); i += 2) {
        const int sample = (deep[i] & 0xff) << 8 | (deep[i + 1] & 0xff);
        pixels.push_back(static_cast<std::uint8_t>((sample + 128) / 257));
    }
    return pixels;
}

TEST(PictureFileTest, EveryKindOfPngIsReadAndWrittenToTheBit) {
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
            {grey + "16 " + greyHole, PNG_COLOR_TYPE_GRAY, true},
            {"-monochrome +level-colors red,blue -define png:color-type=3", PNG_COLOR_TYPE_PALETTE,
             false},
            {palette + "4", PNG_COLOR_TYPE_PALETTE, false},
            {palette + "256", PNG_COLOR_TYPE_PALETTE, false},
            {"-colors 15 -depth 8 -alpha set -region 2x10 -channel A -evaluate set 50% +channel "
             "+region",
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
            const std::string make = "convert -size " + size + " xc:teal -seed 7 +noise Random " +
                                     interlace + kind.options + " png:- ";
            const std::string png = output(make);
            ASSERT_EQ(colourType(png), kind.type);
            const Picture read = loaded(png);
            EXPECT_EQ(read.pixels, converted(make));
            EXPECT_EQ(hasTransparency(read), kind.transparent);
            EXPECT_EQ(read.grey, (kind.type & PNG_COLOR_MASK_COLOR) == 0);
            const std::string again = stored(read, kPng);
            EXPECT_EQ(loaded(again).pixels, read.pixels);
            EXPECT_EQ(colourType(again), (read.grey ? PNG_COLOR_TYPE_GRAY : PNG_COLOR_TYPE_RGB) |
                                                 (kind.transparent ? PNG_COLOR_MASK_ALPHA : 0));
        }
    }
}

TEST(PictureFileTest, EveryKindOfTiffIsRead) {
    // Not next to nothing, by which 16 bits could not be divided again.
    const std::string alpha = "-alpha set -channel A +noise Random +level 10%,100% +channel ";
    const std::string associated = alpha + "-define tiff:alpha=associated ";
    const std::string tiles = "-define tiff:tile-geometry=32x16 ";
    const std::string planes = "-interlace plane ";
    const std::string white = "-colorspace gray -define quantum:polarity=min-is-white ";
    const struct {
        std::string options;
        std::string format;
        int tolerance;
    } kKinds[] = {
            {"-depth 8 -compress none", "tiff", 0},
            {"-depth 16 -compress lzw -endian MSB", "tiff", 0},
            {"-depth 16 -compress zip -endian LSB", "tiff64", 0},
            {"-depth 8 -compress rle -colorspace gray", "tiff", 0},
            {"-depth 16 -compress lzw " + white, "tiff", 0},
            {"-depth 8 -compress jpeg -quality 95", "tiff", 2},
            {"-depth 8 -compress zip " + alpha, "tiff", 0},
            {"-depth 16 -compress none -colorspace gray " + alpha, "tiff", 0},
            {"-depth 16 -compress lzw " + associated, "tiff", 1},
            {"-depth 8 -compress lzw " + tiles + alpha, "tiff", 0},
            {"-depth 8 -type palette -colors 200 -compress zip", "tiff", 0},
            {"-depth 4 -type palette -colors 13 -compress none", "tiff", 0},
            {"-depth 1 -type bilevel -compress none", "tiff", 0},
            {"-depth 16 -compress none " + tiles, "tiff", 0},
            {"-depth 8 -compress zip " + planes + alpha, "tiff", 0},
            {"-depth 16 -compress none -define tiff:rows-per-strip=7 " + planes, "tiff", 0},
    };
    for (const auto& kind : kKinds) {
        SCOPED_TRACE(kind.options);
        const std::string make = "convert -size 71x39 xc:teal -seed 7 +noise Random " +
                                 kind.options + " " + kind.format + ":- ";
        const Picture read = loaded(output(make));
        const std::vector<std::uint8_t> expected = converted(make);
        ASSERT_EQ(read.pixels.size(), expected.size());
        int worst = 0;
        for (std::size_t i = 0; i < expected.size(); ++i)
            worst = std::max(worst, std::abs(read.pixels[i] - expected[i]));
        EXPECT_LE(worst, kind.tolerance);
        EXPECT_EQ(hasTransparency(read), kind.options.find(alpha) != std::string::npos);
        EXPECT_EQ(read.grey, kind.options.find("gray") != std::string::npos ||
                                     kind.options.find("bilevel") != std::string::npos);
    }
    const std::string turned = "convert -size 9x5 gradient: -depth 8 -orient RightTop tiff:-";
    EXPECT_EQ(loaded(output(turned)).width, 5u);
    const std::string cmyk = "convert -size 9x5 xc:teal -colorspace CMYK tiff:-";
    EXPECT_THAT(reasonOf(output(cmyk)), HasSubstr("CMYK"));
}

TEST(PictureFileTest, ColourTagsOfPngComeBack) {
    Picture picture(5, 3);
    picture.tags.gamma = 50000;
    picture.tags.primaries = {31270, 32900, 68000, 32000, 26500, 69000, 15000, 6000};
    const upscale::Tags tags = loaded(stored(picture, kPng)).tags;
    EXPECT_EQ(tags.gamma, picture.tags.gamma);
    EXPECT_EQ(tags.primaries, picture.tags.primaries);
    EXPECT_EQ(tags.intent, std::nullopt);
}

TEST(PictureFileTest, EveryFormatKeepsWhatItHasRoomFor) {
    for (const PictureFormat& format : upscale::kPictureFormats) {
        SCOPED_TRACE(format.name);
        const auto* row = std::find_if(
                std::begin(kEncodings), std::end(kEncodings),
                [&](const Encoding& encoding) { return formatNamed(encoding.format) == &format; });
        ASSERT_NE(row, std::end(kEncodings)) << "a format without a row";
        EXPECT_EQ(row->lossless, format.defaultQuality <= upscale::kLossless);
        for (const std::string& extension : format.extensions)
            EXPECT_EQ(formatNamed(extension), &format);
    }
    for (const Encoding& encoding : kEncodings) {
        SCOPED_TRACE(encoding.format);
        const PictureFormat* format = formatNamed(encoding.format);
        for (const bool transparent : {false, true}) {
            if (transparent && (!format->alpha || !encoding.lossless)) continue;
            Picture picture = slopes(31, 17, transparent);
            for (const bool grey : {false, true}) {
                if (grey) picture = alphaAsGrey(slopes(31, 17, true));
                const std::string bytes = stored(picture, encoding);
                const auto* data = reinterpret_cast<const std::uint8_t*>(bytes.data());
                EXPECT_EQ(upscale::openPicture(memoryFile(data, bytes.size())).format, format);
                const Picture read = loaded(bytes);
                EXPECT_EQ(read.grey, grey && encoding.grey);
                ASSERT_EQ(read.pixels.size(), picture.pixels.size());
                double sum = 0;
                for (std::size_t i = 0; i < picture.pixels.size(); ++i)
                    sum += std::abs(read.pixels[i] - picture.pixels[i]);
                const double mean = sum / static_cast<double>(picture.pixels.size());
                EXPECT_LE(mean, encoding.lossless ? 0 : 3);
            }
        }
    }
}

// Calls `pass` with the first row and the count of uneven parts of a picture.
template <typename Pass>
void byParts(std::uint32_t height, const Pass& pass) {
    for (std::uint32_t y = 0, count = 1; y < height; y += count, count = count * 3 % 7) {
        count = std::min(count, height - y);
        pass(y, count);
    }
}

Picture loadedByParts(const std::string& bytes, bool streams) {
    const auto* data = reinterpret_cast<const std::uint8_t*>(bytes.data());
    const auto reader = upscale::openPicture(memoryFile(data, bytes.size())).reader;
    EXPECT_EQ(reader->streams(), streams);
    Picture picture(reader->width(), reader->height());
    byParts(picture.height,
            [&](std::uint32_t y, std::uint32_t count) { reader->readRows(picture.row(y), count); });
    return picture;
}

TEST(PictureFileTest, RowsByPartsAreThoseOfTheWhole) {
    for (const Encoding& encoding : kEncodings) {
        SCOPED_TRACE(encoding.format);
        const PictureFormat& format = *formatNamed(encoding.format);
        const Picture picture = slopes(31, 57, format.alpha);
        const std::string whole = stored(picture, encoding);
        std::FILE* file = std::tmpfile();
        const auto writer =
                upscale::createPicture({picture.width, picture.height, false, format.alpha, {}},
                                       format, {encoding.quality}, file, "stored");
        byParts(picture.height, [&](std::uint32_t y, std::uint32_t count) {
            writer->writeRows(picture.row(y), count);
        });
        writer->finish();
        std::rewind(file);
        EXPECT_EQ(readAll(file), whole);
        std::fclose(file);
        EXPECT_EQ(loadedByParts(whole, format.writerStreams).pixels, loaded(whole).pixels);
    }
    for (const char* kind : {"-interlace PNG png:-", "-interlace JPEG jpeg:-"}) {
        const std::string bytes = output(std::string("convert -size 9x29 gradient: ") + kind);
        EXPECT_EQ(loadedByParts(bytes, false).pixels, loaded(bytes).pixels) << kind;
    }
}

// Several strips, of flat and of noisy parts, each compressed in its own way.
TEST(PictureFileTest, EveryCompressionOfPngKeepsThePixels) {
    std::uint32_t random = 1;
    const Picture picture = painted(1500, 700, [&](unsigned x, unsigned y) -> Rgba {
        random = random * 1664525 + 1013904223;
        const auto noise = static_cast<std::uint8_t>(y < 350 ? random >> 24 : x / 9 * y / 11);
        return {noise, static_cast<std::uint8_t>(x), static_cast<std::uint8_t>(y), 255};
    });
    std::size_t last = std::numeric_limits<std::size_t>::max();
    for (const auto compression :
         {upscale::Compression::Fast, upscale::Compression::Default, upscale::Compression::Best}) {
        std::FILE* file = std::tmpfile();
        writePicture(picture, *formatNamed("png"), {{}, compression}, file, "stored");
        std::rewind(file);
        const std::string bytes = readAll(file);
        std::fclose(file);
        EXPECT_EQ(loaded(bytes).pixels, picture.pixels);
        EXPECT_LT(bytes.size(), last);
        last = bytes.size();
    }
}

// A number as PNG and ICC profiles store it.
std::string fourBytes(std::size_t value) {
    std::string bytes;
    for (const int shift : {24, 16, 8, 0})
        bytes += static_cast<char>(value >> shift);
    return bytes;
}

// A display's profile of version 2: its curve, of so many points, fills it.
std::vector<std::uint8_t> iccProfile(const std::string& space, std::size_t points) {
    const std::string white = fourBytes(0xf6d6) + fourBytes(0x10000) + fourBytes(0xd32d);
    std::string curve = "curv" + fourBytes(0) + fourBytes(points);
    for (std::size_t i = 0; i < points; ++i)
        curve += fourBytes(i * 0xffff / (points - 1)).substr(2);
    const std::pair<std::string, std::string> kTags[] = {
            {"wtpt", "XYZ " + fourBytes(0) + white},
            {"rXYZ",
             "XYZ " + fourBytes(0) + fourBytes(0x6fa2) + fourBytes(0x38f5) + fourBytes(0x390)},
            {"gXYZ",
             "XYZ " + fourBytes(0) + fourBytes(0x6299) + fourBytes(0xb785) + fourBytes(0x18da)},
            {"bXYZ",
             "XYZ " + fourBytes(0) + fourBytes(0x24a0) + fourBytes(0xf84) + fourBytes(0xb6cf)},
            {"rTRC", curve},
            {"gTRC", curve},
            {"bTRC", curve},
            {"kTRC", curve},
    };
    std::string table = fourBytes(std::size(kTags));
    std::string data;
    for (const auto& [name, tag] : kTags) {
        table +=
                name + fourBytes(132 + 12 * std::size(kTags) + data.size()) + fourBytes(tag.size());
        data += tag;
        data.resize((data.size() + 3) / 4 * 4);
    }
    const std::string body = table + data;
    std::string header = fourBytes(128 + body.size()) + fourBytes(0) + fourBytes(0x02100000) +
                         "mntr" + space + "XYZ " + std::string(12, '\0') + "acsp";
    header.resize(68);
    header += white;
    header.resize(128);
    const std::string all = header + body;
    return {all.begin(), all.end()};
}

std::vector<std::string> droppedFrom(const Picture& picture, const Encoding& encoding) {
    std::FILE* file = std::tmpfile();
    auto dropped = writePicture(picture, *formatNamed(encoding.format), {encoding.quality}, file,
                                "stored");
    std::fclose(file);
    return dropped;
}

TEST(PictureFileTest, ProfileAndDensityGoAlong) {
    Picture picture = slopes(9, 9, false);
    picture.tags.density = upscale::Density{11811, 5906, true};  // 300 and 150 to an inch
    for (const bool grey : {false, true}) {
        picture.grey = grey;
        // Longer than one segment of a JPEG.
        const auto right = iccProfile(grey ? "GRAY" : "RGB ", 9000);
        auto damaged = right;
        damaged.resize(damaged.size() - 4);
        for (const auto& profile : {right, iccProfile(grey ? "RGB " : "GRAY", 9), damaged}) {
            for (const Encoding& encoding : kEncodings) {
                SCOPED_TRACE(encoding.format);
                picture.tags.profile = profile;
                const upscale::Tags read = loaded(stored(picture, encoding)).tags;
                const auto dropped = droppedFrom(picture, encoding);
                const bool other = profile != right && profile != damaged;
                const bool kept = encoding.grey ? !other : other == grey;
                // Only PNG's library looks into it.
                const bool refused = &encoding == &kPng && profile == damaged;
                EXPECT_EQ(read.profile, kept && !refused ? profile : std::vector<std::uint8_t>());
                EXPECT_EQ(std::count(dropped.begin(), dropped.end(), "colour profile"),
                          read.profile.empty());
                EXPECT_EQ(read.density.has_value(), encoding.density);
                EXPECT_EQ(std::count(dropped.begin(), dropped.end(), "density"), !encoding.density);
            }
        }
    }
    picture.grey = false;
    const Picture png = loaded(stored(loaded(stored(picture, kJpeg)), kPng));
    ASSERT_TRUE(png.tags.density);
    EXPECT_EQ(png.tags.density->x, 11811u);
    EXPECT_EQ(png.tags.density->y, 5906u);
}

TEST(PictureFileTest, ColoursThatAreLostAreNamed) {
    using testing::ElementsAre;
    Picture picture = slopes(9, 9, false);
    picture.tags.gamma = 45455;
    picture.tags.primaries = {31270, 32900, 64000, 33000, 30000, 60000, 15000, 6000};
    picture.tags.codePoints = {1, 13, 0, 1};
    EXPECT_THAT(droppedFrom(picture, kJpeg), ElementsAre());
    picture.tags.gamma = 50000;
    (*picture.tags.primaries)[2] = 68000;
    picture.tags.codePoints = {12, 13, 0, 1};
    EXPECT_THAT(droppedFrom(picture, kJpeg), ElementsAre("cICP colours", "gamma", "primaries"));
    EXPECT_THAT(droppedFrom(picture, kPng), ElementsAre());
    picture.tags.profile = iccProfile("RGB ", 9);
    EXPECT_THAT(droppedFrom(picture, kJpeg), ElementsAre("cICP colours"));
}

TEST(PictureFileTest, JpegKeepsFullColourByDefault) {
    const Picture picture = slopes(9, 9, false);
    const std::pair<std::optional<int>, char> kRows[] = {{{}, 0x11}, {90, 0x11}, {89, 0x22}};
    for (const auto& [quality, sampling] : kRows) {
        const std::string jpeg = stored(picture, {"jpeg", quality, false, true, true, {}});
        EXPECT_EQ(jpeg.at(jpeg.find("\xff\xc0") + 11), sampling);
    }
}

TEST(PictureFileTest, JpegCountsDotsInItsOwnUnits) {
    Picture picture = slopes(9, 9, false);
    picture.tags.density = upscale::Density{3937, 3937, true};
    std::string jpeg = stored(picture, kJpeg);
    char& unit = jpeg.at(jpeg.find("JFIF") + 7);
    ASSERT_EQ(unit, 1);
    unit = 2;
    const auto density = loaded(jpeg).tags.density;
    ASSERT_TRUE(density);
    EXPECT_EQ(density->x, 10000u);  // 100 to a centimetre
    EXPECT_TRUE(density->perMetre);
}

TEST(PictureFileTest, JpegOfTooManyScansIsRefused) {
    std::string jpeg = output("convert -size 16x16 xc:teal -interlace JPEG jpeg:-");
    const std::size_t start = jpeg.find("\xff\xda");
    const std::string scan = jpeg.substr(start, jpeg.find("\xff\xc4", start) - start);
    for (const int count : {100, 300}) {
        std::string more = jpeg;
        for (int i = 0; i < count; ++i)
            more.insert(start, scan);
        EXPECT_THAT(reasonOf(more), HasSubstr(count == 300 ? "too many scans" : ""));
    }
}

TEST(PictureFileTest, NoPartOfAFileIsTakenForTheWhole) {
    for (const Encoding& encoding : kEncodings) {
        const bool transparent = formatNamed(encoding.format)->alpha;
        const std::string whole = stored(slopes(40, 40, transparent), encoding);
        for (std::size_t length = 12; length < whole.size(); ++length)
            ASSERT_THAT(reasonOf(whole.substr(0, length)), HasSubstr("the file is cut short"))
                    << encoding.format << " " << length;
    }
}

std::vector<std::uint8_t> bytesOf(const std::string& text) {
    return {text.begin(), text.end()};
}

// EXIF data with an orientation of 6 and, as a photograph's size, 40 x 30 in short numbers.
std::vector<std::uint8_t> exifTurned() {
    return bytesOf(
            std::string("MM\0\x2a\0\0\0\x08"
                        "\0\x02\x01\x12\0\3\0\0\0\1\0\6\0\0"
                        "\x87\x69\0\4\0\0\0\1\0\0\0\x26\0\0\0\x40"
                        "\0\2\xa0\2\0\3\0\0\0\1\0\x28\0\0"
                        "\xa0\3\0\3\0\0\0\1\0\x1e\0\0\0\0\0\0",
                        68));
}

std::string xmpTurned() {
    return "<x:xmpmeta xmlns:x='adobe:ns:meta/'><rdf:RDF "
           "xmlns:rdf='http://www.w3.org/1999/02/22-rdf-syntax-ns#'><rdf:Description "
           "rdf:about='' xmlns:tiff='http://ns.adobe.com/tiff/1.0/' tiff:Orientation='6' "
           "tiff:ImageWidth='40' tiff:Make='Somebody'/></rdf:RDF></x:xmpmeta>";
}

TEST(PictureFileTest, MetadataGoesAlongAndIsSetRight) {
    for (const Encoding& encoding : kEncodings) {
        SCOPED_TRACE(encoding.format);
        Picture picture = slopes(300, 9, false);
        picture.tags.exif = exifTurned();
        const std::string xmp = xmpTurned();
        picture.tags.xmp = bytesOf(xmp);
        picture.tags.iptc = bytesOf(std::string("8BIM\4\4\0\0\0\0\0\2ab", 14));
        picture.tags.texts = {{"tEXt", bytesOf(std::string("Comment\0ours", 12))},
                              {"tEXt", bytesOf(std::string("Title\0sea", 9))}};
        std::FILE* file = std::tmpfile();
        EXPECT_EQ(writePicture(picture, *formatNamed(encoding.format), {encoding.quality}, file,
                               "stored"),
                  encoding.dropped);
        std::rewind(file);
        const std::string bytes = readAll(file);
        std::fclose(file);
        const upscale::Tags tags = loaded(bytes).tags;
        auto exif = exifTurned();
        exif[19] = 1;             // upright
        exif[37] = 0;             // without the thumbnail
        exif[43] = exif[55] = 4;  // long numbers
        const std::uint8_t sizes[2][4] = {{0, 0, 1, 44}, {0, 0, 0, 9}};
        std::copy_n(sizes[0], 4, exif.begin() + 48);
        std::copy_n(sizes[1], 4, exif.begin() + 60);
        const bool tiff = encoding.format == std::string("tiff");
        EXPECT_EQ(tags.exif, tiff ? bytesOf("") : exif);
        const std::string read(tags.xmp.begin(), tags.xmp.end());
        EXPECT_THAT(read, HasSubstr("tiff:Orientation=\"1\""));
        EXPECT_THAT(read, HasSubstr("tiff:ImageWidth=\"300\""));
        EXPECT_THAT(read, HasSubstr("Somebody"));
        const bool png = encoding.format == std::string("png");
        const bool jpeg = encoding.format == std::string("jpeg");
        EXPECT_EQ(tags.iptc, png || jpeg || tiff ? picture.tags.iptc : bytesOf(""));
        ASSERT_EQ(tags.texts.size(), png ? 2u : jpeg ? 1u : 0u);
        if (!tags.texts.empty()) {
            EXPECT_EQ(tags.texts[0].data, picture.tags.texts[0].data);
        }
    }
}

// A chunk of a PNG file.
std::string chunk(const std::string& type, const std::string& data) {
    const std::string body = type + data;
    const auto* bytes = reinterpret_cast<const Bytef*>(body.data());
    return fourBytes(data.size()) + body +
           fourBytes(crc32(0, bytes, static_cast<uInt>(body.size())));
}

// The most address space that the process has had.
long mostKilobytes() {
    std::ifstream status("/proc/self/status");
    std::string word;
    long number = 0;
    while (status >> word && word != "VmPeak:") {
    }
    status >> number;
    return number;
}

TEST(PictureFileTest, ChunksAroundThePixelsOfAPngCount) {
    const std::string png = stored(slopes(40, 30, false), kPng);
    constexpr std::size_t kHeaderEnd = 33;
    constexpr std::size_t kEndBytes = 12;
    const auto exif = exifTurned();
    const std::string turned = chunk("eXIf", {exif.begin(), exif.end()});
    for (const std::size_t at : {kHeaderEnd, png.size() - kEndBytes}) {
        const Picture picture = loaded(std::string(png).insert(at, turned));
        EXPECT_EQ(picture.width, 30u);
        EXPECT_EQ(picture.height, 40u);
    }
    const std::string points = chunk("cICP", std::string("\x0c\x0d\0\1", 4));
    const Picture p3 = loaded(std::string(png).insert(kHeaderEnd, points));
    EXPECT_THAT(stored(p3, kPng), HasSubstr(points));
    const std::string animation = chunk("acTL", std::string("\0\0\0\1\0\0\0\0", 8));
    EXPECT_THAT(reasonOf(std::string(png).insert(kHeaderEnd, animation)),
                HasSubstr("is an animation"));
    for (const char* type : {"tEXt", "eXIf"}) {
        std::string promise = chunk(type, "a");
        promise[0] = '\x7f';
        const long before = mostKilobytes();
        EXPECT_NE(reasonOf(std::string(png).insert(kHeaderEnd, promise)), "");
        EXPECT_LT(mostKilobytes() - before, 1 << 20);
    }
    const std::string damaged = std::string("Raw profile type iptc\0\niptc\n3\n0102z3", 35);
    EXPECT_EQ(loaded(std::string(png).insert(kHeaderEnd, chunk("tEXt", damaged))).tags.texts.size(),
              1u);
}

// JPEG and WebP have no checksums.
TEST(PictureFileTest, DamageToAPngIsFoundOrHarmless) {
    const Picture picture = slopes(9, 9, false);
    const std::string whole = stored(picture, kPng);
    for (std::size_t at = 0; at < whole.size(); ++at) {
        std::string damaged = whole;
        damaged[at] = static_cast<char>(damaged[at] ^ 0x21);
        try {
            EXPECT_EQ(loaded(damaged).pixels, picture.pixels) << at;
        } catch (const upscale::Failure&) {
        }
    }
}

TEST(PictureFileTest, HugePromisesCostNothing) {
    // Memory for it would be 4 TB: without the check, an allocation fails instead.
    const std::string png = stored(slopes(9, 9, false), kPng);
    EXPECT_THAT(reasonOf(withHeaderSize(png, 1000000, 1000000)), HasSubstr("cut short"));
    EXPECT_THAT(reasonOf(withHeaderSize(png, 0x7fffffff, 1)), HasSubstr("Invalid IHDR"));
    EXPECT_THAT(reasonOf(withHeaderSize(png, 0, 1)), HasSubstr("Invalid IHDR"));
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

// Encoders store the orientation of EXIF data as marks, which are what counts in AVIF.
TEST(PictureFileTest, AvifIsTurnedByItsOwnMarks) {
    Picture picture = slopes(64, 48, false);
    upscale::PictureHeader header = {64, 48, false, false, {}};
    header.tags.codePoints = {12, 13, 0, 1};
    for (std::uint8_t orientation = 1; orientation <= 8; ++orientation) {
        header.tags.exif = exifTurned();
        header.tags.exif[19] = orientation;
        std::FILE* file = std::tmpfile();
        const auto writer = formatNamed("avif")->create(header, {100}, file, "stored");
        writer->writeRows(picture.pixels.data(), picture.height);
        std::rewind(file);
        const Picture read = loaded(readAll(file));
        std::fclose(file);
        const Picture expected = upscale::upright(picture, orientation);
        ASSERT_EQ(read.width, expected.width);
        double sum = 0;
        for (std::size_t i = 0; i < expected.pixels.size(); ++i)
            sum += std::abs(read.pixels[i] - expected.pixels[i]);
        EXPECT_LE(sum / static_cast<double>(expected.pixels.size()), 3) << int{orientation};
        EXPECT_EQ(read.tags.codePoints, header.tags.codePoints);
    }
}

}  // namespace
