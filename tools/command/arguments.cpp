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

#include "common/failure.h"
#include "common/listed.h"
#include "common/number.h"
#include "video/y4m.h"

namespace upscale {
namespace {

constexpr unsigned kSheets = kCompare | kSweep;
constexpr unsigned kScaling = kPictures | kSheets | kVideo;
constexpr int kSweepCount = 7;
// With the source they fill four rows of four.
constexpr int kMostSweepCount = 15;

[[noreturn]] void usage(const std::string& subject, const std::string& reason) {
    throw Failure(Exit::Usage, subject, reason);
}

// The task's name after "does not go with".
const char* nameOf(Task task) {
    switch (task) {
        case kPictures:
            return "pictures";
        case kCompare:
            return "--compare";
        case kSweep:
            return "--sweep";
        case kVideo:
            return "video";
        case kCheck:
            return "--check";
    }
    return "";
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

// What can be read from a value's text; nothing from a wrong one.

template <typename Number>
auto numberWithin(Number least, Number most) {
    return [=](const std::string& text) {
        auto number = parseNumber<Number>(text);
        if (number && (*number < least || *number > most)) number.reset();
        return number;
    };
}

std::optional<Crop> cropIn(const std::string& text) {
    const std::vector<std::string> parts = split(text, ',');
    if (parts.size() != 3) return std::nullopt;
    const auto x = parseNumber<std::uint32_t>(parts[0]);
    const auto y = parseNumber<std::uint32_t>(parts[1]);
    const auto size = sizeIn(parts[2]);
    if (!x || !y || !size) return std::nullopt;
    return Crop{*x, *y, *size};
}

float parseSharpness(const std::string& option, const std::string& text,
                     const Operation& operation) {
    const auto sharpness = parseNumber<float>(text);
    const auto [low, high] = std::minmax(operation.scale->strongest, operation.scale->weakest);
    if (!sharpness || !std::isfinite(*sharpness) || *sharpness < low || *sharpness > high) {
        usage(option, "'" + text + "' is not a sharpness of " + operation.name + " (" +
                              operation.scale->words + ")");
    }
    return *sharpness;
}

std::vector<float> parseSweep(const std::string& text, const Operation& operation) {
    const std::vector<std::string> parts = split(text, ':');
    if (parts.size() != 2 && parts.size() != 3)
        usage("--sweep", "'" + text + "' is not a range; give it as A:B or A:B:N");
    const float from = parseSharpness("--sweep", parts[0], operation);
    const float to = parseSharpness("--sweep", parts[1], operation);
    const auto count = parts.size() == 3 ? numberWithin(2, kMostSweepCount)(parts[2]) : kSweepCount;
    if (!count)
        usage("--sweep", "'" + parts[2] + "' is not a number of values; give 2 to " +
                                 std::to_string(kMostSweepCount));
    std::vector<float> values;
    for (int i = 0; i < *count; ++i) {
        const float t = static_cast<float>(i) / static_cast<float>(*count - 1);
        values.push_back(from + (to - from) * t);
    }
    return values;
}

const PictureFormat& formatOfOutput(const std::string& output) {
    const std::string extension = extensionOf(output);
    if (extension.empty() && (output.empty() || output.back() != '.'))
        return kPictureFormats.front();
    if (const PictureFormat* named = formatNamed(extension)) return *named;
    usage(output, "the extension does not name a format; choose one by --format: " +
                          listed(formatWords(), "or"));
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
    std::string head(sizeof(kY4mStreamWord) - 1, '\0');
    std::ifstream(path, std::ios::binary)
            .read(head.data(), static_cast<std::streamsize>(head.size()));
    return head == kY4mStreamWord;
}

void setPaths(Arguments& arguments, std::vector<std::string> paths) {
    if (paths.size() < (arguments.filesFrom ? 1 : 2)) {
        usage("wrong usage", arguments.filesFrom ? "give the FOLDER for the results; see --help"
                                                 : "give the pictures IN and OUT; see --help");
    }
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
                                     "' is not a folder, which several pictures need; a name that "
                                     "ends in / makes one");
    }
    arguments.intoFolder = arguments.filesFrom || named || many ||
                           (isFolder(arguments.inputs.front()) && !picture);
}

void printList() {
    for (const Operation& operation : kOperations) {
        std::printf("%-12s %s\n%-12s sharpness %s; default", operation.name, operation.description,
                    "", operation.scale->words);
        for (std::size_t i = 0; i < operation.defaults.size(); ++i) {
            std::printf("%s %g at %gx", i == 0 ? "" : ",",
                        static_cast<double>(operation.defaults[i]),
                        static_cast<double>(kScalesOfDefaults[i]));
        }
        std::puts("");
    }
}

constexpr char kUsage[] = R"(Usage: upscale SIZE [OPTION...] IN OUT
       upscale SIZE [OPTION...] IN... FOLDER
       upscale SIZE [OPTION...] --files-from LIST FOLDER
       upscale (--compare | --sweep A:B) SIZE [OPTION...] IN OUT
       upscale (--check | --list | --version | --help)

SIZE is one of --size WxH, --fit WxH and --scale F.

Files:
  IN                    Picture to read, folder of pictures, Y4M video, or - for
                        video from standard input
  OUT                   Picture or Y4M video to write, or - for video to
                        standard output
  FOLDER                Where many pictures go: a folder, or a name that ends in
                        /, which is made if it is missing
)";

