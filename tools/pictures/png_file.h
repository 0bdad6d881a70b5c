// SPDX-License-Identifier: Apache-2.0
#ifndef UPSCALER_TOOLS_PICTURES_PNG_FILE_H
#define UPSCALER_TOOLS_PICTURES_PNG_FILE_H

#include "pictures/input_file.h"
#include "pictures/picture_file.h"

namespace upscale {

/// Whether a file that begins so is a PNG one.
bool isPng(const std::string& head);

/// Reads a PNG file of any colour type and depth.
class PngReader : public PictureReader {
  public:
    explicit PngReader(InputFile file);
    ~PngReader() override;

    Format format() const override { return Format::Png; }
    std::uint32_t width() const override;
    std::uint32_t height() const override;
    int depth() const override;
    Picture read() override;

  private:
    struct State;
    std::unique_ptr<State> mState;
};

/// Writes a picture as an 8-bit PNG: grey if it is grey, else RGB, with alpha only if some pixel is
/// not opaque. Does not close the file.
/// @param name the file as `Failure` shall name it.
void writePng(const Picture& picture, std::FILE* file, const std::string& name);

}  // namespace upscale

#endif  // UPSCALER_TOOLS_PICTURES_PNG_FILE_H
