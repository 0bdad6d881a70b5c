// SPDX-License-Identifier: Apache-2.0
/// @file
/// The command `upscale`: one picture through one operation of the library.
#include <algorithm>
#include <cstdio>
#include <exception>
#include <new>
#include <optional>
#include <string>

#include "alpha.h"
#include "arguments.h"
#include "failure.h"
#include "library_log.h"
#include "output_file.h"
#include "png_file.h"
#include "session.h"
#include "stopwatch.h"

namespace upscale {
namespace {

void checkSide(const std::string& name, Size size, const Session& session) {
    const std::uint32_t limit = session.largestSide();
    if (size.width <= limit && size.height <= limit) return;
    throw Failure(Exit::Failed, name,
                  std::to_string(size.width) + "x" + std::to_string(size.height) +
                          " is too large: the driver takes " + std::to_string(limit) +
                          " pixels a side");
}

Picture scale(Session& session, Picture source, float sharpness) {
    if (!hasTransparency(source)) return session.run(source, sharpness);
    const Picture alpha = session.run(alphaAsGrey(source), sharpness);
    bleedColours(source);
    Picture result = session.run(source, sharpness);
    setAlpha(result, alpha);
    return result;
}

void run(const Arguments& arguments) {
    OutputFile output(arguments.output, arguments.force);
    PngReader reader(arguments.input);
    const Size from = {reader.width(), reader.height()};
    const Size to = arguments.outputSize(from.width, from.height);

    LibraryLog log(arguments.verbose);
    Session session(*arguments.operation, log);
    checkSide(arguments.input, from, session);
    checkSide(arguments.output, to, session);

    Stopwatch watch;
    Picture source = reader.read();
    const double readTime = watch.lap();
    session.allocate(from.width, from.height, to.width, to.height);
    const Picture result = scale(session, std::move(source), arguments.sharpness);
    watch.lap();
    writePng(result, output.open(), arguments.output);
    output.commit();
    if (!arguments.verbose) return;

    const Times& times = session.times();
    std::fprintf(stderr,
                 "upscale: driver: %s\n"
                 "upscale: %s, sharpness %g: %ux%u to %ux%u%s\n"
                 "upscale: ms: read %.1f, upload %.1f, call %.1f, GPU %.1f, download %.1f, "
                 "write %.1f\n",
                 session.driver().c_str(), arguments.operation->name,
                 static_cast<double>(arguments.sharpness), from.width, from.height, to.width,
                 to.height, hasTransparency(result) ? ", with transparency" : "", readTime,
                 times.upload, times.call, times.gpu, times.download, watch.lap());
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
