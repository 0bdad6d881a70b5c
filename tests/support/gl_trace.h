// SPDX-License-Identifier: Apache-2.0
// Records the library's calls of GL, EGL and the trace facility, and lets a test make them fail.
//
// A test that links this defines those functions itself, ahead of the driver. Each records the call
// and then makes the real one. Only calls of the thread that made the GlTrace are recorded, and not
// those that the host makes inside another call.
#ifndef TESTS_SUPPORT_GL_TRACE_H
#define TESTS_SUPPORT_GL_TRACE_H

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace android::test {

// Arguments and results are text: names for constants of GL and EGL, decimals for other numbers,
// all digits of a float, quotes around strings, {name=value} for attributes and, for a pointer to a
// name, the name that is there after the call.
struct GlCall {
    std::string name;
    std::vector<std::string> arguments;
    std::string result;
    // Whether something inexact was computed since the call before.
    bool followsArithmetic = false;

    std::string text() const;
};

// Joins texts, one to a line. GoogleTest shows a difference of such strings as a whole diff; of a
// vector it shows the first 32 elements.
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
    // The names of all calls in order, except glGetError, the trace facility and the log.
    std::vector<std::string> names() const;

    // The next call of this name, or the one `skip` later, fails without reaching the driver. Its
    // result is `answer`, otherwise 0, false, null or -1.
    void fail(const std::string& name, size_t skip = 0, std::optional<intptr_t> answer = {}) {
        mFaults[name] = {skip, answer, false};
    }
    void failAlways(const std::string& name, std::optional<intptr_t> answer = {}) {
        mFaults[name] = {0, answer, true};
    }
    // Behaves like a lost context: from here on no call reaches the driver, and every GL error is
    // GL_CONTEXT_LOST.
    void loseContext() {
        mLost = true;
        failAlways("glGetError", 0x0507);
    }
    // Whether a requested failure has not happened yet.
    bool isStillToFail(const std::string& name) const { return mFaults.count(name) != 0; }

    // For gl_trace.cpp: the result of a call that has to fail.
    static GlTrace* active();
    std::optional<intptr_t> failure(const std::string& name, intptr_t usual);
    void note(GlCall call) { mCalls.push_back(std::move(call)); }
    // Whether something inexact was computed since the last time.
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
