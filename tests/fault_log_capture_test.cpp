/*
 * Copyright (C) 2026 Zenth
 *
 * Licensed under the Apache License, Version 2.0 (the "License");
 * you may not use this file except in compliance with the License.
 * You may obtain a copy of the License at
 *
 *      http://www.apache.org/licenses/LICENSE-2.0
 *
 * Unless required by applicable law or agreed to in writing, software
 * distributed under the License is distributed on an "AS IS" BASIS,
 * WITHOUT WARRANTIES OR CONDITIONS OF ANY KIND, either express or implied.
 * See the License for the specific language governing permissions and
 * limitations under the License.
 */

#include <errno.h>
#include <sys/stat.h>
#include <time.h>

#include <chrono>
#include <cstdint>
#include <filesystem>
#include <functional>
#include <regex>
#include <string>

#include <android/log.h>
#include <gtest/gtest.h>

#include "ZenthFpga.h"
#include "support/FaultLogTest.h"
#include "zenth_host/EmulatedDevice.h"

using namespace aidl::vendor::zenth::hardware::misc;
using namespace std::chrono_literals;
using std::chrono::steady_clock;
namespace kernel_log = emulated::kernel_log;

namespace {

// "YYYYmmdd_HHMMSS_mmm" in local time, as a dump name carries it.
std::string stampAt(std::chrono::system_clock::time_point when) {
    time_t seconds = std::chrono::system_clock::to_time_t(when);
    struct tm local;
    localtime_r(&seconds, &local);
    char text[40];
    size_t n = strftime(text, sizeof(text), "%Y%m%d_%H%M%S", &local);
    auto ms = std::chrono::duration_cast<std::chrono::milliseconds>(when.time_since_epoch());
    snprintf(text + n, sizeof(text) - n, "_%03d", static_cast<int>(ms.count() % 1000));
    return text;
}

std::string refusal(int modeNumber) {
    return "checkExceptionWithinTimeWindow " + std::to_string(modeNumber) +
           " already triggered in 3000ms 2 times, return.";
}

}  // namespace

class FaultLogCaptureTest : public FaultLogTest {
  protected:
    static void setWindow(int exception_id, steady_clock::time_point start, uint8_t budget) {
        gExceptionWindowStart[exception_id] = start;
        gExceptionWindowBudget[exception_id] = budget;
    }
    bool logged(const std::string& message) const {
        return contains(ANDROID_LOG_ERROR, defaultTag(), message);
    }
    size_t windowLines() const { return countPrefixed(lines(), "checkExceptionWithinTimeWindow"); }
};

TEST_F(FaultLogCaptureTest, ValuesWithoutExceptionKindAreRejectedBeforeAnyFileWork) {
    for (unsigned long value : {0UL, 1UL, 4UL, 6UL, 0x8000000000000000UL, 0xAA00000000000002UL}) {
        SCOPED_TRACE(value);
        clearLog();
        EXPECT_EQ(LogSaveFunc(value), -1);
        EXPECT_TRUE(logged("mode is not support err log copy"));
        EXPECT_EQ(lines().size(), 1u);
    }
    EXPECT_FALSE(exists(kLogDir));
}

TEST_F(FaultLogCaptureTest, SavesTheWholeKernelLogUnderTheTimeAndKind) {
    const std::pair<unsigned long, const char*> cases[] = {
            {2, "_exception_2_soft_rest_err.log"},
            {3, "_exception_3_hard_rest_err.log"},
            {0xAAFFFFFFFFFFFFFFUL, "_exception_4_fault_code_record_err.log"},
            {5, "_exception_5_hard_reset_not_recovery_err.log"},
    };
    // NULs and high bytes included: the dump is the buffer as the kernel returned it.
    const std::string content("<3>[ 1.5] fpga: reset\n\0\x01\xff tail", 30);
    kernel_log::setContent(content);
    kernel_log::setBufferSize(4000);
    const std::string prefix = std::string(kLogDir) + "/dmesg_";
    for (const auto& [value, suffix] : cases) {
        SCOPED_TRACE(suffix);
        clearLog();
        auto before = std::chrono::system_clock::now();
        ASSERT_EQ(LogSaveFunc(value), 0);
        auto after = std::chrono::system_clock::now();

        ASSERT_EQ(savedDumps().size(), 1u);
        const std::string path = savedDumps()[0];
        ASSERT_EQ(path.rfind(prefix, 0), 0u) << path;
        const std::string stamp = path.substr(prefix.size(), 19);
        EXPECT_TRUE(std::regex_match(stamp, std::regex(R"(\d{8}_\d{6}_\d{3})"))) << path;
        EXPECT_LE(stampAt(before), stamp);
        EXPECT_GE(stampAt(after), stamp);
        EXPECT_EQ(path.substr(prefix.size() + 19), suffix);
        EXPECT_EQ(readFile(path), content);
        EXPECT_TRUE(contains(ANDROID_LOG_DEBUG, defaultTag(),
                             "dmesg log saved to " + path + ", total length: 30 bytes\n"));
    }
    auto calls = kernel_log::calls();
    ASSERT_EQ(calls.size(), 2 * std::size(cases));
    EXPECT_EQ(calls[0].action, 10);
    EXPECT_EQ(calls[1].action, 3);
    EXPECT_EQ(calls[1].length, 4000 + 1024);
}

