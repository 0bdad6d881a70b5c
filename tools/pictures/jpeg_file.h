// SPDX-License-Identifier: Apache-2.0
#ifndef UPSCALER_TOOLS_PICTURES_JPEG_FILE_H
#define UPSCALER_TOOLS_PICTURES_JPEG_FILE_H

#include "pictures/input_file.h"
#include "pictures/picture_file.h"

namespace upscale {

constexpr std::uint32_t kLargestJpegSide = 65500;
constexpr int kDefaultJpegQuality = 90;

/// Whether a file that begins so is a JPEG one.
bool isJpeg(const std::string& head);

/// Reads a grey or RGB JPEG file, turned as its EXIF data says.
class JpegReader : public PictureReader {
  public:
    explicit JpegReader(InputFile& file);
    ~JpegReader() override;

    Format format() const override { return Format::Jpeg; }
    std::uint32_t width() const override;
    std::uint32_t height() const override;
    Picture read() override;

  private:
    struct State;
    std::unique_ptr<State> mState;
};

/// Writes an opaque picture: grey if it is grey. Colour is stored at full resolution from quality
/// 90 on, at half below.
void writeJpeg(const Picture& picture, int quality, std::FILE* file, const std::string& name);

}  // namespace upscale

#endif  // UPSCALER_TOOLS_PICTURES_JPEG_FILE_H
