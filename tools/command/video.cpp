// SPDX-License-Identifier: Apache-2.0
#include "command/video.h"

#include <unistd.h>

#include <algorithm>

#include <cstdio>
#include <optional>
#include <string>

#include "common/failure.h"
#include "common/output_file.h"
#include "common/stopwatch.h"
#include "gpu/library_log.h"
#include "gpu/scaler.h"
#include "video/frame_pipeline.h"

namespace upscale {
namespace {

// Below, video is mostly coded for the older screens.
constexpr std::uint32_t kFirstBt709Lines = 720;

void checkUsage(const Arguments& arguments) {
    const auto refuse = [](const std::string& subject, const std::string& reason) {
        throw Failure(Exit::Usage, subject, reason);
    };
    if (arguments.raw && arguments.matrix) refuse("--matrix", "does not go with --raw");
    if (arguments.raw && arguments.range) refuse("--range", "does not go with --raw");
    const std::string& output = arguments.output;
    if (output == "-") {
        if (isatty(STDOUT_FILENO)) refuse("standard output", "video is not written to a terminal");
    } else if (!arguments.raw && formatNamed(extensionOf(output))) {
        refuse(output, "video is written as Y4M, not as pictures");
    }
}

FrameFormat formatOf(const Arguments& arguments, const FrameReader& reader) {
    FrameFormat format = reader.header().format;
    format.matrix = arguments.matrix.value_or(format.height < kFirstBt709Lines ? Matrix::Bt601
                                                                               : Matrix::Bt709);
    format.range = arguments.range.value_or(format.range);
    return format;
}

std::optional<std::uint64_t> frameCount(const FileSource& source, const FrameReader& reader) {
    const std::uint64_t header = reader.isRaw() ? 0 : sizeof(kY4mFrameWord);
    if (source.size() == 0) return std::nullopt;
    return source.size() / (reader.header().format.bytes() + header);
}

void tell(const Arguments& arguments, const std::string& driver, float sharpness,
          const ScalePlan& plan, const FrameTimes& times, double milliseconds, Report& report) {
    const auto frames = static_cast<double>(std::max<std::uint64_t>(times.frames, 1));
    char line[256];
    report.note("driver: " + driver);
    std::snprintf(line, sizeof(line), "%s, sharpness %g: %llu frames, %.1f a second",
                  arguments.operation->name, static_cast<double>(sharpness),
                  static_cast<unsigned long long>(times.frames), frames * 1000 / milliseconds);
    report.note(std::string(line) + "; with the border, " + inPixels(plan.from) + " to " +
                inPixels(plan.to));
    std::snprintf(line, sizeof(line),
                  "ms a frame, side by side: read %.1f, convert %.1f, upload %.1f | starved %.1f, "
                  "call %.1f | GPU %.1f, download %.1f, convert %.1f, write %.1f",
                  times.read / frames, times.decode / frames, times.upload / frames,
                  times.starved / frames, times.call / frames, times.gpu / frames,
                  times.download / frames, times.encode / frames, times.write / frames);
    report.note(line);
}

}  // namespace

void scaleVideo(const Arguments& arguments, Report& report) {
    checkUsage(arguments);
    std::optional<OutputFile> file;
    if (arguments.output != "-") file.emplace(arguments.output, arguments.force);
    FileSource source(arguments.inputs.front());
    std::optional<FrameReader> reader;
    if (arguments.raw) {
        reader.emplace(source, arguments.raw->width, arguments.raw->height);
    } else {
        reader.emplace(source);
    }
    const FrameFormat from = formatOf(arguments, *reader);
    const Size size = {from.width, from.height};
    const Size scaled = arguments.outputSize(source.name(), size);
    if (arguments.raw && arguments.changesShape(size)) {
        report.warning(source.name() + ": " + inPixels(size) + " to " + inPixels(scaled) + " is " +
                       kKeepShape);
    }
    if (reduces(size, scaled)) {
        report.warning(source.name() + ": " + inPixels(scaled) + " is " + kAliases);
    }
    const float sharpness = arguments.sharpnessFor(size, scaled);
    FrameFormat to = from;
    to.width = scaled.width;
    to.height = scaled.height;

    const std::string output = file ? arguments.output : "standard output";
    LibraryLog log(arguments.verbose);
    Runner runner(*arguments.operation, log);
    runner.expectFits(source.name(), size);
    runner.expectFits(output, scaled);
    const ScalePlan plan = planScaling(runner, arguments.border, size, scaled, report);

    ByteSink sink(output, file ? fileno(file->open()) : STDOUT_FILENO);
    if (!reader->isRaw()) {
        const std::string header =
                scaledY4mHeader(reader->header(), to.width, to.height, arguments.range);
        sink.write(header.data(), header.size());
    }
    report.startProgress("frames", frameCount(source, *reader));
    Stopwatch watch;
    const FrameTimes times =
            workFrames(runner, {*reader, sink, from, to, plan, sharpness, [&] { source.cancel(); },
                                [&](std::uint64_t frames) { report.progress(frames); }});
    report.endProgress();
    if (file) file->commit();
    if (times.alphaLost)
        report.warning(source.name() + ": frames are transparent in parts; the output is opaque");
    if (report.verbose())
        tell(arguments, runner.driver(), sharpness, plan, times, watch.lap(), report);
}

}  // namespace upscale
