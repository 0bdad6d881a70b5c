// SPDX-License-Identifier: Apache-2.0
/// @file
/// What the library needs of the driver, and what the driver says of itself. All of this is about
/// the calling thread's current context.
#ifndef UPSCALER_TOOLS_GPU_DRIVER_H
#define UPSCALER_TOOLS_GPU_DRIVER_H

#include <ui/Fence.h>

#include <string>
#include <utility>
#include <vector>

namespace upscale {

/// The renderer's name and the version of OpenGL ES.
std::string driverName();

/// Names and values for a table.
std::vector<std::pair<std::string, std::string>> driverFacts();

/// What the driver lacks, such as "OpenGL ES 3.1; 3.2 is needed"; empty if nothing is missing.
std::string missingFromDriver();

/// Whose fence it is, and why.
std::string ownerOf(const android::Fence& fence);

}  // namespace upscale

#endif  // UPSCALER_TOOLS_GPU_DRIVER_H
