// SPDX-License-Identifier: Apache-2.0
/// @file
/// The formats of picture files that the command knows. Its lists, checks, messages and help texts
/// follow from the rows in formats.cpp.
#ifndef UPSCALER_TOOLS_PICTURES_FORMATS_H
#define UPSCALER_TOOLS_PICTURES_FORMATS_H

#include <cstdint>
#include <cstdio>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "pictures/input_file.h"
#include "pictures/picture_reader.h"
#include "pictures/picture_writer.h"

namespace upscale {

/// In place of a default quality, which is 1 to 100: the format has none, or loses nothing unless
/// it is asked to.
constexpr int kNoQuality = -1;
constexpr int kLossless = 0;

struct PictureFormat {
    std::string name;  ///< As it is read: "JPEG". In lower case, --format's word.
    std::vector<std::string> extensions;  ///< Of file names, in lower case; the usual one first.
    std::uint32_t largestSide;            ///< The longest side, in pixels, that a file can have.
    bool alpha;
    int defaultQuality;
    std::vector<std::string_view> magic;  ///< What a file begins with, one of these; ? is any byte.
    std::unique_ptr<PictureReader> (*open)(InputFile file);
    bool writerStreams;  ///< Whether the writer keeps no more than a few rows.
    std::unique_ptr<PictureWriter> (*create)(PictureHeader header, const Encoding& encoding,
                                             std::FILE* file, std::string name);
};

extern const std::vector<PictureFormat> kPictureFormats;

/// The format of a name, in any case: its own or an extension. Null if there is none.
const PictureFormat* formatNamed(const std::string& name);

/// The word of a format for --format: "jpeg".
std::string wordOf(const PictureFormat& format);
/// All formats in a sentence: "PNG, JPEG or WebP".
std::string formatNames(const std::string& conjunction);
/// All of --format's words.
std::vector<std::string> formatWords();

/// The extension of a file's name, without the dot; empty if it has none.
std::string extensionOf(const std::string& path);

/// A picture whose header has been read.
struct OpenPicture {
    const PictureFormat* format;
    std::unique_ptr<PictureReader> reader;
};

/// Opens a file of any of the formats, told apart by content. Throws `Failure`.
OpenPicture openPicture(const std::string& path);

/// Begins to write a picture; see `PictureWriter`.
std::unique_ptr<PictureWriter> createPicture(PictureHeader header, const PictureFormat& format,
                                             Encoding encoding, std::FILE* file, std::string name);

/// Writes a picture, with alpha only if some pixel is not opaque.
/// @return `PictureWriter::dropped`.
std::vector<std::string> writePicture(const Picture& picture, const PictureFormat& format,
                                      const Encoding& encoding, std::FILE* file,
                                      const std::string& name);

}  // namespace upscale

#endif  // UPSCALER_TOOLS_PICTURES_FORMATS_H