TEST_F(FaultLogCaptureTest, MissingDirectoryIsCreatedWithMode0766) {
    mode_t saved = umask(0);
    int result = LogSaveFunc(2);
    umask(saved);
    EXPECT_EQ(result, 0);
    EXPECT_EQ(modeOf(kLogDir), 0766u);
    EXPECT_EQ(logDirEntries().size(), 1u);
}

TEST_F(FaultLogCaptureTest, TwoCapturesPerKindPerWindowMeasuredFromItsFirst) {
    EXPECT_EQ(LogSaveFunc(2), 0);
    const auto opened = gExceptionWindowStart[0];
    EXPECT_EQ(windowLines(), 0u);  // opening a window is silent
    EXPECT_EQ(LogSaveFunc(2), 0);
    EXPECT_TRUE(logged("checkExceptionWithinTimeWindow 0 is allow."));
    EXPECT_EQ(LogSaveFunc(2), -1);
    EXPECT_TRUE(logged(refusal(2)));
    EXPECT_EQ(gExceptionWindowStart[0], opened);
    // The other kinds keep their own budgets.
    for (unsigned long value : {3UL, 0xAA80000000001234UL, 5UL}) EXPECT_EQ(LogSaveFunc(value), 0);
    EXPECT_EQ(savedDumps().size(), 5u);
    EXPECT_EQ(windowLines(), 2u);

    setWindow(0, opened - 3001ms, 0);
    const auto reopening = steady_clock::now();
    EXPECT_EQ(LogSaveFunc(2), 0);
    EXPECT_GE(gExceptionWindowStart[0], reopening);
    EXPECT_EQ(gExceptionWindowBudget[0], 1);
}

TEST_F(FaultLogCaptureTest, WindowEndsAfter3000WholeMilliseconds) {
    // 3001.0 ms after the opening: outside, however late the clock is read.
    setWindow(0, steady_clock::now() - 3001ms, 0);
    EXPECT_EQ(LogSaveFunc(2), 0);
    EXPECT_EQ(gExceptionWindowBudget[0], 1);

    // 3000.9 ms after: inside, provided the capture reads the clock within 0.1 ms; an attempt
    // that took longer proves nothing and is repeated.
    bool decided = false;
    for (int attempt = 0; attempt < 200 && !decided; ++attempt) {
        clearLog();
        const auto now = steady_clock::now();
        setWindow(0, now - 3000900us, 0);
        int result = LogSaveFunc(2);
        if (steady_clock::now() - now >= 100us) continue;
        decided = true;
        EXPECT_EQ(result, -1);
        EXPECT_TRUE(contains(ANDROID_LOG_DEBUG, defaultTag(),
                             "Elapsed time for exception_id 0: 3000 ms"));
        EXPECT_TRUE(logged(refusal(2)));
        EXPECT_EQ(gExceptionWindowStart[0], now - 3000900us);
    }
    EXPECT_TRUE(decided) << "no capture read the clock within 0.1 ms of the window setup";
}

TEST_F(FaultLogCaptureTest, UnopenableDumpSavesNothingAndSkipsRetention) {
    makeDir(kLogDir, 0555);
    EXPECT_EQ(LogSaveFunc(3), 0);
    auto failures =
            messagesAfter(lines(), "Failed to open file " + std::string(kLogDir) + "/dmesg_");
    ASSERT_EQ(failures.size(), 1u);
    EXPECT_TRUE(std::regex_match(
            failures[0],
            std::regex(R"(\d{8}_\d{6}_\d{3}_exception_3_hard_rest_err\.log: Permission denied\n)")));
    EXPECT_TRUE(kernel_log::calls().empty());
    EXPECT_EQ(gExceptionWindowBudget[1], 1);  // the allowed capture opened its window all the same
}

