// SPDX-License-Identifier: Apache-2.0
#ifndef UPSCALER_HOST_GL_THREAD_H
#define UPSCALER_HOST_GL_THREAD_H

#include <sys/types.h>

#include <atomic>
#include <condition_variable>
#include <deque>
#include <functional>
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
    using Work = std::function<void(const HostContext&)>;

    static GlThread& get();

    /// Runs `work` there and waits for its end. Any thread but that one.
    /// @return false if `work` did not run: no driver, exit has begun, or this is a forked child,
    ///     which does not have the thread.
    bool run(const Work& work);
    /// Whether `run` would, had it been called before.
    bool isRunning();

  private:
    enum class State { Idle, Starting, Failed, Running, Stopped };
    struct Job;

    bool start(std::unique_lock<std::mutex>& lock);
    void stop();
    void threadMain();
    bool open(HostContext* host);

    std::atomic<pid_t> mOwner{0};
    std::mutex mMutex;
    std::condition_variable mChanged;
    State mState = State::Idle;
    std::deque<Job*> mJobs;
    std::thread mThread;
};

}  // namespace android::host

#endif  // UPSCALER_HOST_GL_THREAD_H
