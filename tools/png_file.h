// SPDX-License-Identifier: Apache-2.0
#ifndef UPSCALER_TOOLS_PNG_FILE_H
#define UPSCALER_TOOLS_PNG_FILE_H

#include <cstdint>
#include <cstdio>
#include <memory>
#include <string>

#include "picture.h"

namespace upscale {

/// Reads one PNG file of any colour type and depth. The header is read at once and the pixels on
/// demand, so that the size can be judged before memory is spent on it. Every member throws
/// `Failure` with the file's name.
class PngReader {
  public:
    explicit PngReader(const std::string& path);
    ~PngReader();
    PngReader(const PngReader&) = delete;
    PngReader& operator=(const PngReader&) = delete;

    std::uint32_t width() const;
    std::uint32_t height() const;

    /// Reads the pixels, reduced to 8 bits. Once only.
    Picture read();

  private:
    struct State;
    std::unique_ptr<State> mState;
};

/// Writes a picture as an 8-bit PNG: grey if it is grey, else RGB, with alpha only if some pixel is
/// not opaque. Does not close the file.
/// @param name the file as `Failure` shall name it.
void writePng(const Picture& picture, std::FILE* file, const std::string& name);

}  // namespace upscale

#endif  // UPSCALER_TOOLS_PNG_FILE_H
