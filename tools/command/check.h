// SPDX-License-Identifier: Apache-2.0
#ifndef UPSCALER_TOOLS_COMMAND_CHECK_H
#define UPSCALER_TOOLS_COMMAND_CHECK_H

#include "common/failure.h"

namespace upscale {

/// Prints what this machine's driver is and can do, runs every operation on a small built-in
/// picture and compares what comes out with stored values.
/// @param verbose whether to print the values that came out as well, as they would be stored.
/// @return `Done` if the driver can be trusted, else `NoDriver`. Throws `Failure` if there is none.
Exit check(bool verbose);

}  // namespace upscale

#endif  // UPSCALER_TOOLS_COMMAND_CHECK_H
