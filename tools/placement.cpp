// SPDX-License-Identifier: Apache-2.0
#include "placement.h"

#include <algorithm>
#include <cstdio>

#include "failure.h"

namespace upscale {
namespace {

bool fits(Size size, const Runner& runner) {
    return std::max(size.width, size.height) <= runner.largestSide();
}

}  // namespace

std::string inPixels(Size size) {
    return std::to_string(size.width) + "x" + std::to_string(size.height);
}

void warn(const std::string& message) {
    std::fprintf(stderr, "upscale: warning: %s\n", message.c_str());
}

void checkSide(const std::string& name, Size size, const Runner& runner) {
    if (fits(size, runner)) return;
    throw Failure(Exit::Failed, name,
                  inPixels(size) + " is too large: the driver takes " +
                          std::to_string(runner.largestSide()) + " pixels a side");
}

Frame frameFor(const Arguments& arguments, Size from, Size to, const Runner& runner) {
    Frame frame(from, to);
    if (arguments.border == Border::Raw) return frame;
    frame.pad();
    if (fits(frame.from, runner) && fits(frame.to, runner)) return frame;
    warn("no room for a border: padded, " + inPixels(frame.from) + " to " + inPixels(frame.to) +
         " is too large for the driver; going on with --border raw");
    return Frame(from, to);
}

}  // namespace upscale
