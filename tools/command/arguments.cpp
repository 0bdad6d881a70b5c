// SPDX-License-Identifier: Apache-2.0
#include "command/arguments.h"

#include <CLI/App.hpp>
#include <CLI/Config.hpp>
#include <CLI/Formatter.hpp>
#include <algorithm>
#include <cctype>
#include <cmath>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <limits>
#include <map>
#include <memory>
#include <sstream>
#include <utility>

#include "command/manual.h"
#include "common/failure.h"
#include "common/number.h"

namespace upscale {
namespace {

constexpr char kFormats[] = "png, jpeg and webp";
constexpr char kY4mSignature[] = "YUV4MPEG2";
constexpr int kSweepCount = 7;
// With the source they fill four rows of four.
constexpr int kMostSweepCount = 15;

class HelpFormatter : public CLI::Formatter {
  public:
    std::string make_help(const CLI::App*, std::string, CLI::AppFormatMode) const override {
        return helpText();
    }
};

[[noreturn]] void usage(const std::string& option, const std::string& reason) {
    throw Failure(Exit::Usage, option, reason);
}

std::vector<std::string> split(const std::string& text, char separator) {
    std::vector<std::string> parts(1);
    for (const char c : text) {
        if (c == separator) {
            parts.emplace_back();
        } else {
            parts.back() += c;
        }
    }
    return parts;
}

// What was given on the command line, not yet looked into.
class Given {
  public:
    explicit Given(CLI::App& app) {
        for (const OptionGroup& group : optionGroups()) {
            for (const Option& option : group.options) {
                if (option.name[0] != '-' || option.name == std::string("--help")) continue;
                // Elements of a map keep their place.
                Value& value = mValues[option.name];
                value.row = &option;
                value.parsed = option.value ? app.add_option(option.name, value.text)
                                            : app.add_flag(option.name);
            }
        }
    }

    bool has(const std::string& name) const { return !mValues.at(name).parsed->empty(); }

    const std::string& text(const std::string& name) const { return mValues.at(name).text; }

    // The option's value, read by a function that takes its name and text; nothing if not given.
    template <typename Read>
    auto read(const std::string& name, Read readValue) const {
        std::optional<decltype(readValue(name, text(name)))> value;
        if (has(name)) value = readValue(name, text(name));
        return value;
    }

    // What does nothing would mislead, so it is refused.
    void expectFor(Task task) const {
        for (const auto& [name, value] : mValues) {
            if (!has(name) || (value.row->tasks & task) != 0) continue;
            std::string others;
            for (const Task other : {kPictures, kCompare, kSweep, kVideo, kCheck}) {
                if ((value.row->tasks & other) != 0)
                    others += (others.empty() ? "" : ", ") + std::string(nameOf(other));
            }
            usage(name, std::string("does not go with ") + nameOf(task) + ", only with " + others);
        }
    }

