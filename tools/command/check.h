// SPDX-License-Identifier: Apache-2.0
#ifndef UPSCALER_TOOLS_COMMAND_CHECK_H
#define UPSCALER_TOOLS_COMMAND_CHECK_H

#include "common/failure.h"
#include "common/report.h"

namespace upscale {

/// Prints what this machine's driver is and can do, runs every operation on a small built-in
/// picture and compares what comes out with stored values. A verbose report has the values that
/// came out printed as well, as they are stored.
/// @return `Done` if the driver can be trusted, otherwise `NoDriver`. Throws `Failure` if there is
///     no driver.
Exit check(Report& report);

}  // namespace upscale

#endif  // UPSCALER_TOOLS_COMMAND_CHECK_H
