// SPDX-License-Identifier: Apache-2.0
#include "host/log.h"

#include <algorithm>
#include <cstring>

namespace android::host {

OneLine::OneLine(const char* from) : text() {
    const size_t length = strnlen(from, sizeof(text) - 1);
    std::replace_copy_if(
            from, from + length, text, [](unsigned char c) { return c < ' ' || c == 0x7f; }, '?');
}

}  // namespace android::host

namespace {

// Outside a device the log drops debug lines, and no environment variable changes that. What is
// written at all is the writer's choice, so let them through, unless the client has chosen already.
[[gnu::constructor]] void letDebugLinesThrough() {
    if (__android_log_get_minimum_priority() == ANDROID_LOG_DEFAULT) {
        __android_log_set_minimum_priority(ANDROID_LOG_DEBUG);
    }
}

}  // namespace
