// SPDX-License-Identifier: Apache-2.0
/// @file
/// Where a picture and its result lie in the buffers.
#ifndef UPSCALER_TOOLS_PLACEMENT_H
#define UPSCALER_TOOLS_PLACEMENT_H

#include <string>

#include "arguments.h"
#include "border.h"
#include "runner.h"

namespace upscale {

/// As people write it.
std::string inPixels(Size size);

/// Throws `Failure` with that name if the driver does not take the size.
void checkSide(const std::string& name, Size size, const Runner& runner);

/// The paddings of the two directions, and the sizes with them.
struct Frame {
    Padding x, y;
    Size from, to;

    Frame(Size source, Size destination) : from(source), to(destination) {}

    void pad() {
        x = paddingFor(from.width, to.width);
        y = paddingFor(from.height, to.height);
        from = {from.width + 2 * x.source, from.height + 2 * y.source};
        to = {to.width + 2 * x.destination, to.height + 2 * y.destination};
    }
};

/// Padded as the arguments say, with a warning if the driver has no room for that.
Frame frameFor(const Arguments& arguments, Size from, Size to, const Runner& runner);

void warn(const std::string& message);

}  // namespace upscale

#endif  // UPSCALER_TOOLS_PLACEMENT_H
