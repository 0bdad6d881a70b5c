// SPDX-License-Identifier: Apache-2.0
#ifndef UPSCALER_TOOLS_COMMAND_VIDEO_H
#define UPSCALER_TOOLS_COMMAND_VIDEO_H

#include "command/arguments.h"
#include "common/report.h"

namespace upscale {

/// Scales the frames of a Y4M or raw stream. Throws `Failure`. See `ByteSink::write` for a reader
/// that is gone.
void scaleVideo(const Arguments& arguments, Report& report);

}  // namespace upscale

#endif  // UPSCALER_TOOLS_COMMAND_VIDEO_H
