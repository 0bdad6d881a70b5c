// SPDX-License-Identifier: Apache-2.0
#include "host/thread.h"

#include <pthread.h>
#include <signal.h>

#include <atomic>
#include <cfenv>
#include <condition_variable>
#include <mutex>
#include <new>
#include <utility>

namespace android::host {
namespace {

class BlockedSignals {
  public:
    BlockedSignals() {
        sigset_t all;
        sigfillset(&all);
        pthread_sigmask(SIG_SETMASK, &all, &mBefore);
    }
    ~BlockedSignals() { pthread_sigmask(SIG_SETMASK, &mBefore, nullptr); }
    BlockedSignals(const BlockedSignals&) = delete;
    BlockedSignals& operator=(const BlockedSignals&) = delete;

  private:
    sigset_t mBefore;
};

// Threads that are in the host: its own for their lives, and clients'.
std::atomic<unsigned> threadsInHost{0};
std::atomic<bool> forkedChild{false};

// Between the threads that are in the driver and those that fork. A lock for many readers would do
// if only it could be released in the child, where its holder is another thread.
class ForkGate {
  public:
    void enter() {
        std::unique_lock<std::mutex> lock(mMutex);
        mChanged.wait(lock, [this] { return mForking == 0; });
        ++mInDriver;
    }
    void leave() {
        const std::lock_guard<std::mutex> lock(mMutex);
        --mInDriver;
        if (mForking > 0) mChanged.notify_all();
    }

    // Returns with the lock held, so that nobody enters during the fork.
    void close() {
        const Uncancelled uncancelled;
        std::unique_lock<std::mutex> lock(mMutex);
        ++mForking;
        mChanged.wait_for(lock, kDriverPatience, [this] { return mInDriver == 0; });
        --mForking;
        lock.release();
    }
    void open() {
        mMutex.unlock();
        mChanged.notify_all();
    }

  private:
    std::mutex mMutex;
    std::condition_variable mChanged;
    unsigned mInDriver = 0;
    unsigned mForking = 0;
};

// Never destroyed: a fork may come after exit began.
alignas(ForkGate) char gateMemory[sizeof(ForkGate)];
ForkGate& gate() {
    return *std::launder(reinterpret_cast<ForkGate*>(gateMemory));
}

// At load, so that there is no fork that the gate does not see.
[[gnu::constructor]] void watchForks() {
    new (gateMemory) ForkGate;
    pthread_atfork([] { gate().close(); }, [] { gate().open(); },
                   [] {
                       new (gateMemory) ForkGate;
                       if (threadsInHost > 0) forkedChild = true;
                   });
}

}  // namespace

InDriver::InDriver() {
    gate().enter();
}

InDriver::~InDriver() {
    gate().leave();
}

InHost::InHost() {
    ++threadsInHost;
}

InHost::~InHost() {
    --threadsInHost;
}

bool isForkedChild() {
    return forkedChild;
}

Uncancelled::Uncancelled() {
    pthread_setcancelstate(PTHREAD_CANCEL_DISABLE, &mBefore);
}

Uncancelled::~Uncancelled() {
    pthread_setcancelstate(mBefore, nullptr);
}

std::thread startThread(const char* name, std::function<void()> body) {
    const BlockedSignals inherited;
    ++threadsInHost;  // The new one, from before it exists.
    try {
        return std::thread([name, body = std::move(body)] {
            std::fesetenv(FE_DFL_ENV);
            pthread_setname_np(pthread_self(), name);
            body();
            --threadsInHost;
        });
    } catch (...) {
        --threadsInHost;
        throw;
    }
}

}  // namespace android::host
