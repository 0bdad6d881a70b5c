// SPDX-License-Identifier: Apache-2.0
#include <android/log.h>
#include <cutils/properties.h>
#include <gtest/gtest.h>

#include <cstdlib>
#include <string>
#include <thread>
#include <vector>

namespace {

std::string get(const char* key, const char* otherwise = nullptr) {
    char value[PROPERTY_VALUE_MAX + 1] = "untouched";
    const int length = property_get(key, value, otherwise);
    EXPECT_EQ(static_cast<size_t>(length), std::string(value).size());
    return value;
}

TEST(PropertiesTest, GivesWhatWasSetOrTheDefault) {
    EXPECT_EQ(get("test.unset"), "");
    EXPECT_EQ(get("test.unset", "21"), "21");
    EXPECT_EQ(property_set("test.set", "0x21"), 0);
    EXPECT_EQ(get("test.set", "1"), "0x21");
    EXPECT_EQ(property_set("test.set", ""), 0);
    EXPECT_EQ(get("test.set", "default"), "default");
    EXPECT_EQ(property_set("test.set", nullptr), 0);
    EXPECT_EQ(get("test.set"), "");
    EXPECT_EQ(get(nullptr, "default"), "default");
}

TEST(PropertiesTest, ValuesHaveALimit) {
    const std::string longest(PROPERTY_VALUE_MAX - 1, 'x');
    EXPECT_EQ(property_set("test.long", longest.c_str()), 0);
    EXPECT_LT(property_set("test.long", (longest + 'x').c_str()), 0);
    EXPECT_EQ(get("test.long"), longest);
    EXPECT_EQ(get("test.unset", (longest + 'x').c_str()), longest);
    EXPECT_LT(property_set(nullptr, "1"), 0);
    EXPECT_LT(property_set("", "1"), 0);
}

TEST(PropertiesTest, TheEnvironmentGivesTheStartingValue) {
    setenv("test.environment", "20", 1);
    EXPECT_EQ(get("test.environment", "1"), "20");
    property_set("test.environment", "21");
    EXPECT_EQ(get("test.environment"), "21");
    property_set("test.environment", "");
    EXPECT_EQ(get("test.environment"), "");
    setenv("test.environment.long", std::string(PROPERTY_VALUE_MAX, 'x').c_str(), 1);
    EXPECT_EQ(get("test.environment.long", "1"), "1");
}

TEST(PropertiesTest, ThreadsMayReadAndSet) {
    std::vector<std::thread> threads;
    threads.reserve(4);
    for (int i = 0; i < 4; ++i) {
        threads.emplace_back([i] {
            for (int round = 0; round < 1000; ++round) {
                property_set("test.shared", std::string(size_t(10 + i), 'x').c_str());
                EXPECT_GE(get("test.shared").size(), 10U);
            }
        });
    }
    for (auto& thread : threads)
        thread.join();
}

// Debug lines are dropped on a host unless somebody lowers the limit.
TEST(LogTest, DebugLinesPass) {
    EXPECT_EQ(__android_log_get_minimum_priority(), ANDROID_LOG_DEBUG);
    EXPECT_TRUE(__android_log_is_loggable(ANDROID_LOG_DEBUG, "test", ANDROID_LOG_INFO));
}

}  // namespace
