// SPDX-License-Identifier: Apache-2.0
/// @file
/// The reader and the writer of each format, for its row in formats.cpp.
///
/// A writer writes a picture 8 bits deep, with what the format has room for of alpha, colour tags
/// and density. The encoding has a quality: 1 to 100, or what the row has as its default.
#ifndef UPSCALER_TOOLS_PICTURES_CODECS_H
#define UPSCALER_TOOLS_PICTURES_CODECS_H

#include <cstdio>
#include <memory>
#include <string>

#include "pictures/input_file.h"
#include "pictures/picture_reader.h"
#include "pictures/picture_writer.h"

namespace upscale {

/// Any colour type and depth.
std::unique_ptr<PictureReader> openPng(InputFile file);
/// Grey or RGB, with alpha or without.
std::unique_ptr<PictureWriter> createPng(PictureHeader header, const Encoding& encoding,
                                         std::FILE* file, std::string name);

/// Grey or RGB, turned as its EXIF data says.
std::unique_ptr<PictureReader> openJpeg(InputFile file);
/// Grey or RGB, without alpha. Colour is stored at full resolution from quality 90 on, at half
/// below.
std::unique_ptr<PictureWriter> createJpeg(PictureHeader header, const Encoding& encoding,
                                          std::FILE* file, std::string name);

/// A still picture.
std::unique_ptr<PictureReader> openWebP(InputFile file);
/// WebP has no grey pictures and no density.
std::unique_ptr<PictureWriter> createWebP(PictureHeader header, const Encoding& encoding,
                                          std::FILE* file, std::string name);

/// Grey, RGB or a palette, up to 16 bits, by strips or tiles; the first picture of the file.
std::unique_ptr<PictureReader> openTiff(InputFile file);
/// Grey or RGB, with alpha or without, compressed by deflate. BigTIFF if it may be large.
std::unique_ptr<PictureWriter> createTiff(PictureHeader header, const Encoding& encoding,
                                          std::FILE* file, std::string name);

/// A still picture of any depth.
std::unique_ptr<PictureReader> openAvif(InputFile file);
/// Grey or RGB, with alpha or without; no density. Colour is stored as in JPEG.
std::unique_ptr<PictureWriter> createAvif(PictureHeader header, const Encoding& encoding,
                                          std::FILE* file, std::string name);

}  // namespace upscale

#endif  // UPSCALER_TOOLS_PICTURES_CODECS_H
