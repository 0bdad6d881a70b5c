// SPDX-License-Identifier: Apache-2.0
// The NDK's, as far as it is used. ANDROID_RELEASE is the release, 10 or later.
#ifndef TESTS_ANDROID_ANDROID_LOG_H
#define TESTS_ANDROID_ANDROID_LOG_H

#include <stdarg.h>
#include <stddef.h>
#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

typedef enum android_LogPriority {
    ANDROID_LOG_UNKNOWN = 0,
    ANDROID_LOG_DEFAULT,
    ANDROID_LOG_VERBOSE,
    ANDROID_LOG_DEBUG,
    ANDROID_LOG_INFO,
    ANDROID_LOG_WARN,
    ANDROID_LOG_ERROR,
    ANDROID_LOG_FATAL,
    ANDROID_LOG_SILENT,
} android_LogPriority;

int __android_log_write(int prio, const char* tag, const char* text);
int __android_log_print(int prio, const char* tag, const char* fmt, ...)
        __attribute__((__format__(printf, 3, 4)));
int __android_log_vprint(int prio, const char* tag, const char* fmt, va_list ap)
        __attribute__((__format__(printf, 3, 0)));

#if ANDROID_RELEASE >= 11
struct __android_log_message {
    size_t struct_size;
    int32_t buffer_id;
    int32_t priority;
    const char* tag;
    const char* file;
    uint32_t line;
    const char* message;
};
typedef void (*__android_logger_function)(const struct __android_log_message* log_message);

void __android_log_set_logger(__android_logger_function logger);
void __android_log_logd_logger(const struct __android_log_message* log_message);
void __android_log_stderr_logger(const struct __android_log_message* log_message);
int32_t __android_log_set_minimum_priority(int32_t priority);
#endif

#ifdef __cplusplus
}
#endif

#endif  // TESTS_ANDROID_ANDROID_LOG_H
