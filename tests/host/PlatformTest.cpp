// SPDX-License-Identifier: Apache-2.0
#include <android/log.h>
#include <cutils/properties.h>
#include <gmock/gmock.h>

#include <cstdlib>
#include <string>
#include <vector>

namespace {

bool isPrivileged = false;
std::vector<std::string> lines;

const std::string kLongest(PROPERTY_VALUE_MAX - 1, 'x');
const std::string kTooLong(PROPERTY_VALUE_MAX, 'x');

std::string get(const char* key, const char* otherwise = nullptr) {
    char value[PROPERTY_VALUE_MAX + 1] = "untouched";
    const int length = property_get(key, value, otherwise);
    EXPECT_EQ(static_cast<size_t>(length), std::string(value).size());
    return value;
}

TEST(PropertiesTest, GivesWhatWasSetOrTheDefault) {
    EXPECT_EQ(get("test.unset"), "");
    EXPECT_EQ(get("test.unset", kTooLong.c_str()), kLongest);
    EXPECT_EQ(get(nullptr, "default"), "default");

    EXPECT_EQ(property_set("test.set", nullptr), 0);
    EXPECT_EQ(get("test.set", "default"), "default");
    EXPECT_EQ(property_set("test.set", kLongest.c_str()), 0);
    EXPECT_LT(property_set("test.set", kTooLong.c_str()), 0);
    EXPECT_LT(property_set("", "1"), 0);
    EXPECT_LT(property_set(nullptr, "1"), 0);
    EXPECT_EQ(get("test.set", "default"), kLongest);
}

}  // namespace

// In the C library's place: such a process is not easily made.
extern "C" __attribute__((visibility("default"))) char* secure_getenv(const char* name) noexcept {
    return isPrivileged ? nullptr : getenv(name);
}

namespace {

TEST(PropertiesTest, TheEnvironmentGivesTheStartingValue) {
    setenv("test.environment", "20", 1);
    EXPECT_EQ(get("test.environment", "1"), "20");
    isPrivileged = true;
    EXPECT_EQ(get("test.environment", "1"), "1");
    isPrivileged = false;
    property_set("test.environment", "");
    EXPECT_EQ(get("test.environment"), "");
}

// The client's logger, which asks for a property itself; as newer and older systems have it.
template <typename Message>
void logger(const Message* message) {
    lines.push_back(message->message + get("test.unset"));
}
template <typename Data>
void logger(const Data*, const char* text) {
    lines.push_back(text + get("test.unset"));
}

TEST(PropertiesTest, TooLongAValueInTheEnvironmentIsToldInOneLine) {
    setenv("test.long\n\x1b\x7f", kTooLong.c_str(), 1);
    __android_log_set_logger(logger);
    EXPECT_EQ(get("test.long\n\x1b\x7f", "1"), "1");
    __android_log_set_logger(__android_log_stderr_logger);
    EXPECT_THAT(lines, ::testing::ElementsAre("environment variable test.long??? is longer than "
                                              "the 91 bytes of a property: ignored"));
}

}  // namespace
