// SPDX-License-Identifier: Apache-2.0
/// @file
/// The command `upscale`: one picture through one operation of the library.
#include <algorithm>
#include <cstdio>
#include <exception>
#include <memory>
#include <new>
#include <optional>
#include <string>
#include <utility>

#include "alpha.h"
#include "arguments.h"
#include "border.h"
#include "check.h"
#include "failure.h"
#include "library_log.h"
#include "output_file.h"
#include "picture_file.h"
#include "placement.h"
#include "runner.h"
#include "stopwatch.h"
#include "video.h"

namespace upscale {
namespace {

Picture scale(Runner& runner, Picture source, float sharpness) {
    if (!hasTransparency(source)) return runner.run(source, sharpness);
    const Picture alpha = runner.run(alphaAsGrey(source), sharpness);
    bleedColours(source);
    Picture result = runner.run(source, sharpness);
    setAlpha(result, alpha);
    return result;
}

void run(const Arguments& arguments) {
    const std::string& input = arguments.inputs.front();
    OutputFile output(arguments.output, arguments.force);
    const std::unique_ptr<PictureReader> reader = openPicture(input);
    const Size from = {reader->width(), reader->height()};
    const Size to = arguments.outputSize(input, from);
    const Format format = *arguments.format;
    if (std::max(to.width, to.height) > largestSide(format)) {
        throw Failure(Exit::Failed, arguments.output,
                      inPixels(to) + " is too large: " + nameOf(format) + " takes " +
                              std::to_string(largestSide(format)) + " pixels a side");
    }

    LibraryLog log(arguments.verbose);
    Runner runner(*arguments.operation, log);
    checkSide(input, from, runner);
    checkSide(arguments.output, to, runner);

    const Frame frame = frameFor(arguments, from, to, runner);

    Stopwatch watch;
    Picture source = reader->read();
    if (format == Format::Jpeg && hasTransparency(source)) {
        throw Failure(Exit::Failed, arguments.output,
                      "the picture is transparent in parts, which JPEG cannot hold; PNG and WebP "
                      "can");
    }
    if (reader->depth() > 8) {
        warn(input + ": " + std::to_string(reader->depth()) + " bits a channel are reduced to 8");
    }
    const double readTime = watch.lap();
    runner.allocate(frame.from.width, frame.from.height, frame.to.width, frame.to.height);
    source = padded(std::move(source), frame.x.source, frame.y.source);
    const Picture result = cropped(scale(runner, std::move(source), arguments.sharpness),
                                   frame.x.destination, frame.y.destination);
    watch.lap();
    writePicture(result, {format, arguments.quality}, output.open(), arguments.output);
    output.commit();
    if (!arguments.verbose) return;

    const Times& times = runner.times();
    std::fprintf(stderr,
                 "upscale: driver: %s\n"
                 "upscale: %s, sharpness %g: %s to %s (with its border, %s to %s)%s\n"
                 "upscale: ms: read %.1f, upload %.1f, call %.1f, GPU %.1f, download %.1f, "
                 "write %.1f\n",
                 runner.driver().c_str(), arguments.operation->name,
                 static_cast<double>(arguments.sharpness), inPixels(from).c_str(),
                 inPixels(to).c_str(), inPixels(frame.from).c_str(), inPixels(frame.to).c_str(),
                 hasTransparency(result) ? ", with transparency" : "", readTime, times.upload,
                 times.call, times.gpu, times.download, watch.lap());
}

int fail(Exit code, const std::string& message) {
    std::string line = "upscale: " + message;
    std::replace(line.begin(), line.end(), '\n', ' ');
    std::fprintf(stderr, "%s\n", line.c_str());
    return static_cast<int>(code);
}

}  // namespace
}  // namespace upscale

int main(int argc, char** argv) {
    using upscale::Exit;
    try {
        const std::optional<upscale::Arguments> arguments = upscale::parseArguments(argc, argv);
        if (arguments && arguments->task == upscale::kCheck)
            return static_cast<int>(upscale::check(arguments->verbose));
        if (arguments && arguments->task == upscale::kVideo) {
            upscale::scaleVideo(*arguments);
            return static_cast<int>(Exit::Done);
        }
        if (arguments && (arguments->task != upscale::kPictures || arguments->intoFolder))
            throw upscale::Failure(Exit::Usage, "wrong usage", "this is not built in yet");
        if (arguments) upscale::run(*arguments);
        return static_cast<int>(Exit::Done);
    } catch (const upscale::Failure& failure) {
        return upscale::fail(failure.code(), failure.what());
    } catch (const std::bad_alloc&) {
        return upscale::fail(Exit::Failed, "out of memory");
    } catch (const std::exception& error) {
        return upscale::fail(Exit::Failed, error.what());
    }
}
