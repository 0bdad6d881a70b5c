// SPDX-License-Identifier: Apache-2.0
#ifndef UPSCALER_TOOLS_COMMAND_ARGUMENTS_H
#define UPSCALER_TOOLS_COMMAND_ARGUMENTS_H

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "command/target_size.h"
#include "common/size.h"
#include "gpu/operations.h"
#include "pictures/border.h"
#include "pictures/formats.h"
#include "video/frame_format.h"

namespace upscale {

/// What a command line asks for. Bits, since an option goes with several.
enum Task : unsigned {
    kPictures = 1,  ///< One picture to a file, or many to a folder.
    kCompare = 2,
    kSweep = 4,
    kVideo = 8,
    kCheck = 16,
};

/// A part of a picture, in pixels.
struct Crop {
    std::uint32_t x;
    std::uint32_t y;
    Size size;
};

/// What the command line asks for.
struct Arguments {
    Task task = kPictures;

    const Operation* operation = nullptr;
    std::optional<float> sharpness;
    TargetSize target;
    Border border = Border::Pad;
    /// Null with `intoFolder` alone: each picture's own.
    const PictureFormat* format = nullptr;
    std::optional<int> quality;
    Compression compression = Compression::Default;
    bool force = false;
    bool skipExisting = false;
    bool recursive = false;  ///< Of `intoFolder`, as the next two.
    std::string suffix;      ///< Goes behind the names of the outputs, before the extension.
    std::optional<std::string> filesFrom;  ///< A list of more inputs; "-" is standard input.
    bool quiet = false;
    bool verbose = false;

    std::vector<float> sweep;  ///< The values of sharpness, of `kSweep`.
    std::optional<Crop> crop;
    std::optional<std::uint32_t> zoom;

    std::optional<Size> raw;  ///< The input is frames of raw RGBA, of `kVideo`; otherwise Y4M.
    std::optional<Matrix> matrix;
    std::optional<Range> range;

    std::vector<std::string>
            inputs;  ///< One, unless `intoFolder`, which may have none. Of `kVideo` also "-".
    std::string output;
    bool intoFolder = false;  ///< `output` is a folder, which may be missing; of `kPictures`.

    /// The size of the output for an input of the given size. Throws `Failure` if no pixels are
    /// left.
    /// @param input as `Failure` names it.
    Size outputSize(const std::string& input, Size from) const;
    /// The sharpness for a picture.
    float sharpnessFor(Size from, Size to) const {
        return sharpness ? *sharpness : defaultSharpness(*operation, from, to);
    }
    /// Whether --size gives an input of the given size another shape.
    bool changesShape(Size from) const { return target.size && !keepsShape(from, target.of(from)); }
};

/// The end of a warning about that.
constexpr char kKeepShape[] = "another shape; --fit keeps it";

/// The end of a warning about a picture that is reduced.
constexpr char kAliases[] = "smaller; operations skip pixels, so fine detail aliases";

/// Reads the command line. Throws `Failure` for wrong usage.
/// @return nothing if the command line asked for a text (help, list, version), which is printed.
std::optional<Arguments> parseArguments(int argc, const char* const* argv);

}  // namespace upscale

#endif  // UPSCALER_TOOLS_COMMAND_ARGUMENTS_H
