// SPDX-License-Identifier: Apache-2.0
#ifndef UPSCALER_TOOLS_GPU_RUNNER_H
#define UPSCALER_TOOLS_GPU_RUNNER_H

#include <upscaler/upscaler.h>

#include <algorithm>
#include <atomic>
#include <cstdint>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "common/size.h"
#include "gpu/gpu_buffer.h"
#include "gpu/library_log.h"
#include "gpu/operations.h"
#include "pictures/picture.h"

namespace upscale {

/// Where the time went, in milliseconds, summed over runs.
struct Times {
    double upload = 0;
    double call = 0;  ///< The operation itself, which does not wait for the GPU.
    double gpu = 0;   ///< From its return to the signal of its fence.
    double download = 0;
};

/// One `Upscaler` for one operation, with a source and a destination buffer for each pair of sizes
/// that it has met. Since the library's cache never forgets, there is a limit to those, past which
/// a new `Upscaler` takes over: memory stays flat however many sizes come. A failed run leads to a
/// new one too. Since the library reports no failure, every run looks for one: an error line in the
/// log, no fence, a fence that does not signal, pixels left unwritten. To be used on one thread.
/// Members throw `Failure`.
class Runner {
  public:
    /// The order of teardown that the library asks for.
    struct Teardown {
        void operator()(android::Upscaler* upscaler) const;
    };
    /// An `Upscaler`, whatever the driver. Its context is current, if there is one. Throws
    /// `Failure` if the system property of the log's level is bad.
    static std::unique_ptr<android::Upscaler, Teardown> makeUpscaler();

    /// @param log outlives the runner.
    Runner(const Operation& operation, LibraryLog& log);
    ~Runner();
    Runner(const Runner&) = delete;
    Runner& operator=(const Runner&) = delete;

    /// The driver's name and version.
    const std::string& driver() const { return mDriver; }
    /// Whether the driver takes pictures of this size.
    bool fits(Size size) const;
    /// The longest side that the driver takes, if it is shorter than `side`.
    std::uint32_t atMost(std::uint32_t side) const { return std::min(side, mLargestSide); }
    /// Checks that. @param name what `Failure` names.
    void expectFits(const std::string& name, Size size) const;

    /// Runs the operation on a picture.
    /// @param size of the result.
    /// @return opaque; grey and tags as the source's.
    Picture run(const Picture& source, Size size, float sharpness);

    /// Since the last call.
    Times takeTimes() { return std::exchange(mTimes, {}); }

    // The same by steps, for callers with buffers of their own. A destination that was marked
    // can be asked, once the work on it is finished, whether the driver did any.

    /// Makes the buffers known to the library; see the class comment of `Upscaler`. Marks the
    /// destination.
    void import(android::sp<android::GraphicBuffer>& source,
                android::sp<android::GraphicBuffer>& destination);
    /// Starts the operation. @return a valid fence.
    android::sp<android::Fence> draw(android::sp<android::GraphicBuffer>& source,
                                     android::sp<android::GraphicBuffer>& destination,
                                     float sharpness);
    /// Waits until the work is done. Any thread.
    void finish(android::Fence& fence);
    static void markUnwritten(android::GraphicBuffer& destination);
    static void requireWritten(const android::GraphicBuffer& destination, const BufferView& view);

  private:
    struct Buffers {
        Size from, to;
        android::sp<android::GraphicBuffer> source, destination;

        std::uint64_t pixels() const { return from.pixels() + to.pixels(); }
    };

    void start();
    Buffers& buffersFor(Size from, Size to);
    void runOn(Buffers& buffers, const Picture& source, Picture& result, float sharpness);
    android::sp<android::Fence> checked(const android::sp<android::Fence>& fence) const;
    void discard();

    const Operation& mOperation;
    LibraryLog& mLog;
    std::unique_ptr<android::Upscaler, Teardown> mUpscaler;
    std::string mDriver;
    std::uint32_t mLargestSide = 0;
    std::vector<Buffers> mBuffers;
    bool mFailed = false;
    std::atomic<bool> mStuck{false};  // A wait for the GPU failed.
    Times mTimes;
};

}  // namespace upscale

#endif  // UPSCALER_TOOLS_GPU_RUNNER_H
