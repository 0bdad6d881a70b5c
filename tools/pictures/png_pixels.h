// SPDX-License-Identifier: Apache-2.0
/// @file
/// The compressed pixels of a PNG file, made on several threads.
#ifndef UPSCALER_TOOLS_PICTURES_PNG_PIXELS_H
#define UPSCALER_TOOLS_PICTURES_PNG_PIXELS_H

#include <cstddef>
#include <cstdint>
#include <deque>
#include <future>
#include <memory>
#include <vector>

#include "pictures/picture_writer.h"

namespace upscale {

/// Filters rows and compresses them by strips, which follow each other in one zlib stream. Keeps a
/// few strips in memory. Not thread-safe.
class PngPixels {
  public:
    using Bytes = std::vector<std::uint8_t>;

    /// @param rowBytes of a row as it is stored. @param pixelBytes 1 to 4.
    PngPixels(std::size_t rowBytes, std::size_t pixelBytes, Compression compression);

    /// Adds the next row. @param last whether it is the last one.
    void addRow(const std::uint8_t* row, bool last);

    /// The next part of the stream. Waits for it if so many strips are under way that it should,
    /// and after the last row until nothing is left.
    /// @return empty if there is none for now.
    Bytes next();

  private:
    struct Strip {
        Bytes compressed;
        std::uint32_t adler;
        std::size_t size;
    };

    void filter(const std::uint8_t* row, Bytes& to);
    void startStrip(bool last);

    const std::size_t mRowBytes;
    const std::size_t mPixelBytes;
    const Compression mCompression;
    const std::size_t mMostUnderWay;
    Bytes mAbove;
    std::vector<Bytes> mCandidates;
    Bytes mFiltered;  // the strip that is being filled
    std::shared_ptr<const Bytes> mBefore;
    std::deque<std::future<Strip>> mUnderWay;
    std::uint32_t mAdler = 1;
    bool mBegun = false;
    bool mEnded = false;
};

}  // namespace upscale

#endif  // UPSCALER_TOOLS_PICTURES_PNG_PIXELS_H
