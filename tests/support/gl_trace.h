// SPDX-License-Identifier: Apache-2.0
// What the library asks of GL, EGL and the trace facility, seen and, where a test wants it, broken.
//
// A test that links this defines those functions itself, ahead of the driver; each notes the call
// and goes on to the real one. Only calls of the thread that made the GlTrace are noted, and none
// that a function below makes in turn (the host's own).
#ifndef TESTS_SUPPORT_GL_TRACE_H
#define TESTS_SUPPORT_GL_TRACE_H

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace android::test {

// Constants of GL and EGL by their names, other numbers in decimal, floats with all their digits,
// strings in quotes, {name=value} for attributes, and for a pointer to a name what stands there
// after the call.
struct GlCall {
    std::string name;
    std::vector<std::string> arguments;
    std::string result;
    // Whether an inexact calculation was made since the call before.
    bool followsArithmetic = false;

    std::string text() const;
};

// One to a line. Where two such texts differ, GoogleTest shows all of it as a diff; of a vector it
// shows the first 32.
std::string lines(const std::vector<std::string>& texts);

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

    // The next call of this name, or the one `skip` later, fails without reaching the driver: its
    // result is `answer`, else 0, false, null or -1.
    void fail(const std::string& name, size_t skip = 0, std::optional<intptr_t> answer = {}) {
        mFaults[name] = {skip, answer, false};
    }
    void failAlways(const std::string& name, std::optional<intptr_t> answer = {}) {
        mFaults[name] = {0, answer, true};
    }
    // As of a context that is lost: from here on no call reaches the driver, and each GL error is
    // GL_CONTEXT_LOST.
    void loseContext() {
        mLost = true;
        failAlways("glGetError", 0x0507);
    }
    // Whether a failure that was asked for has not come yet.
    bool isStillToFail(const std::string& name) const { return mFaults.count(name) != 0; }

    // For the definitions in gl_trace.cpp: the result of a call that is to fail.
    static GlTrace* active();
    std::optional<intptr_t> failure(const std::string& name, intptr_t usual);
    void note(GlCall call) { mCalls.push_back(std::move(call)); }
    // Tells about the arithmetic since the last time.
    static bool takeArithmetic();

  private:
    struct Fault {
        size_t skip;
        std::optional<intptr_t> answer;
        bool isLasting;
    };
    std::vector<GlCall> mCalls;
    std::map<std::string, Fault> mFaults;
    bool mLost = false;
};

}  // namespace android::test

#endif  // TESTS_SUPPORT_GL_TRACE_H
