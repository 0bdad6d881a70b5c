// SPDX-License-Identifier: Apache-2.0
/// @file
/// The reader and the writer of each format, for its row in formats.cpp.
///
/// A writer writes a picture 8 bits deep, with what the format has room for of alpha, colour tags
/// and density, and does not close the file. `quality` is 1 to 100, or what the row has as its
/// default. `name` is the file as `Failure` names it.
#ifndef UPSCALER_TOOLS_PICTURES_CODECS_H
#define UPSCALER_TOOLS_PICTURES_CODECS_H

#include <cstdio>
#include <memory>
#include <string>

#include "pictures/input_file.h"
#include "pictures/picture_reader.h"

namespace upscale {

/// Any colour type and depth.
std::unique_ptr<PictureReader> openPng(InputFile file);
/// Grey if the picture is grey, otherwise RGB; with alpha only if some pixel is not opaque.
void writePng(const Picture& picture, int quality, std::FILE* file, const std::string& name);

/// Grey or RGB, turned as its EXIF data says.
std::unique_ptr<PictureReader> openJpeg(InputFile file);
/// Of an opaque picture: grey if it is grey. Colour is stored at full resolution from quality 90
/// on, at half below.
void writeJpeg(const Picture& picture, int quality, std::FILE* file, const std::string& name);

/// A still picture.
std::unique_ptr<PictureReader> openWebP(InputFile file);
/// WebP has no grey pictures and no density.
void writeWebP(const Picture& picture, int quality, std::FILE* file, const std::string& name);

}  // namespace upscale

#endif  // UPSCALER_TOOLS_PICTURES_CODECS_H
