// SPDX-License-Identifier: Apache-2.0
#ifndef UPSCALER_TOOLS_ARGUMENTS_H
#define UPSCALER_TOOLS_ARGUMENTS_H

#include <cstdint>
#include <optional>
#include <string>

#include "operations.h"
#include "picture_file.h"

namespace upscale {

struct Size {
    std::uint32_t width;
    std::uint32_t height;
};

/// What the operations see beyond the picture's edge.
enum class Border { Pad, Raw };

/// What the command line asks for.
struct Arguments {
    const Operation* operation = nullptr;
    float sharpness = 0;
    std::optional<Size> size;  ///< Else scale.
    double scale = 0;
    Border border = Border::Pad;
    bool check = false;  ///< Then only `verbose` counts besides.
    bool force = false;
    bool verbose = false;
    Encoding encoding;
    std::string input;
    std::string output;

    /// The size of the output for an input of the given size. Throws `Failure` if it is none.
    Size outputSize(std::uint32_t width, std::uint32_t height) const;
};

/// Reads the command line. Throws `Failure` for wrong usage.
/// @return nothing if the command line asked for a text (help, list, version), which is printed.
std::optional<Arguments> parseArguments(int argc, const char* const* argv);

}  // namespace upscale

#endif  // UPSCALER_TOOLS_ARGUMENTS_H
