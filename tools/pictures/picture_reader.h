// SPDX-License-Identifier: Apache-2.0
#ifndef UPSCALER_TOOLS_PICTURES_PICTURE_READER_H
#define UPSCALER_TOOLS_PICTURES_PICTURE_READER_H

#include <cstdint>
#include <optional>

#include "pictures/picture.h"
#include "pictures/rows.h"

namespace upscale {

/// What a file says of its picture ahead of the pixels.
struct PictureHeader {
    std::uint32_t width = 0;
    std::uint32_t height = 0;
    bool grey = false;   ///< See `Picture`.
    bool alpha = false;  ///< Whether there may be pixels that are less than opaque.
    Tags tags;
};

/// Reads one picture, as it should be seen. The header is read when the reader is made and the
/// pixels, reduced to 8 bits, on demand, so that the size can be judged before memory is spent on
/// it. Members throw `Failure` with the file's name.
class PictureReader : public RowSource {
  public:
    PictureReader() = default;
    PictureReader(const PictureReader&) = delete;
    PictureReader& operator=(const PictureReader&) = delete;

    const PictureHeader& header() const { return mHeader; }
    std::uint32_t width() const { return mHeader.width; }
    std::uint32_t height() const { return mHeader.height; }
    /// Bits of a channel, as stored.
    int depth() const { return mDepth; }
    /// Whether `readRows` keeps no more than a few rows. Otherwise it keeps the whole picture.
    bool streams() const { return mStreams && mOrientation == 1; }

    void readRows(std::uint8_t* rows, std::uint32_t count) final;
    /// Reads the whole picture, in place of the rows.
    Picture read();

  protected:
    /// Reads the next rows as they are stored, and checks the file's end after the last.
    virtual void readStored(std::uint8_t* rows, std::uint32_t count) = 0;

    /// To be set when the header has been read.
    /// @param header as stored. @param streams whether `readStored` may be called for a few rows;
    ///     otherwise it is for all. @param orientation how the stored rows lie; see orientation.h.
    void setHeader(PictureHeader header, int depth, bool streams, int orientation);

  private:
    PictureHeader mHeader;
    int mDepth = 8;
    bool mStreams = true;
    int mOrientation = 1;
    std::optional<Picture> mWhole;
    std::uint32_t mNextRow = 0;  // of mWhole
};

}  // namespace upscale

#endif  // UPSCALER_TOOLS_PICTURES_PICTURE_READER_H
