// SPDX-License-Identifier: Apache-2.0
#ifndef UPSCALER_TESTS_TOOLS_COMMAND_H
#define UPSCALER_TESTS_TOOLS_COMMAND_H

#include <gmock/gmock.h>

#include <ostream>
#include <string>
#include <vector>

/// How a program ended and what it wrote.
struct Outcome {
    int exitCode;  ///< -1 if a signal ended it.
    std::string out;
    std::string err;
};
std::ostream& operator<<(std::ostream& stream, const Outcome& outcome);

/// Runs a shell's script to its end, in the working directory.
Outcome shell(const std::string& script);

/// Runs the command `upscale`.
/// @param arguments as a shell reads them.
/// @param environment settings (NAME=value) for it, as a shell reads them.
Outcome runUpscale(const std::string& arguments, const std::string& environment = "");

/// Settings under which the driver has a fault that `faulty_gl.cpp` knows.
std::string faulty(const std::string& fault);

/// With this code, nothing on stdout, and one line on stderr with this in it.
MATCHER_P2(FailedWith, exitCode, reason, "") {
    return arg.exitCode == exitCode && arg.out.empty() && arg.err.rfind("upscale: ", 0) == 0 &&
           arg.err.find('\n') == arg.err.size() - 1 && arg.err.find(reason) != std::string::npos;
}

/// A call that has to fail.
struct FailingCall {
    std::string arguments;
    int exitCode;
    std::string reason;
    std::string environment = "";
};

/// Expects of each call that it fails so and that no file comes or goes.
void expectFailures(const std::vector<FailingCall>& calls);

#endif  // UPSCALER_TESTS_TOOLS_COMMAND_H