constexpr char kFooter[] = R"(
Examples:
  # One picture, twice as large
  upscale --scale 2 photo.jpg photo-2x.png
  # Sharpen only
  upscale --op cas-sharpen --scale 1 --sharpness 0.2 soft.png sharp.png
  # All pictures of a folder
  upscale --scale 2 --format webp --quality 85 photos/ large/
  # See what each operation makes of a detail
  upscale --compare --scale 2 --crop 120,80,96x72 photo.jpg sheet.png
  # See what the sharpness does
  upscale --op fsr --sweep 0:2:5 --scale 2 photo.jpg sheet.png
  # Video, through pipes
  ffmpeg -i in.mp4 -f yuv4mpegpipe - | upscale --scale 2 - - |
      ffmpeg -f yuv4mpegpipe -i - out.mp4

Environment:
  debug.vardi.display.ups.enable
                        A hexadecimal number. With 21 the library logs its
                        steps, and --verbose shows them. The name has dots, so
                        set it with env(1).

Exit status:
  0                     Everything was done.
  1                     An input, an output or the work on it failed; of many
                        pictures, at least one.
  2                     The command line was wrong.
  3                     There is no usable EGL and OpenGL ES 3 driver, or
                        --check does not trust it.
  141                   The reader of standard output went away before the end
                        (this is how shells show SIGPIPE).

The man page, upscale(1), tells more.)";

// What the formats' files are called, and what --quality does to them.
std::string formatList() {
    std::string text = "\nFormats:\n";
    for (const PictureFormat& format : kPictureFormats) {
        std::string line = "  " + format.name;
        line.resize(8, ' ');
        line += "." + joined(format.extensions, ", .");
        if (format.defaultQuality == kLossless) line += " (lossless without --quality)";
        if (format.defaultQuality > kLossless)
            line += " (quality " + std::to_string(format.defaultQuality) + " without --quality)";
        text += line + "\n";
    }
    return text;
}

class HelpFormatter : public CLI::Formatter {
  public:
    HelpFormatter() { column_width(kTextColumn); }

    // Some releases of CLI11 put two empty lines between groups.
    std::string make_help(const CLI::App* app, std::string name,
                          CLI::AppFormatMode mode) const override {
        return CLI::detail::find_and_replace(CLI::Formatter::make_help(app, name, mode), "\n\n\n",
                                             "\n\n");
    }

    std::string make_usage(const CLI::App*, std::string) const override { return kUsage; }
    std::string make_positionals(const CLI::App*) const override { return ""; }

    std::string make_option_desc(const CLI::Option* option) const override {
        std::istringstream words(option->get_description());
        std::string text;
        std::size_t column = kTextColumn;
        for (std::string word; words >> word; column += word.size() + 1) {
            const bool fits = column + word.size() <= kColumns;
            if (!fits) column = kTextColumn;
            if (!text.empty()) text += fits ? ' ' : '\n';
            text += word;
        }
        return text;
    }