  private:
    struct Value {
        const Option* row = nullptr;
        const CLI::Option* parsed = nullptr;
        std::string text;
    };
    std::map<std::string, Value> mValues;
};

std::optional<Size> sizeIn(const std::string& text) {
    const std::vector<std::string> sides = split(text, 'x');
    if (sides.size() != 2) return std::nullopt;
    const auto width = parseNumber<std::uint32_t>(sides[0]);
    const auto height = parseNumber<std::uint32_t>(sides[1]);
    if (!width || !height || *width == 0 || *height == 0) return std::nullopt;
    return Size{*width, *height};
}

Size parseSize(const std::string& option, const std::string& text) {
    if (const auto size = sizeIn(text)) return *size;
    usage(option, "'" + text + "' is no size; give it as 1920x1080");
}

double parseScale(const std::string& option, const std::string& text) {
    const auto scale = parseNumber<double>(text);
    if (!scale || !std::isfinite(*scale) || *scale <= 0) {
        usage(option, "'" + text + "' is no scale; give a number above 0");
    }
    return *scale;
}

Crop parseCrop(const std::string& option, const std::string& text) {
    const std::vector<std::string> parts = split(text, ',');
    if (parts.size() == 3) {
        const auto x = parseNumber<std::uint32_t>(parts[0]);
        const auto y = parseNumber<std::uint32_t>(parts[1]);
        const auto size = sizeIn(parts[2]);
        if (x && y && size) return {*x, *y, *size};
    }
    usage(option, "'" + text + "' is no part of a picture; give it as X,Y,WxH: 120,80,96x72");
}

std::uint32_t parseZoom(const std::string& option, const std::string& text) {
    constexpr std::uint32_t kMost = 64;
    const auto zoom = parseNumber<std::uint32_t>(text);
    if (!zoom || *zoom == 0 || *zoom > kMost)
        usage(option, "'" + text + "' is no zoom; give 1 to " + std::to_string(kMost));
    return *zoom;
}

float parseSharpness(const std::string& option, const std::string& text,
                     const Operation& operation) {
    const auto sharpness = parseNumber<float>(text);
    const auto [low, high] = std::minmax(operation.scale->strongest, operation.scale->weakest);
    if (!sharpness || !std::isfinite(*sharpness) || *sharpness < low || *sharpness > high) {
        usage(option, "'" + text + "' is no sharpness of " + operation.name + " (" +
                              operation.scale->words + ")");
    }
    return *sharpness;
}

std::vector<float> parseSweep(const std::string& option, const std::string& text,
                              const Operation& operation) {
    const std::vector<std::string> parts = split(text, ':');
    if (parts.size() != 2 && parts.size() != 3)
        usage(option, "'" + text + "' is no range; give it as A:B or A:B:N");
    const float from = parseSharpness(option, parts[0], operation);
    const float to = parseSharpness(option, parts[1], operation);
    const auto count = parts.size() == 3 ? parseNumber<int>(parts[2]) : kSweepCount;
    if (!count || *count < 2 || *count > kMostSweepCount)
        usage(option,
              "'" + parts[2] + "' is no count; give 2 to " + std::to_string(kMostSweepCount));
    std::vector<float> values;
    for (int i = 0; i < *count; ++i) {
        const float t = static_cast<float>(i) / static_cast<float>(*count - 1);
        values.push_back(from + (to - from) * t);
    }
    return values;
}

const Operation& parseOperation(const std::string& option, const std::string& name) {
    if (const Operation* operation = findOperation(name)) return *operation;
    std::string names;
    for (const Operation& operation : kOperations) {
        names += names.empty() ? operation.name : std::string(", ") + operation.name;
    }
    usage(option, "'" + name + "' is no operation; there are " + names);
}

// One of a few words: the value that is in its place.
template <typename Value>
auto oneOf(const char* what, std::vector<std::pair<const char*, Value>> words) {
    return [=](const std::string& option, const std::string& text) {
        std::string names;
        for (const auto& [name, value] : words) {
            if (text == name) return value;
            names += (names.empty() ? "" : ", ") + std::string(name);
        }
        names.replace(names.rfind(", "), 2, " and ");
        usage(option, "'" + text + "' is no " + what + "; there are " + names);
    };
}

Format parseFormat(const std::string& option, const std::string& text) {
    if (const auto named = formatNamed(text)) return *named;
    usage(option, "'" + text + "' is no format; there are " + kFormats);
}

Format formatOfOutput(const std::string& output) {
    const std::string extension = extensionOf(output);
    if (extension.empty() && (output.empty() || output.back() != '.')) return Format::Png;
    if (const auto named = formatNamed(extension)) return *named;
    usage(output, "the extension tells no format; there are " + std::string(kFormats) +
                          ", which --format chooses");
}

int parseQuality(const std::string& option, const std::string& text) {
    const auto quality = parseNumber<int>(text);
    if (!quality || *quality < 1 || *quality > 100)
        usage(option, "'" + text + "' is no quality; give 1 to 100");
    return *quality;
}

bool isFolder(const std::string& path) {
    std::error_code error;
    return std::filesystem::is_directory(path, error);
}

bool isVideo(const std::string& path) {
    std::string extension = extensionOf(path);
    std::transform(extension.begin(), extension.end(), extension.begin(),
                   [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
    return path == "-" || extension == "y4m";
}

// Of a regular file, since what is read from a pipe is gone.
bool holdsVideo(const std::string& path) {
    std::error_code error;
    if (!std::filesystem::is_regular_file(path, error)) return false;
    std::string head(sizeof(kY4mSignature) - 1, '\0');
    std::ifstream(path, std::ios::binary)
            .read(head.data(), static_cast<std::streamsize>(head.size()));
    return head == kY4mSignature;
}

Task taskOf(const Given& given, const std::vector<std::string>& paths) {
    if (given.has("--check")) return kCheck;
    if (given.has("--compare")) return kCompare;
    if (given.has("--sweep")) return kSweep;
    const bool video = given.has("--raw") || std::any_of(paths.begin(), paths.end(), isVideo) ||
                       (!paths.empty() && holdsVideo(paths.front()));
    return video ? kVideo : kPictures;
}

void setPaths(Arguments& arguments, std::vector<std::string> paths) {
    if (paths.size() < 2) usage("wrong usage", "give the pictures IN and OUT; see --help");
    arguments.output = std::move(paths.back());
    paths.pop_back();
    arguments.inputs = std::move(paths);
    const std::string& output = arguments.output;
    const bool many = arguments.inputs.size() > 1;
    if (arguments.task != kPictures) {
        if (many)
            usage("wrong usage", std::string(nameOf(arguments.task)) + " takes one IN and one OUT");
        return;
    }
    const bool named = isFolder(output) || (!output.empty() && output.back() == '/');
    const bool picture = output.empty() || formatNamed(extensionOf(output));
    // Most likely the OUT was forgotten after a pattern for the names of pictures.
    if (many && !named && picture) {
        usage("wrong usage", "'" + output +
                                     "' is no folder, where several pictures could go; a name "
                                     "that ends in / is");
    }
    arguments.intoFolder = named || many || (isFolder(arguments.inputs.front()) && !picture);
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

Size Arguments::outputSize(const std::string& input, Size from) const {
    if (size) return *size;
    const Size scaled = {scaledSide(from.width, scale), scaledSide(from.height, scale)};
    if (scaled.width == 0 || scaled.height == 0) {
        std::ostringstream reason;
        reason << from.width << "x" << from.height << " scaled by " << scale << " leaves no pixels";
        throw Failure(Exit::Failed, input, reason.str());
    }
    return scaled;
}

std::optional<Arguments> parseArguments(int argc, const char* const* argv) {
    CLI::App app("", "upscale");
    app.formatter(std::make_shared<HelpFormatter>());
    const Given given(app);
    std::vector<std::string> paths;
    app.add_option("PATHS", paths);
    try {
        app.parse(argc, argv);
    } catch (const CLI::Success& text) {
        app.exit(text);
        return std::nullopt;
    } catch (const CLI::ParseError& error) {
        usage("wrong usage", error.what());
    }
    if (given.has("--list")) printList();
    if (given.has("--version")) std::puts("upscale " UPSCALE_VERSION);
    if (given.has("--list") || given.has("--version")) return std::nullopt;

    Arguments arguments;
    arguments.task = taskOf(given, paths);
    arguments.force = given.has("--force");
    arguments.quiet = given.has("--quiet");
    arguments.verbose = given.has("--verbose");
    given.expectFor(arguments.task);
    if (arguments.task == kCheck) {
        if (!paths.empty()) usage("--check", "takes no pictures");
        return arguments;
    }
    setPaths(arguments, std::move(paths));

    if (given.has("--size") == given.has("--scale"))
        usage("wrong usage", "give one of --size and --scale");
    arguments.operation = given.read("--op", [](const auto&... text) {
                                   return &parseOperation(text...);
                               }).value_or(&kOperations.front());
    const Operation& operation = *arguments.operation;
    arguments.border =
            given.read("--border",
                       oneOf<Border>("border", {{"pad", Border::Pad}, {"raw", Border::Raw}}))
                    .value_or(Border::Pad);
    arguments.size = given.read("--size", parseSize);
    arguments.scale = given.read("--scale", parseScale).value_or(0);
    arguments.sharpness = given.read("--sharpness", [&](const auto&... text) {
                                   return parseSharpness(text..., operation);
                               }).value_or(operation.defaultSharpness);
    arguments.sweep = given.read("--sweep", [&](const auto&... text) {
                               return parseSweep(text..., operation);
                           }).value_or(std::vector<float>());
    arguments.crop = given.read("--crop", parseCrop);
    arguments.zoom = given.read("--zoom", parseZoom);
    arguments.raw = given.read("--raw", parseSize);
    arguments.matrix =
            given.read("--matrix", oneOf<Matrix>("matrix", {{"bt601", Matrix::Bt601},
                                                            {"bt709", Matrix::Bt709},
                                                            {"bt2020", Matrix::Bt2020}}));
    arguments.range = given.read(
            "--range", oneOf<Range>("range", {{"limited", Range::Limited}, {"full", Range::Full}}));
    if (arguments.task == kVideo) return arguments;

    arguments.format = given.read("--format", parseFormat);
    if (!arguments.format && !arguments.intoFolder)
        arguments.format = formatOfOutput(arguments.output);
    arguments.quality = given.read("--quality", parseQuality);
    if (arguments.quality && arguments.format == Format::Png)
        usage("--quality", "PNG loses nothing: it has no quality");
    return arguments;
}

}  // namespace upscale
