// SPDX-License-Identifier: Apache-2.0
#include <android/log.h>
#include <cutils/properties.h>
#include <gmock/gmock.h>
#include <ui/GraphicBuffer.h>

#include <cstdlib>
#include <string>
#include <vector>

namespace {

bool isPrivileged = false;

}  // namespace

// In the C library's place: such a process is not easily made.
extern "C" __attribute__((visibility("default"))) char* secure_getenv(const char* name) noexcept {
    return isPrivileged ? nullptr : getenv(name);
}

namespace android::test {
namespace {

using ::testing::AllOf;
using ::testing::ElementsAre;
using ::testing::EndsWith;
using ::testing::StartsWith;

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

TEST(LogTest, ClientsTextsStayInTheirLine) {
    __android_log_set_logger(logger);
    setenv("test.long\n\x1b\x7f", kTooLong.c_str(), 1);
    EXPECT_EQ(get("test.long\n\x1b\x7f", "1"), "1");
    for (const std::string& name : {std::string("me\r\nfor you"), std::string(5000, 'x')}) {
        const sp<GraphicBuffer> buffer(new GraphicBuffer(2, 3, 42, 1, 0, name));
        EXPECT_EQ(buffer->initCheck(), BAD_VALUE);
    }
    __android_log_set_logger(__android_log_stderr_logger);
    EXPECT_THAT(lines,
                ElementsAre("environment variable test.long??? is longer than the 91 bytes of a "
                            "property: ignored",
                            "no buffer of 2x3, format 42, layers 1 for me??for you: error -22",
                            AllOf(StartsWith("no buffer of 2x3, format 42, layers 1 for xxx"),
                                  EndsWith("xxx: error -22"))));
}

TEST(RectTest, IsAsOnAndroid) {
    Rect rect;
    EXPECT_EQ(rect, Rect(0, 0, -1, -1));
    EXPECT_EQ(rect, Rect::INVALID_RECT);
    EXPECT_FALSE(rect.isValid());
    EXPECT_TRUE(Rect::EMPTY_RECT.isValid());
    EXPECT_TRUE(Rect::EMPTY_RECT.isEmpty());
    EXPECT_EQ(Rect(size_t{1} << 40, size_t{3}), Rect(0, 0, INT32_MAX, 3));

    rect = Rect(2, 3, 12, 23);
    EXPECT_EQ(rect.offsetBy(1, -1), Rect(3, 2, 13, 22));
    EXPECT_EQ(rect.inset(1, 2, 3, 4), Rect(4, 4, 10, 18));
    EXPECT_EQ(rect.offsetTo(-1, 5), Rect(-1, 5, 5, 19));
    EXPECT_EQ(rect.getBounds(), Rect(6, 14));
    EXPECT_TRUE(rect.intersect(Rect(0, 0, 3, 7), &rect));
    EXPECT_EQ(rect, Rect(0, 5, 3, 7));
    EXPECT_FALSE(rect.intersect(Rect(3, 0, 9, 9), &rect));
    EXPECT_TRUE(Rect(9, 0, 9, 9) < Rect(0, 1, 0, 0));
    EXPECT_TRUE(Rect(0, 0, 9, 1) < Rect(0, 0, 0, 2));
}

}  // namespace
}  // namespace android::test
