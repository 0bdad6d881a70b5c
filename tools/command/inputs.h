// SPDX-License-Identifier: Apache-2.0
/// @file
/// Which pictures a batch has, and what each becomes.
#ifndef UPSCALER_TOOLS_COMMAND_INPUTS_H
#define UPSCALER_TOOLS_COMMAND_INPUTS_H

#include <string>
#include <vector>

#include "command/arguments.h"
#include "common/report.h"

namespace upscale {

/// A picture of a batch, or what was named as one and fails when its turn comes.
struct Input {
    std::string path;
    std::string folder;  ///< Where its output goes, within the folder for the results; may be "".
};

/// The pictures that the arguments name: files, those of folders in the order of their names, and
/// those of a list. Of a folder only regular files with a picture's extension count that are not
/// hidden; a note says how many others there were. Throws `Failure` if the list cannot be read.
std::vector<Input> findInputs(const Arguments& arguments, Report& report);

/// Throws `Failure` if `path` is a folder, which as an input has no pictures or cannot be read.
void expectNoFolder(const std::string& path);

/// The name of what an input becomes: its own with the suffix, and with the extension of the format
/// unless it has one that stands for it.
std::string outputName(const std::string& input, const PictureFormat& format,
                       const std::string& suffix);

/// A path in a folder.
std::string within(const std::string& folder, const std::string& name);

}  // namespace upscale

#endif  // UPSCALER_TOOLS_COMMAND_INPUTS_H
