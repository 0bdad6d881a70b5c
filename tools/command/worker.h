// SPDX-License-Identifier: Apache-2.0
#ifndef UPSCALER_TOOLS_COMMAND_WORKER_H
#define UPSCALER_TOOLS_COMMAND_WORKER_H

#include <condition_variable>
#include <csignal>
#include <exception>
#include <functional>
#include <mutex>
#include <thread>

namespace upscale {

/// A thread that runs one task at a time. While it lives, the signals that end the command come to
/// it and not to the thread that made it, so that the thread that removes an unfinished file is
/// also the one that makes it.
class Worker {
  public:
    Worker();
    /// Waits for the task that runs.
    ~Worker();
    Worker(const Worker&) = delete;
    Worker& operator=(const Worker&) = delete;

    /// Runs the task, once the one before has ended.
    void start(std::function<void()> task);
    /// Waits for the task to end, and throws what it threw.
    void wait();

  private:
    void loop();

    std::mutex mMutex;
    std::condition_variable mChanged;
    std::function<void()> mTask;
    bool mBusy = false;
    bool mStopping = false;
    std::exception_ptr mError;
    sigset_t mSignalsBefore;
    std::thread mThread;
};

}  // namespace upscale

#endif  // UPSCALER_TOOLS_COMMAND_WORKER_H
