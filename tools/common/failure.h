// SPDX-License-Identifier: Apache-2.0
#ifndef UPSCALER_TOOLS_COMMON_FAILURE_H
#define UPSCALER_TOOLS_COMMON_FAILURE_H

#include <stdexcept>
#include <string>

namespace upscale {

/// What the command answers to the shell.
enum class Exit { Done = 0, Failed = 1, Usage = 2, NoDriver = 3 };

/// Ends the command with one line, "upscale: SUBJECT: REASON", and an exit code. The subject is a
/// file or an option.
class Failure : public std::runtime_error {
  public:
    Failure(Exit code, const std::string& subject, const std::string& reason)
        : std::runtime_error(subject + ": " + reason), mCode(code) {}

    Exit code() const { return mCode; }

  private:
    Exit mCode;
};

/// The driver has stopped answering: whatever is asked of it next would wait as long again.
class DriverLost : public Failure {
  public:
    using Failure::Failure;
};

}  // namespace upscale

#endif  // UPSCALER_TOOLS_COMMON_FAILURE_H
