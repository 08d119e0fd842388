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

#include <unistd.h>

#include <algorithm>
#include <string>
#include <vector>

#include <android/log.h>
#include <gtest/gtest.h>

#include "ZenthFpga.h"
#include "support/FaultLogTest.h"

using namespace aidl::vendor::zenth::hardware::misc;

class FaultLogRetentionTest : public FaultLogTest {
  protected:
    std::string full(const std::string& name) const { return std::string(kLogDir) + "/" + name; }
    std::vector<std::string> deleted() const { return messagesAfter(lines(), "Deleted file: "); }
};

struct RetentionCase {
    int entries;
    int deletions;
};

class FaultLogRetentionCountTest : public FaultLogRetentionTest,
                                   public ::testing::WithParamInterface<RetentionCase> {};

// Names run against the age so that a listing or name order cannot pass for the age order.
TEST_P(FaultLogRetentionCountTest, DeletesTheOldestDownToTen) {
    const int n = GetParam().entries;
    makeDir(kLogDir);
    for (int age = 0; age < n; ++age) {
        addLogEntry("dmesg_" + std::to_string(100 + age) + ".log", 2000000000 - age * 60);
    }
    EXPECT_EQ(DeleteOldLog(), 0);

    std::vector<std::string> expected;
    for (int age = n - 1; age >= n - GetParam().deletions; --age) {
        expected.push_back(full("dmesg_" + std::to_string(100 + age) + ".log"));
    }
    EXPECT_EQ(deleted(), expected);
    for (const auto& path : expected) {
        EXPECT_TRUE(contains(ANDROID_LOG_DEBUG, defaultTag(), "Deleted file: " + path));
    }
    EXPECT_EQ(logDirEntries().size(), static_cast<size_t>(std::min(n, 10)));
    EXPECT_EQ(lines().size(), expected.size()) << "nothing else is logged";
}

INSTANTIATE_TEST_SUITE_P(Counts, FaultLogRetentionCountTest,
                         ::testing::Values(RetentionCase{0, 0}, RetentionCase{10, 0},
                                           RetentionCase{11, 1}, RetentionCase{15, 5}),
                         [](const auto& info) {
                             return std::to_string(info.param.entries) + "Entries";
                         });

TEST_F(FaultLogRetentionTest, OrdersBySecondsThenNanoseconds) {
    // Within one second the nanoseconds decide; a later second wins whatever the nanoseconds.
    for (int i = 0; i < 9; ++i) addLogEntry("new" + std::to_string(i), 1700000001, 0);
    addLogEntry("early_ns", 1700000000, 999999998);
    addLogEntry("earliest_ns", 1700000000, 999999997);
    addLogEntry("same_second_later_ns", 1700000000, 999999999);
    EXPECT_EQ(DeleteOldLog(), 0);
    EXPECT_EQ(deleted(), (std::vector<std::string>{full("earliest_ns"), full("early_ns")}));
}

TEST_F(FaultLogRetentionTest, EveryEntryCountsAndAFailedDeletionDoesNotStopTheScan) {
    writeFile(full("full_dir") + "/inside", "");
    addLogEntry("full_dir", 100, 0, true);  // after its content, which would move its time
    addLogEntry("empty_dir", 200, 0, true);
    addLogEntry(".hidden", 300);
    for (int i = 0; i < 9; ++i) addLogEntry("dump" + std::to_string(i), 1000 + i);
    // Status is taken through the link: a dangling one is neither counted nor deleted.
    ASSERT_EQ(symlink("/nonexistent/target", hostPath(full("dangling")).c_str()), 0);

    EXPECT_EQ(DeleteOldLog(), 0);
    EXPECT_TRUE(contains(ANDROID_LOG_ERROR, defaultTag(),
                         "Failed to get file status for: " + full("dangling")));
    EXPECT_TRUE(contains(ANDROID_LOG_ERROR, defaultTag(),
                         "Failed to delete file: " + full("full_dir")));
    EXPECT_EQ(deleted(), (std::vector<std::string>{full("empty_dir")}));
    EXPECT_TRUE(exists(full("full_dir")));
    EXPECT_TRUE(exists(full("dangling")));
    EXPECT_TRUE(exists(full(".hidden")));
    EXPECT_EQ(logDirEntries().size(), 12u);
}

TEST_F(FaultLogRetentionTest, MissingDirectoryFails) {
    EXPECT_EQ(DeleteOldLog(), -1);
    EXPECT_TRUE(contains(ANDROID_LOG_ERROR, defaultTag(),
                         "Failed to open directory: /mnt/vendor/zenthreserve/fpga_save_log"));
}
