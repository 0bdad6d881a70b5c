// SPDX-License-Identifier: Apache-2.0
#include "command/picture_job.h"

#include <algorithm>
#include <cstdio>
#include <utility>
#include <vector>

#include "common/failure.h"
#include "common/listed.h"
#include "common/stopwatch.h"
#include "pictures/alpha.h"

namespace upscale {
namespace {

void expectFormatTakes(const std::string& name, const PictureFormat& format, Size size) {
    if (std::max(size.width, size.height) <= format.largestSide) return;
    throw Failure(Exit::Failed, name,
                  inPixels(size) + " is too large: " + format.name + " takes " +
                          std::to_string(format.largestSide) + " pixels a side");
}

[[noreturn]] void failTransparent(const std::string& name, const PictureFormat& format) {
    std::vector<std::string> others;
    for (const PictureFormat& other : kPictureFormats) {
        if (other.alpha) others.push_back(other.name);
    }
    throw Failure(Exit::Failed, name,
                  "the picture is transparent in parts, which " + format.name + " cannot hold; " +
                          listed(others, "and") + " can");
}

}  // namespace

PictureJob::PictureJob(const Arguments& arguments, Report& report, const std::string& input)
    : mArguments(arguments),
      mReport(report),
      mInput(input),
      mPicture(openPicture(input)),
      mFormat(arguments.format ? *arguments.format : *mPicture.format),
      mFrom{mPicture.reader->width(), mPicture.reader->height()},
      mTo(arguments.outputSize(input, mFrom)) {}

void PictureJob::setOutput(const std::string& path) {
    mOutput = path;
    mFile = std::make_unique<OutputFile>(path, mArguments.force);
    expectFormatTakes(path, mFormat, mTo);
}

void PictureJob::scale(Scaler& scaler) {
    scaler.expectFits(mInput, mFrom);
    scaler.expectFits(mOutput, mTo);
    mPlan = scaler.plan(mFrom, mTo);
    Stopwatch watch;
    Picture source = mPicture.reader->read();
    if (!mFormat.alpha && hasTransparency(source)) failTransparent(mOutput, mFormat);
    if (mPicture.reader->depth() > 8) {
        mReport.warning(mInput + ": " + std::to_string(mPicture.reader->depth()) +
                        " bits a channel are reduced to 8");
    }
    mPicture.reader.reset();
    mReadTime = watch.lap();
    mResult = scaler.scale(std::move(source), mPlan, mArguments.sharpness);
    mDriver = scaler.driver();
    mTimes = scaler.takeTimes();
}

void PictureJob::write() {
    Stopwatch watch;
    mDropped = writePicture(mResult, mFormat, {mArguments.quality, mArguments.compression},
                            mFile->open(), mOutput);
    mFile->commit();
    mWriteTime = watch.lap();
}

void PictureJob::reportTimes() const {
    if (!mDropped.empty())
        mReport.warning(mOutput + ": " + mFormat.name + " cannot hold the input's " +
                        listed(mDropped, "and"));
    if (!mReport.verbose()) return;
    char line[1024];
    std::snprintf(line, sizeof(line), "%s, sharpness %g: %s to %s (with its border, %s to %s)%s",
                  mArguments.operation->name, static_cast<double>(mArguments.sharpness),
                  inPixels(mFrom).c_str(), inPixels(mTo).c_str(), inPixels(mPlan.from).c_str(),
                  inPixels(mPlan.to).c_str(),
                  hasTransparency(mResult) ? ", with transparency" : "");
    mReport.note("driver: " + mDriver);
    mReport.note(line);
    std::snprintf(line, sizeof(line),
                  "ms: read %.1f, upload %.1f, call %.1f, GPU %.1f, download %.1f, write %.1f",
                  mReadTime, mTimes.upload, mTimes.call, mTimes.gpu, mTimes.download, mWriteTime);
    mReport.note(line);
}

}  // namespace upscale
