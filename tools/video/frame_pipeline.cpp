// SPDX-License-Identifier: Apache-2.0
#include "video/frame_pipeline.h"

#include <algorithm>
#include <array>
#include <exception>
#include <memory>
#include <mutex>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "common/stopwatch.h"
#include "video/channel.h"
#include "video/frame_conversion.h"

namespace upscale {
namespace {

using android::Fence;
using android::GraphicBuffer;
using android::sp;

// One that is filled, one that waits so that the GPU never does, one that the GPU works on.
constexpr std::size_t kBuffers = 3;

struct Source {
    sp<GraphicBuffer> buffer;
    std::string parameters;  // of the frame in it
};

struct Destination {
    sp<GraphicBuffer> buffer;
    bool proven = false;  // that the driver writes to it
};

struct Drawn {
    Source source;
    Destination destination;
    sp<Fence> fence;
};

class Pipeline {
  public:
    Pipeline(Runner& runner, const FrameWork& work);
    FrameTimes run();

  private:
    void readFrames();
    void drawFrames();
    void writeFrames();
    void keepFailure();

    Runner& mRunner;
    const FrameWork& mWork;
    const FrameFormat mFrom;
    FrameDecoder mDecoder;
    FrameEncoder mEncoder;
    Channel<Source> mFreeSources;
    Channel<Source> mFilled;
    Channel<Destination> mFreeDestinations;
    Channel<Drawn> mDrawn;
    FrameTimes mTimes;  // Each thread has its own members.
    std::mutex mFailureMutex;
    std::exception_ptr mFailure;
};

Pipeline::Pipeline(Runner& runner, const FrameWork& work)
    : mRunner(runner),
      mWork(work),
      mFrom(work.from),
      mDecoder(mFrom, work.plan.x.source, work.plan.y.source),
      mEncoder(work.to) {
    for (std::size_t i = 0; i < kBuffers; ++i) {
        Source source = {sourceBuffer(work.plan.from), ""};
        Destination destination = {destinationBuffer(work.plan.to)};
        mRunner.import(source.buffer, destination.buffer);
        mFreeSources.put(std::move(source));
        mFreeDestinations.put(std::move(destination));
    }
}

void Pipeline::readFrames() {
    const std::size_t bytes = mFrom.bytes();
    std::vector<std::uint8_t> frame(bytes);
    const bool raw = mFrom.sampling == Sampling::Rgba;
    std::string parameters;
    Stopwatch watch;
    while (mWork.reader.next(frame.data(), parameters)) {
        mTimes.read += watch.lap();
        if (raw && !mTimes.alphaLost) mTimes.alphaLost = isTransparent(frame.data(), bytes);
        std::optional<Source> source = mFreeSources.take();
        if (!source) return;
        watch.lap();
        BufferView view(*source->buffer, BufferView::Write);
        mTimes.upload += watch.lap();
        mDecoder.decode(frame.data(), {view.row(0), view.stride()});
        mTimes.decode += watch.lap();
        view.end();
        mTimes.upload += watch.lap();
        source->parameters = std::move(parameters);
        mFilled.put(std::move(*source));
    }
}

void Pipeline::drawFrames() {
    Stopwatch watch;
    while (std::optional<Source> source = mFilled.take()) {
        std::optional<Destination> destination = mFreeDestinations.take();
        if (!destination) return;
        mTimes.starved += watch.lap();
        sp<Fence> fence = mRunner.draw(source->buffer, destination->buffer, mWork.sharpness);
        mDrawn.put({std::move(*source), std::move(*destination), std::move(fence)});
        mTimes.call += watch.lap();
    }
}

void Pipeline::writeFrames() {
    const std::size_t bytes = mWork.to.bytes();
    std::vector<std::uint8_t> frame(bytes);
    const std::uint32_t left = mWork.plan.x.destination;
    const std::uint32_t above = mWork.plan.y.destination;
    Stopwatch watch;
    while (std::optional<Drawn> drawn = mDrawn.take()) {
        watch.lap();
        mRunner.finish(*drawn->fence);
        mTimes.gpu += watch.lap();
        const std::string parameters = std::move(drawn->source.parameters);
        mFreeSources.put(std::move(drawn->source));

        Destination& destination = drawn->destination;
        {
            const BufferView view(*destination.buffer, BufferView::Read);
            mTimes.download += watch.lap();
            if (!std::exchange(destination.proven, true))
                Runner::requireWritten(*destination.buffer, view);
            mEncoder.encode(
                    {view.row(above) + std::size_t{left} * Picture::kChannels, view.stride()},
                    frame.data());
        }
        mTimes.encode += watch.lap();
        mFreeDestinations.put(std::move(destination));

        if (!mWork.reader.isRaw()) {
            const std::string line = kY4mFrameWord + parameters + "\n";
            mWork.sink.write(line.data(), line.size());
        }
        mWork.sink.write(frame.data(), bytes);
        mTimes.write += watch.lap();
        ++mTimes.frames;
        mWork.progress(mTimes.frames);
    }
}

void Pipeline::keepFailure() {
    const std::lock_guard<std::mutex> lock(mFailureMutex);
    if (!mFailure) mFailure = std::current_exception();
}

FrameTimes Pipeline::run() {
    // What comes after a thread that ends has to end as well, once it has done what it was given;
    // what comes before, at once.
    const auto endAfter = [this](void (Pipeline::*work)(), auto end) {
        return std::thread([this, work, end] {
            try {
                (this->*work)();
            } catch (...) {
                keepFailure();
            }
            end();
        });
    };
    std::vector<std::thread> threads;
    try {
        threads.push_back(endAfter(&Pipeline::readFrames, [this] { mFilled.close(); }));
        threads.push_back(endAfter(&Pipeline::writeFrames, [this] {
            mFreeDestinations.abandon();
            mFilled.abandon();
        }));
        drawFrames();
    } catch (...) {
        keepFailure();
    }
    mDrawn.close();
    mFreeSources.abandon();
    mWork.cancelReading();
    for (std::thread& thread : threads)
        thread.join();
    if (mFailure) std::rethrow_exception(mFailure);
    return mTimes;
}

}  // namespace

FrameTimes workFrames(Runner& runner, const FrameWork& work) {
    return Pipeline(runner, work).run();
}

}  // namespace upscale
