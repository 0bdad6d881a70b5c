// SPDX-License-Identifier: Apache-2.0
#ifndef TESTS_SUPPORT_LOG_CAPTURE_H
#define TESTS_SUPPORT_LOG_CAPTURE_H

#include <string>
#include <vector>

namespace android::test {

struct LogLine {
    int priority;
    std::string tag;
    std::string text;
};

// Takes every line that is logged while it lives, from any thread, instead of standard error.
class LogCapture {
  public:
    LogCapture();
    ~LogCapture();
    LogCapture(const LogCapture&) = delete;
    LogCapture& operator=(const LogCapture&) = delete;

    std::vector<LogLine> lines() const;
    // The texts of the lines of one priority: 3 debug, 6 error.
    std::vector<std::string> debug() const { return texts(3); }
    std::vector<std::string> errors() const { return texts(6); }
    void clear();

  private:
    std::vector<std::string> texts(int priority) const;
};

}  // namespace android::test

#endif  // TESTS_SUPPORT_LOG_CAPTURE_H
