// SPDX-License-Identifier: Apache-2.0
/// @file
/// The EXIF orientation, by which cameras tell how the stored rows lie.
#ifndef UPSCALER_TOOLS_PICTURES_ORIENTATION_H
#define UPSCALER_TOOLS_PICTURES_ORIENTATION_H

#include <cstddef>
#include <cstdint>
#include <vector>

#include "pictures/picture.h"

namespace upscale {

/// The orientation, 1 to 8, in EXIF data that begins with its byte order mark. 1, which is upright,
/// if there is none.
int exifOrientation(const std::uint8_t* data, std::size_t size);

/// Sets the orientation in EXIF data to 1 and its sizes in pixels to those given, where it has
/// them. A thumbnail of a turned picture, which would lie wrongly, is left out.
void mendExif(std::vector<std::uint8_t>& data, std::uint32_t width, std::uint32_t height);

/// Whether width and height change places.
constexpr bool turnsSideways(int orientation) {
    return orientation >= 5;
}

/// The pixels, stored in the given orientation, as they should be seen. Without what else the
/// picture has.
Picture upright(Picture picture, int orientation);

}  // namespace upscale

#endif  // UPSCALER_TOOLS_PICTURES_ORIENTATION_H