TEST_F(FaultLogCaptureTest, RetentionFailureKeepsTheDump) {
    makeDir(kLogDir, 0300);  // entries can be made, the listing cannot be read
    EXPECT_EQ(LogSaveFunc(2), -1);
    EXPECT_TRUE(logged("DeleteOldLog is failed."));
    makeDir(kLogDir, 0700);
    EXPECT_EQ(logDirEntries().size(), 1u);
}

TEST_F(FaultLogCaptureTest, SavedDumpTrimsTheDirectoryToTheNewestTen) {
    for (int i = 0; i < 10; ++i) addLogEntry("old" + std::to_string(i), 1000 + i);
    EXPECT_EQ(LogSaveFunc(5), 0);
    ASSERT_EQ(savedDumps().size(), 1u);
    EXPECT_TRUE(exists(savedDumps()[0]));
    EXPECT_EQ(messagesAfter(lines(), "Deleted file: "),
              std::vector<std::string>{std::string(kLogDir) + "/old0"});
}

enum class DirectoryFault { FileAtThePath, ParentMissing, ParentIsAFile, ParentReadOnly };

class FaultLogDirectoryTest
    : public FaultLogCaptureTest,
      public ::testing::WithParamInterface<std::pair<DirectoryFault, const char*>> {
  protected:
    void arrange(DirectoryFault fault) {
        if (fault == DirectoryFault::FileAtThePath) writeFile(kLogDir, "not a directory");
        if (fault == DirectoryFault::ParentMissing || fault == DirectoryFault::ParentIsAFile) {
            std::filesystem::remove(hostPath(kLogParent));
        }
        if (fault == DirectoryFault::ParentIsAFile) writeFile(kLogParent, "not a directory");
        if (fault == DirectoryFault::ParentReadOnly) makeReadOnly(kLogParent);
    }
};

TEST_P(FaultLogDirectoryTest, SavesNothingAndSpendsNoBudget) {
    setWindow(0, steady_clock::now(), 1);
    arrange(GetParam().first);
    EXPECT_EQ(LogSaveFunc(2), -1);
    EXPECT_TRUE(logged(std::regex_replace(GetParam().second, std::regex("DIR"), kLogDir)));
    EXPECT_TRUE(logged("checkFpgaLogPath is failed."));
    EXPECT_EQ(windowLines(), 0u);
    EXPECT_EQ(gExceptionWindowBudget[0], 1);
    EXPECT_TRUE(kernel_log::calls().empty());
}

INSTANTIATE_TEST_SUITE_P(
        Each, FaultLogDirectoryTest,
        ::testing::Values(
                std::make_pair(DirectoryFault::FileAtThePath, "DIR exists but is not a directory"),
                std::make_pair(DirectoryFault::ParentMissing,
                               "mkdir DIR failed: No such file or directory"),
                std::make_pair(DirectoryFault::ParentIsAFile, "stat DIR failed: Not a directory"),
                std::make_pair(DirectoryFault::ParentReadOnly,
                               "mkdir DIR failed: Permission denied")));

class KernelLogFailureTest
    : public FaultLogCaptureTest,
      public ::testing::WithParamInterface<std::pair<std::function<void()>, const char*>> {};

TEST_P(KernelLogFailureTest, LeavesNoFileAndSkipsRetention) {
    // Eleven entries: a retention run would delete one.
    for (int i = 0; i < 11; ++i) addLogEntry("old" + std::to_string(i), 1000 + i);
    const auto before = logDirEntries();
    GetParam().first();
    EXPECT_EQ(LogSaveFunc(5), 0);
    EXPECT_TRUE(logged(GetParam().second));
    EXPECT_EQ(logDirEntries(), before);
    EXPECT_TRUE(savedDumps().empty());
}

INSTANTIATE_TEST_SUITE_P(
        Each, KernelLogFailureTest,
        ::testing::Values(std::make_pair([] { kernel_log::failSizeQuery(EPERM); },
                                         "Failed to get klogctl: Operation not permitted\n"),
                          std::make_pair([] { kernel_log::failRead(0, EIO); },
                                         "Failed to read kernel log: Input/output error\n"),
                          std::make_pair([] { kernel_log::failRead(-1, EPERM); },
                                         "Failed to read kernel log: Operation not permitted\n")));