  private:
    static constexpr std::size_t kTextColumn = 24;
    static constexpr std::size_t kColumns = 80;
};

// The options, and what was read from them.
class CommandLine {
  public:
    CommandLine() {
        mApp.formatter(std::make_shared<HelpFormatter>());
        mApp.footer(formatList() + kFooter);
        // How many there are decides what they are.
        mApp.add_option("PATHS", mPaths);
        addScaling();
        addWriting();
        addFolders();
        addSheets();
        addVideo();
        addReports();
        addInstead();
    }

    // @return nothing if a text was asked for, which is printed.
    std::optional<Arguments> parse(int argc, const char* const* argv) {
        try {
            mApp.parse(argc, argv);
        } catch (const CLI::CallForVersion& version) {
            std::puts(version.what());
            return std::nullopt;
        } catch (const CLI::Success& text) {
            mApp.exit(text);
            return std::nullopt;
        } catch (const CLI::ArgumentMismatch& error) {
            const std::string message = error.what();
            usage(message.substr(0, message.find(':')), "takes exactly one value");
        } catch (const CLI::ParseError& error) {
            usage("wrong usage", error.what());
        }
        if (given("--list")) {
            printList();
            return std::nullopt;
        }
        mArguments.task = task();
        expectForTask();
        if (mArguments.task == kCheck) {
            if (!mPaths.empty()) usage("--check", "does not take pictures");
            return mArguments;
        }
        setPaths(mArguments, mPaths);
        expectForFolder();
        if (given("--size") + given("--fit") + given("--scale") != 1)
            usage("wrong usage", "give one of --size, --fit and --scale");
        readSharpness();
        if (mArguments.task != kVideo) readFormat();
        return mArguments;
    }

  private:
    // Adds an option with a value, which `read` makes of its text.
    // @param value how help shows it. @param what a wrong one is not: "a size; give it as ...".
    template <typename Read, typename Target>
    void add(unsigned tasks, const std::string& name, const std::string& value,
             const std::string& help, const std::string& what, const Read& read, Target& target) {
        const auto store = [=, &target](const std::string& text) {
            const auto result = read(text);
            if (!result) usage(name, "'" + text + "' is not " + what);
            target = *result;
        };
        add(tasks, mApp.add_option_function<std::string>(name, store, help)->option_text(value));
    }

    // One whose value is one of a few words, each of which stands for something.
    template <typename Meaning, typename Target>
    void addWords(unsigned tasks, const std::string& name, const std::string& help,
                  const std::string& what,
                  const std::vector<std::pair<std::string, Meaning>>& meanings, Target& target) {
        std::vector<std::string> words;
        for (const auto& [word, meaning] : meanings) {
            words.push_back(word);
        }
        const auto read = [=](const std::string& text) -> std::optional<Meaning> {
            for (const auto& [word, meaning] : meanings) {
                if (word == text) return meaning;
            }
            return std::nullopt;
        };
        add(tasks, name, joined(words, "|"), help, what + "; choose " + listed(words, "or"), read,
            target);
    }

    void addFlag(unsigned tasks, const std::string& name, const std::string& help, bool& target) {
        add(tasks, mApp.add_flag(name, target, help));
    }

    void add(unsigned tasks, CLI::Option* option) {
        option->group(mGroup);
        mTasks[option] = tasks;
    }

    void addScaling();
    void addWriting();
    void addFolders();
    void addSheets();
    void addVideo();
    void addReports();
    void addInstead();

    bool given(const std::string& name) const { return mApp.count(name) > 0; }
    Task task() const;
    void expectForTask() const;
    void expectForFolder() const;
    void readSharpness();
    void readFormat();

    CLI::App mApp{"", "upscale"};
    std::string mGroup;
    std::map<const CLI::Option*, unsigned> mTasks;  // that each goes with
    Arguments mArguments;
    std::vector<std::string> mPaths;
    std::string mSharpness;
    std::string mSweep;
    bool mFlag = false;  // Of options that `given` is asked about.
};

