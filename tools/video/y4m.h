// SPDX-License-Identifier: Apache-2.0
/// @file
/// The header lines of Y4M, the uncompressed video that programs pass on through pipes.
#ifndef UPSCALER_TOOLS_VIDEO_Y4M_H
#define UPSCALER_TOOLS_VIDEO_Y4M_H

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "video/frame_format.h"

namespace upscale {

/// What a stream and a frame begin with.
constexpr char kY4mStreamWord[] = "YUV4MPEG2";
constexpr char kY4mFrameWord[] = "FRAME";

/// The longest header line that is taken, in bytes.
constexpr std::size_t kLongestY4mLine = 4096;
/// The longest side that is taken, in pixels; no driver takes a longer one.
constexpr std::uint32_t kLongestY4mSide = 1u << 15;

/// The first line of a stream.
struct Y4mHeader {
    /// Without the matrix, which Y4M does not tell.
    FrameFormat format;
    /// All tags in their order, the unknown ones too.
    std::vector<std::string> tags;
};

/// @param line without its end. @param name of the stream, for the `Failure` that is thrown if the
///     line is not a header, or its frames are not supported: interlaced, or not of 8 bits.
Y4mHeader parseY4mHeader(const std::string& line, const std::string& name);

/// The header of the same stream, its line's end included, once its frames were scaled.
/// @param width, height at most `kLongestY4mSide`. @param range if it is to be told other than the
/// tags do.
///
/// The pixel aspect is kept if both sides were scaled alike, except for the rounding to whole
/// pixels, and is adjusted otherwise so that the picture keeps its shape on the screen.
std::string scaledY4mHeader(const Y4mHeader& header, std::uint32_t width, std::uint32_t height,
                            std::optional<Range> range);

/// Looks at the line before a frame.
/// @return its parameters, with the space before them. Throws `Failure` if it is not such a line,
///     or if the frame is interlaced. @param place names stream and frame.
std::string parseY4mFrameLine(const std::string& line, const std::string& name,
                              const std::string& place);

}  // namespace upscale

#endif  // UPSCALER_TOOLS_VIDEO_Y4M_H
