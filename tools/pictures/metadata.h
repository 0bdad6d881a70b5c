// SPDX-License-Identifier: Apache-2.0
/// @file
/// What a picture's metadata says of its pixels, set right when they have changed.
#ifndef UPSCALER_TOOLS_PICTURES_METADATA_H
#define UPSCALER_TOOLS_PICTURES_METADATA_H

#include <cstdint>
#include <string>

#include "pictures/picture.h"

namespace upscale {

/// Sets the orientation in EXIF and XMP data to 1, upright, and their sizes in pixels to those
/// given. Adds none. What cannot be read stays as it is.
void mendMetadata(Tags& tags, std::uint32_t width, std::uint32_t height);

/// The keyword of a PNG text chunk.
std::string keywordOf(const TextChunk& text);

}  // namespace upscale

#endif  // UPSCALER_TOOLS_PICTURES_METADATA_H