void CommandLine::addScaling() {
    mGroup = "Scaling";
    std::vector<std::pair<std::string, const Operation*>> operations;
    for (const Operation& operation : kOperations) {
        operations.emplace_back(operation.name, &operation);
    }
    addWords(kPictures | kSweep | kVideo, "--op",
             std::string("Operation; the default is ") + kOperations.front().name +
                     ", and --list describes them all",
             "an operation", operations, mArguments.operation);
    add(kScaling, "--size", "WxH",
        "Size of the output in pixels; Wx or xH alone keeps the picture's shape",
        "a size; give it as 1920x1080, 1920x or x1080", targetSizeIn, mArguments.target.size);
    add(kScaling, "--fit", "WxH",
        "Largest size of the output, in pixels, that is within WxH and keeps the picture's shape",
        "a size; give it as 1920x1080", sizeIn, mArguments.target.fit);
    add(kScaling, "--scale", "F",
        "Size of the output as a multiple of the input's size: 2, 0.5 or 50%",
        "a scale; give a number above 0 or a percentage", scaleIn, mArguments.target.scale);
    add(kPictures | kVideo,
        mApp.add_option("--sharpness", mSharpness, "Sharpness, in the operation's own scale")
                ->option_text("S"));
    addWords<Border>(kScaling, "--border",
                     "What the operation finds beyond the picture's edge: the edge's own colour "
                     "(pad, the default), or what the driver gives (raw)",
                     "a border", {{"pad", Border::Pad}, {"raw", Border::Raw}}, mArguments.border);
}

void CommandLine::addWriting() {
    mGroup = "Writing";
    std::vector<std::pair<std::string, const PictureFormat*>> formats;
    for (const PictureFormat& format : kPictureFormats) {
        formats.emplace_back(wordOf(format), &format);
    }
    addWords(kPictures | kSheets, "--format", "Format to write, whatever the extension of OUT",
             "a format", formats, mArguments.format);
    add(kPictures | kSheets, "--quality", "N", "Quality, 1 to 100; see Formats below",
        "a quality; give 1 to 100", numberWithin(1, 100), mArguments.quality);
    addWords<Compression>(kPictures | kSheets, "--compression",
                          "Time for making PNG files small: fast, default or best", "a compression",
                          {{"fast", Compression::Fast},
                           {"default", Compression::Default},
                           {"best", Compression::Best}},
                          mArguments.compression);
    addFlag(kScaling, "--force", "Replace files that exist", mArguments.force);
}

void CommandLine::addFolders() {
    mGroup = "Many pictures";
    const auto text = [](const std::string& value) { return std::optional<std::string>(value); };
    add(kPictures, "--files-from", "LIST",
        "File with the names of more inputs, a line each or each ending with a NUL; - is standard "
        "input",
        "a file", text, mArguments.filesFrom);
    addFlag(kPictures, "--recursive", "Take the folders within folders, too, and keep the tree",
            mArguments.recursive);
    addFlag(kPictures, "--skip-existing", "Do only the pictures whose output does not exist yet",
            mArguments.skipExisting);
    add(kPictures, "--suffix", "TEXT",
        "Put TEXT behind the name of each output, before its extension", "a text", text,
        mArguments.suffix);
}

void CommandLine::addSheets() {
    mGroup = "Looking";
    addFlag(kCompare, "--compare",
            "Write one labelled sheet: the source's pixels and every operation", mFlag);
    add(kSweep, mApp.add_option("--sweep", mSweep,
                                "Write one labelled sheet: N values of sharpness from A to B (7 "
                                "by default)")
                        ->option_text("A:B[:N]"));
    add(kSheets, "--crop", "X,Y,WxH",
        "Part to show, in pixels of the source; by default the middle",
        "a part of a picture; give it as X,Y,WxH: 120,80,96x72", cropIn, mArguments.crop);
    add(kSheets, "--zoom", "N", "How many times to enlarge each pixel of the output",
        "a zoom; give 1 to 64", numberWithin<std::uint32_t>(1, 64), mArguments.zoom);
}

