// SPDX-License-Identifier: Apache-2.0
#ifndef UPSCALER_TOOLS_COMMAND_SHEET_H
#define UPSCALER_TOOLS_COMMAND_SHEET_H

#include "command/arguments.h"
#include "common/report.h"

namespace upscale {

/// Writes a picture to look at: a part of the source, its pixels enlarged, and beside it the same
/// part as every operation gives it (`kCompare`) or one operation at several values of sharpness
/// (`kSweep`), each with its label. Throws `Failure`.
void writeSheet(const Arguments& arguments, Report& report);

}  // namespace upscale

#endif  // UPSCALER_TOOLS_COMMAND_SHEET_H
