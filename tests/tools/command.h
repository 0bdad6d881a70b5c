// SPDX-License-Identifier: Apache-2.0
#ifndef UPSCALER_TESTS_TOOLS_COMMAND_H
#define UPSCALER_TESTS_TOOLS_COMMAND_H

#include <sys/types.h>

#include <string>
#include <vector>

/// How a program ended and what it wrote.
struct Outcome {
    int exitCode = -1;  ///< -1 if a signal ended it.
    int signal = 0;
    std::string out;
    std::string err;
};

/// A program that runs.
class Command {
  public:
    /// @param words the program's path and its arguments.
    /// @param environment settings ("NAME=value") on top of this process's.
    explicit Command(const std::vector<std::string>& words,
                     const std::vector<std::string>& environment = {});
    ~Command();
    Command(const Command&) = delete;
    Command& operator=(const Command&) = delete;

    void send(int signal) const;
    /// Waits for the end. Once.
    Outcome wait();

  private:
    pid_t mPid = -1;
    int mOut = -1;
    int mErr = -1;
};

/// Runs the command `upscale` to its end.
Outcome upscaleCommand(std::vector<std::string> arguments,
                       const std::vector<std::string>& environment = {});

#endif  // UPSCALER_TESTS_TOOLS_COMMAND_H
