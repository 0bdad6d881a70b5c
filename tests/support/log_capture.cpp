// SPDX-License-Identifier: Apache-2.0
#include "support/log_capture.h"

#include <android/log.h>

#include <mutex>

#include "support/gl_trace.h"

namespace android::test {
namespace {

std::mutex gMutex;
std::vector<LogLine> gLines;
int gCaptures = 0;

void capture(int priority, const char* tag, const char* text) {
    const std::lock_guard<std::mutex> lock(gMutex);
    if (GlTrace* const trace = GlTrace::active(); trace != nullptr)
        trace->note({"log", {text}, "", GlTrace::takeArithmetic()});
    gLines.push_back({priority, tag == nullptr ? "" : tag, text});
}

// The logger's parameters as liblog has them since Android 11, and before: its header chooses.
template <typename Message>
void logger(const Message* message) {
    capture(message->priority, message->tag, message->message);
}
template <typename Data>
void logger(const Data* data, const char* text) {
    capture(data->priority, data->tag, text);
}

}  // namespace

LogCapture::LogCapture() {
    clear();
    ++gCaptures;
    __android_log_set_logger(logger);
}

LogCapture::~LogCapture() {
    if (--gCaptures == 0) __android_log_set_logger(__android_log_stderr_logger);
}

std::vector<LogLine> LogCapture::lines() const {
    const std::lock_guard<std::mutex> lock(gMutex);
    return gLines;
}

void LogCapture::clear() {
    const std::lock_guard<std::mutex> lock(gMutex);
    gLines.clear();
}

std::vector<std::string> LogCapture::texts(int priority) const {
    std::vector<std::string> texts;
    for (const LogLine& line : lines()) {
        if (line.priority == priority) texts.push_back(line.text);
    }
    return texts;
}

}  // namespace android::test
