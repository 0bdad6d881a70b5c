// SPDX-License-Identifier: Apache-2.0
#ifndef UPSCALER_TOOLS_PICTURES_WEBP_FILE_H
#define UPSCALER_TOOLS_PICTURES_WEBP_FILE_H

#include "pictures/input_file.h"
#include "pictures/picture_file.h"

namespace upscale {

constexpr std::uint32_t kLargestWebPSide = 16383;

/// Whether a file that begins so is a WebP one.
bool isWebP(const std::string& head);

/// Reads a still WebP file.
class WebPReader : public PictureReader {
  public:
    explicit WebPReader(InputFile& file);

    Format format() const override { return Format::WebP; }
    std::uint32_t width() const override { return mWidth; }
    std::uint32_t height() const override { return mHeight; }
    Picture read() override;

  private:
    [[noreturn]] void fail(const std::string& reason) const;

    std::string mPath;
    std::vector<std::uint8_t> mBytes;
    std::uint32_t mWidth = 0;
    std::uint32_t mHeight = 0;
};

/// Writes a picture, without loss if no quality is given. There is no grey WebP, and none with a
/// density.
void writeWebP(const Picture& picture, std::optional<int> quality, std::FILE* file,
               const std::string& name);

}  // namespace upscale

#endif  // UPSCALER_TOOLS_PICTURES_WEBP_FILE_H
