// SPDX-License-Identifier: Apache-2.0
/// @file
/// Frames from a stream through an operation to a stream, several at a time.
#ifndef UPSCALER_TOOLS_VIDEO_FRAME_PIPELINE_H
#define UPSCALER_TOOLS_VIDEO_FRAME_PIPELINE_H

#include <cstdint>
#include <functional>

#include "gpu/scaler.h"
#include "video/frame_stream.h"

namespace upscale {

/// What is to be done with the frames of a stream.
struct FrameWork {
    FrameReader& reader;
    ByteSink& sink;
    FrameFormat from;  ///< The reader's frames.
    FrameFormat to;    ///< The frames to write: the same except for their size.
    ScalePlan plan;    ///< For their sizes.
    float sharpness;
    std::function<void()> cancelReading;                 ///< Called on any thread.
    std::function<void(std::uint64_t frames)> progress;  ///< After each frame, on one thread.
};

/// Where the time of all frames went, in milliseconds. Each line is one thread's, and they run side
/// by side.
struct FrameTimes {
    double read = 0, decode = 0, upload = 0;
    double starved = 0, call = 0;  ///< Without a frame to work on or to draw to; the operation.
    double gpu = 0, download = 0, encode = 0, write = 0;  ///< `gpu`: the wait for the fence.
    std::uint64_t frames = 0;
    bool alphaLost = false;  ///< A raw frame was transparent in parts; every result is opaque.
};

/// Works all frames of the reader through `runner`'s operation: one thread reads, converts and
/// uploads, this one makes the library's calls, a third waits for the GPU, reads back, converts and
/// writes. The buffers are made and imported at the start.
///
/// Throws the first `Failure`. If it is the input's or the driver's, the frames before it have been
/// written.
FrameTimes workFrames(Runner& runner, const FrameWork& work);

}  // namespace upscale

#endif  // UPSCALER_TOOLS_VIDEO_FRAME_PIPELINE_H
