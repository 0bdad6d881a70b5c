// SPDX-License-Identifier: Apache-2.0
#include "arguments.h"

#include <CLI/App.hpp>
#include <CLI/Config.hpp>
#include <CLI/Formatter.hpp>
#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstdio>
#include <limits>
#include <memory>
#include <sstream>

#include "failure.h"

namespace upscale {
namespace {

constexpr char kFormats[] = "png, jpeg and webp";

constexpr char kFooter[] =
        "Sizes are in pixels. --list tells what each operation does and how it counts its "
        "sharpness.\n"
        "Formats are told apart by content. 8 bits are written, with the input's colour tags and\n"
        "density where the format has room for them: grey for grey, and with alpha only if some\n"
        "pixel is transparent, which JPEG cannot hold. OUT is written whole or not at all, and an\n"
        "existing file is replaced only with --force.\n"
        "The margin that --border pad adds moves no pixel, unless both sides, in lowest terms, "
        "exceed\n"
        "64 pixels: then by less than a twentieth of a source pixel.\n"
        "\n"
        "Environment: debug.vardi.display.ups.enable=21 makes the library log its steps, which\n"
        "--verbose shows.\n"
        "\n"
        "Exit status: 0 done; 1 the input, the output or the work on it failed; 2 wrong usage;\n"
        "3 no usable EGL and OpenGL ES 3 driver, or one that --check does not trust.";

class HelpFormatter : public CLI::Formatter {
  public:
    std::string make_usage(const CLI::App*, std::string) const override {
        return "Usage: upscale [--op OP] (--size WxH | --scale F) [--sharpness S]\n"
               "               [--border pad|raw] [--format png|jpeg|webp] [--quality N]\n"
               "               [--force] [--verbose] IN OUT\n"
               "       upscale --check [--verbose]\n";
    }
};

[[noreturn]] void usage(const std::string& option, const std::string& reason) {
    throw Failure(Exit::Usage, option, reason);
}

// The whole of the text as a number, or nothing.
template <typename Number>
std::optional<Number> parseNumber(const std::string& text) {
    Number number{};
    const char* end = text.data() + text.size();
    const auto [stop, error] = std::from_chars(text.data(), end, number);
    if (error != std::errc() || stop != end) return std::nullopt;
    return number;
}

Size parseSize(const std::string& text) {
    const std::size_t cross = text.find('x');
    if (cross != std::string::npos) {
        const auto width = parseNumber<std::uint32_t>(text.substr(0, cross));
        const auto height = parseNumber<std::uint32_t>(text.substr(cross + 1));
        if (width && height && *width > 0 && *height > 0) return {*width, *height};
    }
    usage("--size", "'" + text + "' is no size; give it as 1920x1080");
}

double parseScale(const std::string& text) {
    const auto scale = parseNumber<double>(text);
    if (!scale || !std::isfinite(*scale) || *scale <= 0) {
        usage("--scale", "'" + text + "' is no scale; give a number above 0");
    }
    return *scale;
}

float parseSharpness(const std::string& text, const Operation& operation) {
    const auto sharpness = parseNumber<float>(text);
    const auto [low, high] = std::minmax(operation.scale->strongest, operation.scale->weakest);
    if (!sharpness || !std::isfinite(*sharpness) || *sharpness < low || *sharpness > high) {
        usage("--sharpness", "'" + text + "' is no sharpness of " + operation.name + " (" +
                                     operation.scale->words + ")");
    }
    return *sharpness;
}

const Operation& parseOperation(const std::string& name) {
    if (const Operation* operation = findOperation(name)) return *operation;
    std::string names;
    for (const Operation& operation : kOperations) {
        names += names.empty() ? operation.name : std::string(", ") + operation.name;
    }
    usage("--op", "'" + name + "' is no operation; there are " + names);
}

Border parseBorder(const std::string& name) {
    if (name == "pad") return Border::Pad;
    if (name == "raw") return Border::Raw;
    usage("--border", "'" + name + "' is no border; there are pad and raw");
}

Encoding parseEncoding(const std::string& output, const std::string& format,
                       const std::string& quality) {
    Encoding encoding;
    const std::string file = output.substr(output.rfind('/') + 1);
    const std::size_t dot = file.rfind('.');
    if (!format.empty()) {
        const auto named = formatNamed(format);
        if (!named) usage("--format", "'" + format + "' is no format; there are " + kFormats);
        encoding.format = *named;
    } else if (dot != std::string::npos) {
        const auto named = formatNamed(file.substr(dot + 1));
        if (!named) {
            usage(output, "the extension tells no format; there are " + std::string(kFormats) +
                                  ", which --format chooses");
        }
        encoding.format = *named;
    }
    if (quality.empty()) return encoding;
    encoding.quality = parseNumber<int>(quality);
    if (!encoding.quality || *encoding.quality < 1 || *encoding.quality > 100)
        usage("--quality", "'" + quality + "' is no quality; give 1 to 100");
    if (encoding.format == Format::Png) usage("--quality", "PNG loses nothing: it has no quality");
    return encoding;
}

void printList() {
    for (const Operation& operation : kOperations) {
        std::printf("%-12s %s\n%-12s sharpness %s; default %g\n", operation.name,
                    operation.description, "", operation.scale->words,
                    static_cast<double>(operation.defaultSharpness));
    }
}

std::uint32_t scaledSide(std::uint32_t side, double scale) {
    constexpr double kMost = std::numeric_limits<std::uint32_t>::max();
    return static_cast<std::uint32_t>(std::min(std::floor(side * scale + 0.5), kMost));
}

}  // namespace

Size Arguments::outputSize(std::uint32_t width, std::uint32_t height) const {
    if (size) return *size;
    const Size scaled = {scaledSide(width, scale), scaledSide(height, scale)};
    if (scaled.width == 0 || scaled.height == 0) {
        std::ostringstream reason;
        reason << width << "x" << height << " scaled by " << scale << " leaves no pixels";
        throw Failure(Exit::Failed, input, reason.str());
    }
    return scaled;
}

std::optional<Arguments> parseArguments(int argc, const char* const* argv) {
    Arguments arguments;
    std::string name = kOperations.front().name;
    std::string size;
    std::string scale;
    std::string sharpness;
    std::string border = "pad";
    std::string format;
    std::string quality;
    bool list = false;
    bool version = false;

    CLI::App app("Rescales and sharpens a picture on the GPU.", "upscale");
    app.formatter(std::make_shared<HelpFormatter>());
    app.add_flag("--version", version, "Print the version and exit");
    app.add_flag("--list", list, "Print the operations and exit");
    app.add_flag("--check", arguments.check,
                 "Tell of the driver, and whether its results can be trusted");
    app.add_option("--op", name, "Operation")->capture_default_str()->type_name("OP");
    auto* sizeOption = app.add_option("--size", size, "Size of the output")->type_name("WxH");
    auto* scaleOption = app.add_option("--scale", scale, "Or its size in terms of the input's");
    scaleOption->type_name("F");
    auto* sharpnessOption =
            app.add_option("--sharpness", sharpness, "Sharpness; see --list")->type_name("S");
    app.add_option("--border", border,
                   "Beyond the picture's edge is its edge (pad) or what the driver gives (raw)")
            ->capture_default_str()
            ->type_name("B");
    auto* formatOption =
            app.add_option("--format", format, "png, jpeg or webp, whatever OUT's name");
    formatOption->type_name("F");
    auto* qualityOption = app.add_option(
            "--quality", quality, "1 to 100, of JPEG (else 90) and WebP (else without loss)");
    qualityOption->type_name("N");
    app.add_flag("--force", arguments.force, "Replace OUT if it exists");
    app.add_flag("--verbose", arguments.verbose,
                 "Report the driver, the sizes, the times and the library's log on stderr");
    app.add_option("IN", arguments.input, "Picture to read: PNG, JPEG or WebP")->type_name("");
    app.add_option("OUT", arguments.output, "Picture to write: .png, .jpg, .jpeg or .webp")
            ->type_name("");
    app.footer(kFooter);

    try {
        app.parse(argc, argv);
    } catch (const CLI::Success& text) {
        app.exit(text);
        return std::nullopt;
    } catch (const CLI::ParseError& error) {
        usage("wrong usage", error.what());
    }
    if (list) printList();
    if (version) std::puts("upscale " UPSCALE_VERSION);
    if (list || version) return std::nullopt;
    if (arguments.check) {
        if (!arguments.input.empty()) usage("--check", "takes no pictures");
        return arguments;
    }
    if (arguments.output.empty()) usage("wrong usage", "give the pictures IN and OUT; see --help");
    if (sizeOption->empty() == scaleOption->empty()) {
        usage("wrong usage", "give one of --size and --scale");
    }
    arguments.operation = &parseOperation(name);
    arguments.border = parseBorder(border);
    if (!sizeOption->empty()) arguments.size = parseSize(size);
    if (!scaleOption->empty()) arguments.scale = parseScale(scale);
    arguments.sharpness = sharpnessOption->empty()
                                  ? arguments.operation->defaultSharpness
                                  : parseSharpness(sharpness, *arguments.operation);
    if (!formatOption->empty() && format.empty()) usage("--format", "no format");
    if (!qualityOption->empty() && quality.empty()) usage("--quality", "no quality");
    arguments.encoding = parseEncoding(arguments.output, format, quality);
    return arguments;
}

}  // namespace upscale
