// SPDX-License-Identifier: Apache-2.0
/// @file
/// The command's main work: one picture to a file, or many to a folder.
#ifndef UPSCALER_TOOLS_COMMAND_PICTURES_H
#define UPSCALER_TOOLS_COMMAND_PICTURES_H

#include <string>
#include <vector>

#include "command/arguments.h"
#include "common/failure.h"
#include "common/report.h"

namespace upscale {

/// Scales one picture. Throws `Failure`.
void scalePicture(const Arguments& arguments, Report& report);

/// Scales every picture of the arguments into their folder. What goes wrong with a picture is
/// reported and does not stop the others. Throws `Failure` if none can be done.
/// @return `Done`, or why not all were done.
Exit scalePictures(const Arguments& arguments, Report& report);

/// The name, in the folder for the results, of what an input becomes: its own, with the extension
/// of the format unless it has one that stands for it.
std::string outputName(const std::string& input, const PictureFormat& format);

/// The pictures of a folder: the files with a picture's extension that are not hidden, in the order
/// of their names. Throws `Failure` if there are none.
std::vector<std::string> picturesIn(const std::string& folder);

}  // namespace upscale

#endif  // UPSCALER_TOOLS_COMMAND_PICTURES_H
