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

void capture(const __android_logger_data* data, const char* message) {
    const std::lock_guard<std::mutex> lock(gMutex);
    if (GlTrace* const trace = GlTrace::active(); trace != nullptr)
        trace->note({"log", {message}, "", GlTrace::takeArithmetic()});
    gLines.push_back({data->priority, data->tag == nullptr ? "" : data->tag, message});
}

}  // namespace

LogCapture::LogCapture() {
    clear();
    ++gCaptures;
    __android_log_set_logger(capture);
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
