// SPDX-License-Identifier: Apache-2.0
#ifndef UPSCALER_TOOLS_COMMAND_STROKE_FONT_H
#define UPSCALER_TOOLS_COMMAND_STROKE_FONT_H

#include <string_view>

namespace upscale {

struct Point {
    double x;
    double y;
};

/// A line of capitals, digits and - . , :
struct Text {
    std::string_view words;
    Point topLeft;
    double unit;    ///< A sixth of the height; letters are four units wide, and two apart.
    double stroke;  ///< Width of the pen, in units.
};

/// Whether `p` is on a letter of the text.
bool onText(Point p, const Text& text);

}  // namespace upscale

#endif  // UPSCALER_TOOLS_COMMAND_STROKE_FONT_H
