// SPDX-License-Identifier: Apache-2.0
// What the library is expected to do, step by step: its GL calls by the very texts that the log has
// for them, its EGL calls in the same manner, and its debug lines. One script serves for the calls
// with their arguments, for the lines, and for what is logged when a call fails.
#ifndef TESTS_SUPPORT_SCRIPT_H
#define TESTS_SUPPORT_SCRIPT_H

#include <gtest/gtest.h>

#include <functional>
#include <map>
#include <string>
#include <vector>

#include "support/gl_trace.h"

namespace android::test {

// What the words of the texts stand for: GL names, sizes, handles. Calls that make something give
// their words a meaning as they are met.
using Words = std::map<std::string, uint64_t>;

struct Step {
    enum Kind { Call, UncheckedCall, Line, Let };
    Kind kind;
    std::string file;  // of the library, as the log prints it
    std::string text;
    std::string argument;  // Call: the string it passes, if any; Let: what the word becomes
};

using Script = std::vector<Step>;
using Parameters = std::map<std::string, std::string>;

// tests/scripts/README.md tells how scripts are written.
Script scriptOf(const std::string& text, const Parameters& parameters = {});

// The GL calls that a check follows.
Script checkedCalls(const Script& script);

enum class Lines { Expected, None };

// Whether the trace is what the script says, each checked GL call followed at once by its one
// glGetError. Tells the first difference with its neighbours. Log lines are seen only while a
// LogCapture lives.
testing::AssertionResult follows(const GlTrace& trace, const Script& script, Words& words,
                                 Lines lines);

// Does the work once for each checked GL call of the script, with `error` pending behind it, and
// expects the one line about it and the calls of `script` unchanged.
void expectEachCheckReports(const Script& script, unsigned int error, const char* errorName,
                            const std::function<void()>& work);

}  // namespace android::test

#endif  // TESTS_SUPPORT_SCRIPT_H
