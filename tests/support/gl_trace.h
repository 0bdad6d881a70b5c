// SPDX-License-Identifier: Apache-2.0
// What the library asks of GL, EGL and the trace facility, seen and, where a test wants it, broken.
//
// A test that links this defines those functions itself, ahead of the driver; each notes the call
// and goes on to the real one. Only calls of the thread that made the GlTrace are noted, and none
// that a function below makes in turn (the host's own).
#ifndef TESTS_SUPPORT_GL_TRACE_H
#define TESTS_SUPPORT_GL_TRACE_H

#include <cstdint>
#include <string>
#include <vector>

namespace android::test {

struct GlCall {
    std::string name;
    std::vector<uint64_t> arguments;  // as bit patterns
    uint64_t result = 0;              // of a glGen or glDelete call: the name
    std::string text;                 // the string arguments: uniform names, entry point names
};

class GlTrace {
  public:
    GlTrace();
    ~GlTrace();
    GlTrace(const GlTrace&) = delete;
    GlTrace& operator=(const GlTrace&) = delete;

    const std::vector<GlCall>& calls() const { return mCalls; }
    void clear() { mCalls.clear(); }
    std::vector<GlCall> named(const std::string& name) const;
    size_t count(const std::string& name) const { return named(name).size(); }
    // The names of all calls but glGetError, the trace facility's and the log's, in order.
    std::vector<std::string> names() const;

    // The next call of this name, or the one `skip` later, fails without reaching the driver (0,
    // false, null or -1), and with kAlways each after it. With "name:text", a call with that string
    // argument.
    enum HowOften { kOnce, kAlways };
    void failNext(const std::string& name, size_t skip = 0, HowOften howOften = kOnce) {
        mFail = name;
        mFailSkip = skip;
        mHowOften = howOften;
    }
    // As of a context that is lost: from here on no call reaches the driver, and each GL error is
    // GL_CONTEXT_LOST.
    void loseContext() {
        mLost = true;
        mRaiseAlways = 0x0507;
    }
    // What eglGetError answers from now on; 0: the real thing.
    void setEglError(int error) { mEglError = error; }
    // `error` is pending behind the call after `skip` more calls that a glGetError follows.
    void raiseAfter(size_t skip, unsigned int error) {
        mSkip = skip;
        mRaise = error;
    }
    // `error` is what every glGetError answers, until called with 0.
    void raiseAlways(unsigned int error) { mRaiseAlways = error; }
    bool raised() const { return mRaise == 0; }

    // For the definitions in gl_trace.cpp.
    static GlTrace* active();
    bool takeFailure(const GlCall& call);
    bool takeError(unsigned int& error);
    int eglError() const { return mEglError; }
    void note(GlCall call) { mCalls.push_back(std::move(call)); }

  private:
    std::vector<GlCall> mCalls;
    bool mLost = false;
    std::string mFail;
    size_t mFailSkip = 0;
    HowOften mHowOften = kOnce;
    int mEglError = 0;
    size_t mSkip = 0;
    unsigned int mRaise = 0;
    unsigned int mRaiseAlways = 0;
};

}  // namespace android::test

#endif  // TESTS_SUPPORT_GL_TRACE_H
