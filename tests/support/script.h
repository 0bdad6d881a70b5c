// SPDX-License-Identifier: Apache-2.0
// What the library is expected to do, step by step: its GL calls by the very texts that the log has
// for them, its EGL calls in the same manner, and its debug lines. One script serves for the calls
// with their arguments, for the lines, and for what is logged when a call fails.
//
// The lines of a script:
//
//     vertex = glCreateShader(GL_VERTEX_SHADER)   a call; its words stand for values, and one that
//                                                 it makes gets its value from it, like &texture
//     !glDeleteTextures(1, &cached0)              a GL call that no check follows
//     | initEGL: ... {mEGLContext:x}, ...         a debug line; {word} stands for its value (:x for
//                                                 a handle as the log prints it, :p as a pointer,
//                                                 :f for a float)
//     |!glGetString(GL_VERSION)                   a call made for a debug line
//     let x = 0.25                                gives a word its value; bits:0.25 is the number
//                                                 with the bits of a float, and * may be anything,
//                                                 in a debug line too
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

class Script {
  public:
    Script() = default;
    // The lines of a text, in which ${name} is replaced by the value of that name.
    explicit Script(const std::string& text, const Words& values = {});

    Script& operator+=(const Script& more);
    friend Script operator+(Script first, const Script& second) { return first += second; }

    const std::vector<std::string>& lines() const { return mLines; }
    // How many lines begin like this.
    size_t count(const std::string& begin) const;
    // What is left while the debug log is off.
    Script quiet() const;
    // The GL calls that a check follows.
    std::vector<std::string> checkedCalls() const;

  private:
    std::vector<std::string> mLines;
};

// Whether the trace is what the script says, each checked GL call followed at once by its one
// glGetError. Tells the first difference with its neighbours. Words of what is made get their
// values. Log lines are seen only while a LogCapture lives.
testing::AssertionResult follows(const GlTrace& trace, const Script& script, Words& words);

}  // namespace android::test

#endif  // TESTS_SUPPORT_SCRIPT_H
