// SPDX-License-Identifier: Apache-2.0
#ifndef UPSCALER_TESTS_TOOLS_COMMAND_CHECKS_H
#define UPSCALER_TESTS_TOOLS_COMMAND_CHECKS_H

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <string>

#include "command.h"

/// Whether the command failed as it should: with this code, nothing on stdout, and one line on
/// stderr with this in it.
inline testing::AssertionResult failedWith(const Outcome& outcome, int exitCode,
                                           const std::string& reason) {
    const bool oneLine = std::count(outcome.err.begin(), outcome.err.end(), '\n') == 1 &&
                         outcome.err.back() == '\n' && outcome.err.rfind("upscale: ", 0) == 0;
    if (outcome.exitCode == exitCode && outcome.out.empty() && oneLine &&
        outcome.err.find(reason) != std::string::npos) {
        return testing::AssertionSuccess();
    }
    return testing::AssertionFailure()
           << "exit code " << outcome.exitCode << " for " << exitCode << ", signal "
           << outcome.signal << ", stdout '" << outcome.out << "', stderr '" << outcome.err
           << "' for '" << reason << "'";
}

#endif  // UPSCALER_TESTS_TOOLS_COMMAND_CHECKS_H
