// SPDX-License-Identifier: Apache-2.0
#include <cutils/properties.h>
#include <gtest/gtest.h>

#include <cstdlib>
#include <string>

namespace {

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

TEST(PropertiesTest, TheEnvironmentGivesTheStartingValue) {
    setenv("test.environment", "20", 1);
    EXPECT_EQ(get("test.environment", "1"), "20");
    property_set("test.environment", "");
    EXPECT_EQ(get("test.environment"), "");
    setenv("test.environment.long", kTooLong.c_str(), 1);
    EXPECT_EQ(get("test.environment.long", "1"), "1");
}

}  // namespace
