// SPDX-License-Identifier: Apache-2.0
#ifndef UPSCALER_TOOLS_VIDEO_CHANNEL_H
#define UPSCALER_TOOLS_VIDEO_CHANNEL_H

#include <condition_variable>
#include <deque>
#include <mutex>
#include <optional>
#include <utility>

namespace upscale {

/// Hands things from one thread to another, in their order. Not limited: what circulates is.
template <typename T>
class Channel {
  public:
    void put(T thing) {
        {
            const std::lock_guard<std::mutex> lock(mMutex);
            if (!mClosed) mThings.push_back(std::move(thing));
        }
        mChanged.notify_one();
    }

    /// Waits for the next one. @return nothing once the channel is closed and what was put before
    ///     has been taken.
    std::optional<T> take() {
        std::unique_lock<std::mutex> lock(mMutex);
        mChanged.wait(lock, [this] { return mClosed || !mThings.empty(); });
        if (mThings.empty()) return std::nullopt;
        std::optional<T> thing(std::move(mThings.front()));
        mThings.pop_front();
        return thing;
    }

    /// The end: what is put from now on is dropped.
    void close() { end(false); }
    /// The end at once: what has not been taken is dropped as well.
    void abandon() { end(true); }

  private:
    void end(bool drop) {
        {
            const std::lock_guard<std::mutex> lock(mMutex);
            mClosed = true;
            if (drop) mThings.clear();
        }
        mChanged.notify_all();
    }

    std::mutex mMutex;
    std::condition_variable mChanged;
    std::deque<T> mThings;
    bool mClosed = false;
};

}  // namespace upscale

#endif  // UPSCALER_TOOLS_VIDEO_CHANNEL_H
