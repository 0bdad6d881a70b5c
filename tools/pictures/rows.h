// SPDX-License-Identifier: Apache-2.0
/// @file
/// Pictures that need not be in memory as a whole: their rows come and go in order from the top, as
/// in `Picture`: four bytes (R, G, B, A with straight alpha) to a pixel, without gaps.
#ifndef UPSCALER_TOOLS_PICTURES_ROWS_H
#define UPSCALER_TOOLS_PICTURES_ROWS_H

#include <cstdint>

namespace upscale {

class RowSource {
  public:
    virtual ~RowSource() = default;
    /// Reads the next `count` rows. Throws `Failure`.
    virtual void readRows(std::uint8_t* rows, std::uint32_t count) = 0;
};

class RowSink {
  public:
    virtual ~RowSink() = default;
    /// Takes the next `count` rows. Throws `Failure`.
    virtual void writeRows(const std::uint8_t* rows, std::uint32_t count) = 0;
};

}  // namespace upscale

#endif  // UPSCALER_TOOLS_PICTURES_ROWS_H
