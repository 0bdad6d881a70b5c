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

// Rows on their way, which takes time, and whether any of their pixels is transparent.
class WatchedSource : public RowSource {
  public:
    WatchedSource(PictureReader& reader, double& time) : mReader(reader), mTime(time) {}

    void readRows(std::uint8_t* rows, std::uint32_t count) override {
        Stopwatch watch;
        mReader.readRows(rows, count);
        mTime += watch.lap();
        const std::size_t pixels = std::size_t{count} * mReader.width();
        if (mReader.header().alpha && !mTransparent) mTransparent = hasTransparency(rows, pixels);
    }
    bool transparent() const { return mTransparent; }

  private:
    PictureReader& mReader;
    double& mTime;
    bool mTransparent = false;
};

template <typename Check>
class WatchedSink : public RowSink {
  public:
    WatchedSink(PictureWriter& writer, double& time, const Check& check)
        : mWriter(writer), mTime(time), mCheck(check) {}

    void writeRows(const std::uint8_t* rows, std::uint32_t count) override {
        mCheck();
        Stopwatch watch;
        mWriter.writeRows(rows, count);
        mTime += watch.lap();
    }

  private:
    PictureWriter& mWriter;
    double& mTime;
    Check mCheck;
};

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
      mTo(arguments.outputSize(input, mFrom)),
      mSharpness(arguments.sharpnessFor(mFrom, mTo)) {}

void PictureJob::setOutput(const std::string& path) {
    mOutput = path;
    mFile = std::make_unique<OutputFile>(path, mArguments.force);
    expectFormatTakes(path, mFormat, mTo);
}

bool PictureJob::plan(const Scaler& scaler) {
    mPlan = scaler.plan(mFrom, mTo);
    mByRows = scaler.tiled(mPlan);
    return mByRows;
}

void PictureJob::open() {
    mStream = mFile->open();
}

void PictureJob::expectWritable(bool transparent) const {
    if (transparent && !mFormat.alpha) failTransparent(mOutput, mFormat);
}

void PictureJob::scale(Scaler& scaler) {
    if (mPicture.reader->depth() > 8) {
        mReport.warning(mInput + ": " + std::to_string(mPicture.reader->depth()) +
                        " bits a channel are reduced to 8");
    }
    if (mByRows) {
        scaleRows(scaler);
    } else {
        Stopwatch watch;
        Picture source = mPicture.reader->read();
        mTransparent = hasTransparency(source);
        expectWritable(mTransparent);
        mPicture.reader.reset();
        mReadTime = watch.lap();
        mResult = scaler.scale(std::move(source), mPlan, mSharpness);
    }
    mDriver = scaler.driver();
    mTimes = scaler.takeTimes();
}

void PictureJob::scaleRows(Scaler& scaler) {
    PictureHeader header = mPicture.reader->header();
    header.width = mTo.width;
    header.height = mTo.height;
    // Whether a pixel is transparent shows at the end only.
    header.alpha = header.alpha && mFormat.alpha;
    const auto writer =
            createPicture(std::move(header), mFormat, {mArguments.quality, mArguments.compression},
                          mStream, mOutput);
    mDropped = writer->dropped();
    WatchedSource source(*mPicture.reader, mReadTime);
    const auto check = [&] { expectWritable(source.transparent()); };
    WatchedSink sink(*writer, mWriteTime, check);
    scaler.scale(source, mPlan, mSharpness, sink);
    check();
    Stopwatch watch;
    writer->finish();
    mWriteTime += watch.lap();
    mTransparent = source.transparent();
    mPicture.reader.reset();
}

void PictureJob::write() {
    Stopwatch watch;
    if (!mByRows) {
        open();
        mDropped = writePicture(mResult, mFormat, {mArguments.quality, mArguments.compression},
                                mStream, mOutput);
    }
    mFile->commit();
    mWriteTime += watch.lap();
}

void PictureJob::reportTimes() const {
    if (!mDropped.empty())
        mReport.warning(mOutput + ": " + mFormat.name + " cannot hold the input's " +
                        listed(mDropped, "and"));
    if (!mReport.verbose()) return;
    char line[1024];
    std::snprintf(line, sizeof(line), "%s, sharpness %g: %s to %s (with its border, %s to %s)%s",
                  mArguments.operation->name, static_cast<double>(mSharpness),
                  inPixels(mFrom).c_str(), inPixels(mTo).c_str(), inPixels(mPlan.from).c_str(),
                  inPixels(mPlan.to).c_str(), mTransparent ? ", with transparency" : "");
    mReport.note("driver: " + mDriver);
    mReport.note(line);
    std::snprintf(line, sizeof(line),
                  "ms: read %.1f, upload %.1f, call %.1f, GPU %.1f, download %.1f, write %.1f",
                  mReadTime, mTimes.upload, mTimes.call, mTimes.gpu, mTimes.download, mWriteTime);
    mReport.note(line);
}

}  // namespace upscale
