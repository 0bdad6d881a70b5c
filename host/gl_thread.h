// SPDX-License-Identifier: Apache-2.0
#ifndef UPSCALER_HOST_GL_THREAD_H
#define UPSCALER_HOST_GL_THREAD_H

#include <utils/Errors.h>

#include <condition_variable>
#include <mutex>
#include <thread>

#include "host/driver.h"

namespace android::host {

/// The host's own context, as the work on its thread finds it: current, and in GL's initial state
/// but for tightly packed rows and `framebuffer`, which is bound.
struct HostContext {
    EGLDisplay display = EGL_NO_DISPLAY;
    EGLContext context = EGL_NO_CONTEXT;
    GLuint framebuffer = 0;
    GLint maxTextureSize = 0;
};

/// The thread that has the host's context current, so that no client's context is ever disturbed.
/// Started by the first work; ended at exit.
class GlThread {
  public:
    static GlThread& get();

    /// Calls `work`, a `status_t(const HostContext&)` that does not throw, there and waits for its
    /// end. Needs no memory once the thread runs. Any thread but that one; not cancelled meanwhile.
    /// @return what `work` does. Without a call: NO_MEMORY if there is none for the thread, NO_INIT
    ///     if there is no driver, exit has begun, or this is a forked child.
    template <typename Work>
    status_t call(const Work& work) {
        Job job(
                [](const void* object, const HostContext& host) -> status_t {
                    return (*static_cast<const Work*>(object))(host);
                },
                &work);
        return run(&job);
    }
    /// Whether `call` would, had it been called before.
    bool isRunning();

  private:
    // A start that failed is over, and the next one may begin, once its starter says so. A thread
    // that did not come back from the driver in time is left alone.
    enum class State { Idle, Starting, Failed, Running, Stopped, Ended, Abandoned };

    // Lives with its caller, who waits until it is no longer queued.
    struct Job {
        using Function = status_t (*)(const void* work, const HostContext& host);
        Job(Function theFunction, const void* theWork) : function(theFunction), work(theWork) {}

        const Function function;
        const void* const work;
        Job* next = nullptr;
        bool isOver = false;
        status_t status = NO_INIT;
    };

    // Why there is no thread, for the log: which is written without a lock, by the caller, since
    // the client's logger may call the host.
    struct Failure {
        const char* what = nullptr;
        int error = 0;
    };

    status_t run(Job* job);
    status_t start(std::unique_lock<std::mutex>* lock, Failure* failure);
    status_t startThread(Failure* failure);
    void stop();
    void threadMain();
    void work(const HostContext& host);
    bool open(HostContext* host);

    std::mutex mMutex;
    std::condition_variable mChanged;
    State mState = State::Idle;
    Failure mFailure;
    Job* mFirst = nullptr;
    Job** mEnd = &mFirst;
    std::thread mThread;
};

}  // namespace android::host

#endif  // UPSCALER_HOST_GL_THREAD_H