void CommandLine::addVideo() {
    mGroup = "Video";
    add(kVideo, "--raw", "WxH",
        "Read and write raw RGBA frames instead of Y4M; WxH is the size of the input's",
        "a size; give it as 1920x1080", sizeIn, mArguments.raw);
    addWords<Matrix>(
            kVideo, "--matrix",
            "How the colours of Y4M are coded, which the stream does not tell; by "
            "default bt709 from 720 lines up and bt601 below",
            "a matrix",
            {{"bt601", Matrix::Bt601}, {"bt709", Matrix::Bt709}, {"bt2020", Matrix::Bt2020}},
            mArguments.matrix);
    addWords<Range>(kVideo, "--range",
                    "Whether the values of Y4M go from 16 to 235 or from 0 to 255, whatever the "
                    "stream tells",
                    "a range", {{"limited", Range::Limited}, {"full", Range::Full}},
                    mArguments.range);
}

void CommandLine::addReports() {
    mGroup = "Reports";
    addFlag(kScaling, "--quiet", "Print failures only: no warnings, progress or summary",
            mArguments.quiet);
    addFlag(kScaling | kCheck, "--verbose",
            "Print the driver, the sizes, the times and the library's log on standard error",
            mArguments.verbose);
}

void CommandLine::addInstead() {
    mGroup = "Instead";
    addFlag(kCheck, "--check", "Describe the driver, and tell whether its results can be trusted",
            mFlag);
    addFlag(0, "--list", "Print the operations, their sharpness and its defaults", mFlag);
    add(0, mApp.set_version_flag("--version", "upscale " UPSCALE_VERSION, "Print the version"));
    add(0, mApp.set_help_flag("-h,--help", "Print this summary"));
}

Task CommandLine::task() const {
    if (given("--check")) return kCheck;
    if (given("--compare")) return kCompare;
    if (given("--sweep")) return kSweep;
    const bool video = given("--raw") || std::any_of(mPaths.begin(), mPaths.end(), isVideo) ||
                       (!mPaths.empty() && holdsVideo(mPaths.front()));
    return video ? kVideo : kPictures;
}

// An option that does nothing would mislead, so it is refused.
void CommandLine::expectForTask() const {
    for (const CLI::Option* option : mApp.get_options({})) {
        if (option->count() == 0 || option->get_positional()) continue;
        const unsigned tasks = mTasks.at(option);
        if ((tasks & mArguments.task) != 0) continue;
        std::vector<std::string> others;
        for (const Task other : {kPictures, kCompare, kSweep, kVideo, kCheck}) {
            if ((tasks & other) != 0) others.emplace_back(nameOf(other));
        }
        usage(option->get_name(), std::string("does not go with ") + nameOf(mArguments.task) +
                                          ", only with " + listed(others, "and"));
    }
}

void CommandLine::expectForFolder() const {
    if (mArguments.force && mArguments.skipExisting)
        usage("wrong usage", "--force and --skip-existing do not go together");
    if (mArguments.suffix.find('/') != std::string::npos)
        usage("--suffix", "'" + mArguments.suffix + "' is not part of a name: it has a /");
    for (const char* option : {"--recursive", "--suffix"}) {
        if (given(option) && !mArguments.intoFolder)
            usage(option, "is for pictures that go to a FOLDER");
    }
}

void CommandLine::readSharpness() {
    if (!mArguments.operation) mArguments.operation = &kOperations.front();
    const Operation& operation = *mArguments.operation;
    if (given("--sharpness"))
        mArguments.sharpness = parseSharpness("--sharpness", mSharpness, operation);
    if (mArguments.task == kSweep) mArguments.sweep = parseSweep(mSweep, operation);
}

void CommandLine::readFormat() {
    const PictureFormat*& format = mArguments.format;
    if (!format && !mArguments.intoFolder) format = &formatOfOutput(mArguments.output);
    if (mArguments.quality && format && format->defaultQuality == kNoQuality)
        usage("--quality", format->name + " is lossless and has no quality");
}

}  // namespace

Size Arguments::outputSize(const std::string& input, Size from) const {
    const Size scaled = target.of(from);
    if (scaled.width == 0 || scaled.height == 0) {
        std::ostringstream reason;
        reason << from.width << "x" << from.height << " scaled by " << target.scale
               << " leaves no pixels";
        throw Failure(Exit::Failed, input, reason.str());
    }
    return scaled;
}

std::optional<Arguments> parseArguments(int argc, const char* const* argv) {
    return CommandLine().parse(argc, argv);
}

}  // namespace upscale
