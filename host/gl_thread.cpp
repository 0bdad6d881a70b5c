// SPDX-License-Identifier: Apache-2.0
#include "host/gl_thread.h"

#include <unistd.h>

#include <cstdlib>
#include <new>
#include <system_error>

#include "host/context.h"
#include "host/displays.h"
#include "host/log.h"
#include "host/process_wide.h"
#include "host/thread.h"

namespace android::host {

GlThread& GlThread::get() {
    return processWide<GlThread>();
}

status_t GlThread::run(Job* job) {
    if (isForkedChild()) return NO_INIT;
    const Uncancelled uncancelled;
    const InHost inHost;
    Failure failure;
    {
        std::unique_lock<std::mutex> lock(mMutex);
        const status_t status = start(&lock, &failure);
        if (status == OK) {
            *mEnd = job;
            mEnd = &job->next;
            mChanged.notify_all();
            mChanged.wait(lock, [job] { return job->isOver; });
        } else {
            job->status = status;
        }
    }
    if (failure.what != nullptr) {
        HOST_LOGE("graphic buffers have no pixels: %s, error 0x%x", failure.what, failure.error);
    }
    return job->status;
}

bool GlThread::isRunning() {
    if (isForkedChild()) return false;
    const std::lock_guard<std::mutex> lock(mMutex);
    return mState == State::Running;
}

status_t GlThread::start(std::unique_lock<std::mutex>* lock, Failure* failure) {
    mChanged.wait(*lock, [this] { return mState != State::Starting && mState != State::Failed; });
    if (mState != State::Idle) return mState == State::Running ? OK : NO_INIT;

    const status_t status = startThread(failure);
    if (status != OK) return status;
    mState = State::Starting;
    mChanged.wait(*lock, [this] { return mState != State::Starting; });
    if (mState == State::Failed) {
        mThread.join();  // It wants the lock no more.
        *failure = mFailure;
        mState = State::Idle;
        mChanged.notify_all();
        return NO_INIT;
    }
    // After the driver has made its own exit handlers, so that this one runs before them.
    std::atexit([] { get().stop(); });
    return OK;
}

status_t GlThread::startThread(Failure* failure) {
    try {
        mThread = host::startThread("upscaler-gl", [this] { threadMain(); });
    } catch (const std::bad_alloc&) {
        return NO_MEMORY;
    } catch (const std::system_error& error) {
        *failure = {"no thread", error.code().value()};
        return NO_INIT;
    }
    return OK;
}

void GlThread::stop() {
    if (isForkedChild()) return;
    const Uncancelled uncancelled;
    std::unique_lock<std::mutex> lock(mMutex);
    mState = State::Stopped;
    for (; mFirst != nullptr; mFirst = mFirst->next)
        mFirst->isOver = true;
    mEnd = &mFirst;
    mChanged.notify_all();
    if (mChanged.wait_for(lock, kDriverPatience, [this] { return mState == State::Ended; })) {
        mThread.join();  // It wants the lock no more.
    } else {
        mState = State::Abandoned;
    }
}

void GlThread::threadMain() {
    HostContext host;
    bool opened = false;
    {
        const InDriver inDriver;
        opened = open(&host);
    }
    if (opened) work(host);
    {
        const InDriver inDriver;
        closeContext(host.display, host.context);
    }
    const std::lock_guard<std::mutex> lock(mMutex);
    mState = opened ? State::Ended : State::Failed;
    mChanged.notify_all();
}

void GlThread::work(const HostContext& host) {
    std::unique_lock<std::mutex> lock(mMutex);
    mState = State::Running;
    mChanged.notify_all();
    while (true) {
        mChanged.wait(lock, [this] { return mFirst != nullptr || mState != State::Running; });
        if (mState != State::Running) break;
        Job* const job = mFirst;
        mFirst = job->next;
        if (mFirst == nullptr) mEnd = &mFirst;
        lock.unlock();
        {
            const InDriver inDriver;
            job->status = job->function(job->work, host);
        }
        lock.lock();
        job->isOver = true;
        mChanged.notify_all();
    }
    // The driver is being torn down by now: not another call to it.
    while (mState == State::Abandoned)
        mChanged.wait(lock);
}

bool GlThread::open(HostContext* host) {
    host->display = Displays::get().openDefault();
    if (host->display == EGL_NO_DISPLAY) {
        mFailure = {"no EGL display can be initialised", driver().eglGetError()};
        return false;
    }
    if (!openContext(host->display, &host->context)) {
        mFailure = {"no OpenGL ES 3 context", driver().eglGetError()};
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
