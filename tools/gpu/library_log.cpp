// SPDX-License-Identifier: Apache-2.0
#include "gpu/library_log.h"

#include <android/log.h>

#include <cstdio>
#include <cstring>
#include <mutex>
#include <utility>

namespace upscale {
namespace {

constexpr char kLibraryTag[] = "Upscaler";

struct Collected {
    std::mutex mutex;
    bool echo = false;
    std::string error;
};

// The logger function takes no parameter of its user.
Collected& collected() {
    static Collected instance;
    return instance;
}

std::string firstLine(const char* message) {
    std::string line(message, std::strcspn(message, "\n"));
    while (!line.empty() && line.back() == ' ') {
        line.pop_back();
    }
    return line;
}

void collect(int priority, const char* tag, const char* message) {
    Collected& log = collected();
    if (tag == nullptr) tag = "";
    const std::lock_guard<std::mutex> lock(log.mutex);
    if (log.echo) std::fprintf(stderr, "upscale: log: %s: %s\n", tag, firstLine(message).c_str());
    if (priority < ANDROID_LOG_ERROR || std::strcmp(tag, kLibraryTag) != 0) return;
    if (log.error.empty()) log.error = firstLine(message);
}

// The logger's parameters as liblog has them since Android 11, and before: its header chooses.
template <typename Message>
void logger(const Message* message) {
    collect(message->priority, message->tag, message->message);
}
template <typename Data>
void logger(const Data* data, const char* message) {
    collect(data->priority, data->tag, message);
}

}  // namespace

LibraryLog::LibraryLog(bool echo) {
    collected().echo = echo;
    __android_log_set_logger(logger);
}

LibraryLog::~LibraryLog() {
    __android_log_set_logger(__android_log_stderr_logger);
}

std::string LibraryLog::takeError() {
    Collected& log = collected();
    const std::lock_guard<std::mutex> lock(log.mutex);
    return std::exchange(log.error, {});
}

}  // namespace upscale
