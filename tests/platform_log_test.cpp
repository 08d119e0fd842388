// Logcat-style host log lines.

#include <android/log.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <regex>
#include <string>

#include <zenth_host/host_log.h>

namespace {

std::string logged(int priority, const char* tag, const char* message) {
    __android_logger_data data = {sizeof(data), LOG_ID_MAIN, priority, tag, nullptr, 0};
    testing::internal::CaptureStderr();
    zenth_host::logcatLogger(&data, message);
    return testing::internal::GetCapturedStderr();
}

TEST(PlatformLogTest, EveryPriorityIsShownOffDevice) {
    EXPECT_EQ(__android_log_get_minimum_priority(), ANDROID_LOG_VERBOSE);
}

TEST(PlatformLogTest, LinesCarryTimePidTidPriorityAndTag) {
    const std::string pid = std::to_string(getpid());
    const std::regex line(R"(\d\d-\d\d \d\d:\d\d:\d\d\.\d{3} +)" + pid + " +" + pid +
                          " E misc: started!\n");
    EXPECT_TRUE(std::regex_match(logged(ANDROID_LOG_ERROR, "misc", "started!"), line));
}

TEST(PlatformLogTest, EachMessageLineGetsItsOwnPrefix) {
    struct Case {
        int priority;
        const char* message;
        const char* expected;  // the log lines without their time and ids
    } cases[] = {
            {ANDROID_LOG_DEBUG, "ZenthFpga::ZenthFpga\n", "D t: ZenthFpga::ZenthFpga\n"},
            {ANDROID_LOG_VERBOSE, "a\nb", "V t: a\nV t: b\n"},
            {ANDROID_LOG_FATAL, "", "F t: \n"},
    };
    const std::regex prefix(R"(^\S+ \S+ +\d+ +\d+ )", std::regex::multiline);
    for (const Case& c : cases) {
        EXPECT_EQ(std::regex_replace(logged(c.priority, "t", c.message), prefix, ""), c.expected)
                << c.message;
    }
}

}  // namespace
