// SPDX-License-Identifier: Apache-2.0
/// @file
/// The command's main work: one picture to a file, or many to a folder.
#ifndef UPSCALER_TOOLS_COMMAND_PICTURES_H
#define UPSCALER_TOOLS_COMMAND_PICTURES_H

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

}  // namespace upscale

#endif  // UPSCALER_TOOLS_COMMAND_PICTURES_H
