// SPDX-License-Identifier: Apache-2.0
#ifndef UPSCALER_TOOLS_PICTURES_PICTURE_READER_H
#define UPSCALER_TOOLS_PICTURES_PICTURE_READER_H

#include <cstdint>

#include "pictures/picture.h"

namespace upscale {

/// Reads one picture. The header is read when the reader is made and the pixels on demand, so that
/// the size can be judged before memory is spent on it. Members throw `Failure` with the file's
/// name.
class PictureReader {
  public:
    PictureReader() = default;
    virtual ~PictureReader() = default;
    PictureReader(const PictureReader&) = delete;
    PictureReader& operator=(const PictureReader&) = delete;

    /// The size as the picture should be seen.
    virtual std::uint32_t width() const = 0;
    virtual std::uint32_t height() const = 0;
    /// Bits of a channel, as stored.
    virtual int depth() const { return 8; }

    /// Reads the pixels, reduced to 8 bits. Once only.
    virtual Picture read() = 0;
};

}  // namespace upscale

#endif  // UPSCALER_TOOLS_PICTURES_PICTURE_READER_H
