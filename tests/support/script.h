// SPDX-License-Identifier: Apache-2.0
// What the library is expected to do, step by step: its GL calls by the very texts that the log has
// for them, its EGL calls in the same manner, and its debug lines. One script serves for the calls
// with their arguments, for the lines, and for what is logged when a call fails.
#ifndef TESTS_SUPPORT_SCRIPT_H
#define TESTS_SUPPORT_SCRIPT_H

#include <gtest/gtest.h>

#include <map>
#include <string>
#include <vector>

#include "support/gl_trace.h"

namespace android::test {

// What the words of the texts stand for (GL names, sizes, handles), as GlCall has it.
using Words = std::map<std::string, std::string>;

// Line by line, as tests/scripts/README.md tells, without the includes and with the checks.
using Script = std::vector<std::string>;

// Without the parameter `debug` the debug lines are left out.
Script scriptOf(const std::string& text, const std::map<std::string, std::string>& parameters = {});

// The GL calls that a check follows.
Script checkedCalls(const Script& script);

// Whether the trace is what the script says, each checked GL call followed at once by its one
// glGetError. Tells the first difference with its neighbours. Words of what is made get their
// values. Log lines are seen only while a LogCapture lives.
testing::AssertionResult follows(const GlTrace& trace, const Script& script, Words& words);

}  // namespace android::test

#endif  // TESTS_SUPPORT_SCRIPT_H
