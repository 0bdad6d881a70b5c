// SPDX-License-Identifier: Apache-2.0
/// @file
/// Pictures in files of every format that the command knows.
#ifndef UPSCALER_TOOLS_PICTURES_PICTURE_FILE_H
#define UPSCALER_TOOLS_PICTURES_PICTURE_FILE_H

#include <cstdint>
#include <cstdio>
#include <memory>
#include <optional>
#include <string>

#include "pictures/picture.h"

namespace upscale {

enum class Format { Png, Jpeg, WebP };

/// Reads one picture. The header is read when the reader is made and the pixels on demand, so that
/// the size can be judged before memory is spent on it. Members throw `Failure` with the file's
/// name.
class PictureReader {
  public:
    PictureReader() = default;
    virtual ~PictureReader() = default;
    PictureReader(const PictureReader&) = delete;
    PictureReader& operator=(const PictureReader&) = delete;

    virtual Format format() const = 0;
    /// The size as the picture is to be seen.
    virtual std::uint32_t width() const = 0;
    virtual std::uint32_t height() const = 0;
    /// Bits of a channel, as stored.
    virtual int depth() const { return 8; }

    /// Reads the pixels, reduced to 8 bits. Once only.
    virtual Picture read() = 0;
};

/// Opens a PNG, JPEG or WebP file, told apart by content.
std::unique_ptr<PictureReader> openPicture(const std::string& path);

/// How to write a picture.
struct Encoding {
    Format format = Format::Png;
    /// 1 to 100. Without one, JPEG takes 90 and WebP loses nothing. PNG has none.
    std::optional<int> quality;
};

/// The extension of a file's name, without the dot; empty if it has none.
std::string extensionOf(const std::string& path);
/// The usual extension of a format's files, without the dot.
const char* usualExtension(Format format);
/// The format of a name: "png", "jpg", "jpeg" or "webp", in any case.
std::optional<Format> formatNamed(const std::string& name);

/// The longest side, in pixels, that a file of the format can have.
std::uint32_t largestSide(Format format);
/// The format's name, to be read.
const char* nameOf(Format format);

/// Writes a picture, 8 bits deep, with what the format has room for of alpha, colour tags and
/// density. Does not close the file. JPEG has no alpha: the picture must be opaque.
/// @param name the file as `Failure` shall name it.
void writePicture(const Picture& picture, const Encoding& encoding, std::FILE* file,
                  const std::string& name);

}  // namespace upscale

#endif  // UPSCALER_TOOLS_PICTURES_PICTURE_FILE_H
