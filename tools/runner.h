// SPDX-License-Identifier: Apache-2.0
#ifndef UPSCALER_TOOLS_RUNNER_H
#define UPSCALER_TOOLS_RUNNER_H

#include <upscaler/upscaler.h>

#include <atomic>
#include <cstdint>
#include <memory>
#include <string>

#include "gpu_buffer.h"
#include "library_log.h"
#include "operations.h"
#include "picture.h"

namespace upscale {

/// Where the time went, in milliseconds, summed over runs.
struct Times {
    double upload = 0;
    double call = 0;  ///< The operation itself, which does not wait for the GPU.
    double gpu = 0;   ///< From its return to the signal of its fence.
    double download = 0;
};

/// One `Upscaler` with a source and a destination buffer, for one operation. Since the library
/// reports no failure, every run looks for one: an error line in the log, no fence, a fence that
/// does not signal, pixels left unwritten. To be used on one thread. Members throw `Failure`.
class Runner {
  public:
    /// @param log outlives the runner.
    Runner(const Operation& operation, LibraryLog& log);
    ~Runner();
    Runner(const Runner&) = delete;
    Runner& operator=(const Runner&) = delete;

    /// The driver's name and version.
    const std::string& driver() const { return mDriver; }
    /// The longest side, in pixels, that the driver can take.
    std::uint32_t largestSide() const { return mLargestSide; }

    /// Makes the buffers. Once, before the first run.
    void allocate(std::uint32_t sourceWidth, std::uint32_t sourceHeight, std::uint32_t width,
                  std::uint32_t height);

    /// Runs the operation on a picture of the source's size.
    /// @return opaque, of the destination's size; grey and tags as the source's.
    Picture run(const Picture& source, float sharpness);

    const Times& times() const { return mTimes; }

    // The same by steps, for callers with buffers of their own. A destination that was marked
    // can be asked, once the work on it is finished, whether the driver did any.

    /// Makes the buffers known to the library; see the class comment of `Upscaler`. Marks the
    /// destination.
    void import(android::sp<android::GraphicBuffer>& source,
                android::sp<android::GraphicBuffer>& destination);
    /// Starts the operation. @return a valid fence.
    android::sp<android::Fence> start(android::sp<android::GraphicBuffer>& source,
                                      android::sp<android::GraphicBuffer>& destination,
                                      float sharpness);
    /// Waits until the work is done. Any thread.
    void finish(android::Fence& fence);
    static void markUnwritten(android::GraphicBuffer& destination);
    static void requireWritten(const android::GraphicBuffer& destination, const BufferView& view);

  private:
    /// The order of teardown that the library asks for.
    struct Teardown {
        void operator()(android::Upscaler* upscaler) const;
    };

    android::sp<android::Fence> checked(const android::sp<android::Fence>& fence) const;

    const Operation& mOperation;
    LibraryLog& mLog;
    std::unique_ptr<android::Upscaler, Teardown> mUpscaler;
    std::string mDriver;
    std::uint32_t mLargestSide = 0;
    std::atomic<bool> mStuck{false};  // A wait for the GPU failed.
    android::sp<android::GraphicBuffer> mSource;
    android::sp<android::GraphicBuffer> mDestination;
    Times mTimes;
};

}  // namespace upscale

#endif  // UPSCALER_TOOLS_RUNNER_H
