// SPDX-License-Identifier: Apache-2.0
#include "command/worker.h"

#include <utility>

namespace upscale {

Worker::Worker() : mThread([this] { loop(); }) {
    sigset_t ending;
    sigemptyset(&ending);
    for (const int signal : {SIGHUP, SIGINT, SIGTERM}) {
        sigaddset(&ending, signal);
    }
    pthread_sigmask(SIG_BLOCK, &ending, &mSignalsBefore);
}

Worker::~Worker() {
    {
        const std::lock_guard<std::mutex> lock(mMutex);
        mStopping = true;
    }
    mChanged.notify_all();
    mThread.join();
    pthread_sigmask(SIG_SETMASK, &mSignalsBefore, nullptr);
}

void Worker::start(std::function<void()> task) {
    std::unique_lock<std::mutex> lock(mMutex);
    mChanged.wait(lock, [this] { return !mBusy; });
    mTask = std::move(task);
    mBusy = true;
    mChanged.notify_all();
}

void Worker::wait() {
    std::unique_lock<std::mutex> lock(mMutex);
    mChanged.wait(lock, [this] { return !mBusy; });
    if (mError) std::rethrow_exception(std::exchange(mError, nullptr));
}

void Worker::loop() {
    std::unique_lock<std::mutex> lock(mMutex);
    while (true) {
        mChanged.wait(lock, [this] { return mBusy || mStopping; });
        if (!mBusy) return;
        lock.unlock();
        try {
            mTask();
        } catch (...) {
            mError = std::current_exception();
        }
        lock.lock();
        mTask = nullptr;
        mBusy = false;
        mChanged.notify_all();
    }
}

}  // namespace upscale
