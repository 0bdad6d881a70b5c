// SPDX-License-Identifier: Apache-2.0
#include "host/gl_thread.h"

#include <unistd.h>

#include <cstdlib>
#include <system_error>

#include "host/displays.h"
#include "host/log.h"
#include "host/thread.h"

namespace android::host {

struct GlThread::Job {
    const Work& work;
    enum { Queued, Done, Dropped } state = Queued;
};

GlThread& GlThread::get() {
    static auto* const thread = new GlThread;  // Never freed: buffers may end after exit began.
    return *thread;
}

bool GlThread::run(const Work& work) {
    const pid_t owner = mOwner.load();
    if (owner != 0 && owner != getpid()) return false;

    std::unique_lock<std::mutex> lock(mMutex);
    if (!start(lock)) return false;
    Job job{work};
    mJobs.push_back(&job);
    mChanged.notify_all();
    mChanged.wait(lock, [&] { return job.state != Job::Queued; });
    return job.state == Job::Done;
}

bool GlThread::isRunning() {
    if (mOwner.load() != getpid()) return false;
    const std::lock_guard<std::mutex> lock(mMutex);
    return mState == State::Running;
}

bool GlThread::start(std::unique_lock<std::mutex>& lock) {
    mChanged.wait(lock, [this] { return mState != State::Starting && mState != State::Failed; });
    if (mState != State::Idle) return mState == State::Running;

    try {
        mThread = startThread("upscaler-gl", [this] { threadMain(); });
    } catch (const std::system_error& error) {
        HOST_LOGE("no thread for the buffers' pixels: %s", error.what());
        return false;
    }
    mState = State::Starting;
    mChanged.wait(lock, [this] { return mState != State::Starting; });
    if (mState == State::Failed) {
        mThread.join();  // It wants the lock no more.
        mState = State::Idle;
        mChanged.notify_all();
        return false;
    }
    mOwner = getpid();
    // After the driver has made its own exit handlers, so that this one runs before them.
    std::atexit([] { get().stop(); });
    return true;
}

void GlThread::stop() {
    if (mOwner.load() != getpid()) return;
    {
        const std::lock_guard<std::mutex> lock(mMutex);
        mState = State::Stopped;
    }
    mChanged.notify_all();
    mThread.join();
}

void GlThread::threadMain() {
    HostContext host;
    const bool opened = open(&host);
    std::unique_lock<std::mutex> lock(mMutex);
    mState = opened ? State::Running : State::Failed;
    mChanged.notify_all();
    while (opened) {
        mChanged.wait(lock, [this] { return !mJobs.empty() || mState == State::Stopped; });
        if (mState == State::Stopped) break;
        Job* const job = mJobs.front();
        mJobs.pop_front();
        lock.unlock();
        {
            const InDriver inDriver;
            job->work(host);
        }
        lock.lock();
        job->state = Job::Done;
        mChanged.notify_all();
    }
    for (Job* job : mJobs)
        job->state = Job::Dropped;
    mJobs.clear();
    mChanged.notify_all();
    lock.unlock();

    if (host.context != EGL_NO_CONTEXT) {
        driver().eglMakeCurrent(host.display, EGL_NO_SURFACE, EGL_NO_SURFACE, EGL_NO_CONTEXT);
        driver().eglDestroyContext(host.display, host.context);
    }
    driver().eglReleaseThread();
}

bool GlThread::open(HostContext* host) {
    host->display = Displays::get().openDefault();
    if (host->display == EGL_NO_DISPLAY) {
        HOST_LOGE("no EGL display can be initialised, so graphic buffers have no pixels");
        return false;
    }
    driver().eglBindAPI(EGL_OPENGL_ES_API);
    const EGLint configAttributes[] = {EGL_RENDERABLE_TYPE, EGL_OPENGL_ES3_BIT, EGL_NONE};
    const EGLint contextAttributes[] = {EGL_CONTEXT_CLIENT_VERSION, 3, EGL_NONE};
    // Without a display server there may be no config; the context then is made with none.
    EGLConfig config = nullptr;
    EGLint configCount = 0;
    driver().eglChooseConfig(host->display, configAttributes, &config, 1, &configCount);
    host->context =
            driver().eglCreateContext(host->display, config, EGL_NO_CONTEXT, contextAttributes);
    if (host->context == EGL_NO_CONTEXT ||
        driver().eglMakeCurrent(host->display, EGL_NO_SURFACE, EGL_NO_SURFACE, host->context) !=
                EGL_TRUE) {
        HOST_LOGE("no OpenGL ES 3 context for graphic buffers, EGL error 0x%x",
                  driver().eglGetError());
        return false;
    }
    driver().glGetIntegerv(GL_MAX_TEXTURE_SIZE, &host->maxTextureSize);
    driver().glPixelStorei(GL_PACK_ALIGNMENT, 1);
    driver().glPixelStorei(GL_UNPACK_ALIGNMENT, 1);
    driver().glGenFramebuffers(1, &host->framebuffer);
    driver().glBindFramebuffer(GL_FRAMEBUFFER, host->framebuffer);
    return true;
}

}  // namespace android::host
